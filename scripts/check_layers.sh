#!/usr/bin/env bash
# Proves that the layer libraries refuse an upward include (cmake/kvo.cmake):
# on a scratch copy of the sources, a file of items/ that includes a header of
# macro/, and a header of shell/ that includes one of expr/, must fail to
# compile, while the same files unchanged compile. Includes that climb out of
# their folder with "../" would slip past the include trees, so they are
# refused here too.
set -euo pipefail
cd "$(dirname "$0")/.."

if grep -rnE '^\s*#\s*include\s*[<"]\.\./' --include='*.cpp' --include='*.h' --include='*.inc' . \
     --exclude-dir='build*' --exclude-dir=.git; then
  echo "check_layers: includes must name the folder from the root, never climb with ../" >&2
  exit 1
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
git ls-files -z --cached --others --exclude-standard | xargs -0 tar cf - | tar xf - -C "$scratch"
cmake -S "$scratch" -B "$scratch/build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DKVO_GUI=OFF -DKVO_TESTS=OFF \
  -DKVO_BENCH=OFF >/dev/null

# compiles <object> <file> <include line>: first as it is, then with the include added.
expect_refused() {
  local object=$1 file=$2 line=$3
  ninja -C "$scratch/build" "$object" >/dev/null || { echo "check_layers: $file does not build unchanged" >&2; exit 1; }
  cp "$scratch/$file" "$scratch/$file.orig"
  printf '%s\n' "$line" | cat - "$scratch/$file.orig" > "$scratch/$file"
  if ninja -C "$scratch/build" "$object" > "$scratch/log" 2>&1; then
    echo "check_layers: $file built with the upward include '$line'" >&2
    exit 1
  fi
  grep -q 'No such file or directory' "$scratch/log" || { cat "$scratch/log" >&2; exit 1; }
  mv "$scratch/$file.orig" "$scratch/$file"
  echo "refused as it should be: $file with $line"
}

expect_refused items/CMakeFiles/kvo_items.dir/shell_item.cpp.o items/shell_item.cpp '#include "macro/dispatcher.h"'
expect_refused shell/CMakeFiles/kvo_shell.dir/options.cpp.o shell/words.h '#include "expr/ex_eval.h"'
