# Layers: one static library per folder, kvo_<folder>, and an include path
# per library that holds only the folders the layer may use.
#
# Sources include "folder/file.h" from the repository root. Instead of the root,
# each library compiles against an include tree of its own,
# <build>/include_trees/<name>/, holding a symbolic link for its own folder and
# for each folder it may use (directly or through a lower layer). A header of
# any other folder is simply not there, so an upward include fails to compile,
# in the file that makes it and in every file that includes that file.
# scripts/check_layers.sh proves it on a scratch copy and also refuses
# includes that climb with "../".
#
# kvo_layer(<folder> [USES <folders>...])
#   Declares kvo_<folder>; the folder's CMakeLists adds its sources with
#   target_sources(kvo_<folder> PRIVATE ...). USES names the folders this one
#   may include, each declared before. Libraries the folder needs from the
#   system are linked to kvo_<folder> by the folder itself.
# kvo_include_tree(<target> <name> <folders>...)
#   Gives a target that is no layer (a program, a test) the tree of the
#   folders it may include, with what those folders use.
# kvo_folder_tests(<folder> <sources...>)
#   The one GoogleTest executable of a folder: it sees its folder's tree plus
#   testsupport/ (whole-system fixtures), nothing above.

if(KVO_TESTS)
  enable_testing()
  find_package(GTest REQUIRED)
endif()

define_property(GLOBAL PROPERTY KVO_LAYERS BRIEF_DOCS "declared layers" FULL_DOCS "kvo_layer() folders in order")

# The folder and everything it may use, transitively.
function(kvo_layer_closure out)
  set(result "")
  set(pending ${ARGN})
  while(pending)
    list(POP_FRONT pending folder)
    if(folder IN_LIST result)
      continue()
    endif()
    list(APPEND result ${folder})
    get_property(uses GLOBAL PROPERTY KVO_USES_${folder})
    list(APPEND pending ${uses})
  endwhile()
  set(${out} ${result} PARENT_SCOPE)
endfunction()

function(kvo_make_tree name)
  set(tree ${CMAKE_BINARY_DIR}/include_trees/${name})
  file(REMOVE_RECURSE ${tree})
  file(MAKE_DIRECTORY ${tree})
  foreach(folder IN LISTS ARGN)
    if(NOT EXISTS ${CMAKE_SOURCE_DIR}/${folder})
      message(FATAL_ERROR "include tree ${name}: no folder ${folder}")
    endif()
    file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${folder} ${tree}/${folder} SYMBOLIC)
  endforeach()
  set(KVO_TREE ${tree} PARENT_SCOPE)
endfunction()

function(kvo_include_tree target name)
  kvo_layer_closure(folders ${ARGN})
  kvo_make_tree(${name} ${folders})
  target_include_directories(${target} PRIVATE ${KVO_TREE})
endfunction()

function(kvo_layer folder)
  cmake_parse_arguments(L "" "" "USES" ${ARGN})
  foreach(use IN LISTS L_USES)
    if(NOT TARGET kvo_${use})
      message(FATAL_ERROR "layer ${folder} uses ${use}, which is not declared (yet)")
    endif()
  endforeach()
  set_property(GLOBAL PROPERTY KVO_USES_${folder} ${L_USES})
  set_property(GLOBAL APPEND PROPERTY KVO_LAYERS ${folder})
  add_library(kvo_${folder} STATIC)
  kvo_include_tree(kvo_${folder} ${folder} ${folder})
  foreach(use IN LISTS L_USES)
    target_link_libraries(kvo_${folder} PUBLIC kvo_${use})
  endforeach()
  target_link_libraries(kvo_${folder} PUBLIC Threads::Threads)
endfunction()

function(kvo_folder_tests folder)
  if(NOT KVO_TESTS)
    return()
  endif()
  set(target ${folder}_tests)
  add_executable(${target} ${ARGN})
  # testsupport/ itself, not what it uses: its headers show shell-level types only.
  kvo_layer_closure(folders ${folder})
  kvo_make_tree(${folder}_tests ${folders} testsupport)
  target_include_directories(${target} PRIVATE ${KVO_TREE})
  target_link_libraries(${target} PRIVATE kvo_${folder} kvo_testsupport GTest::gtest GTest::gmock GTest::gtest_main)
  add_test(NAME ${folder} COMMAND ${target} --gtest_brief=1)
  set_tests_properties(${folder} PROPERTIES TIMEOUT 900)
endfunction()
