// The source loader: reads a source or library file, preprocesses a source,
// and links its sections ([MACRO], [CLASS], [SPU]) into the environment. The
// loaded files are kept in load order for every environment of the process,
// so that a file loaded again replaces its own code and UNLOAD finds it.
#pragma once

#include <vector>

#include "macro/preprocessor.h"

class CShellEnv;
class CSourceCode;

// One loaded source.
class CSourceFile {
public:
    Text m_path;                   // as given; empty for a table
    Text m_key;                    // canonical path, by which a file is found again
    bool m_bLibrary = false;       // the text began with the library magic
    std::vector<Text> m_lines;     // raw lines (a library has none)
    std::vector<SCodeText> m_code; // code lines with their source line numbers

    // What this file linked and nobody has replaced since.
    struct SObject {
        bool spu = false;
        Text key;
        CSourceCode* code = nullptr;
    };
    std::vector<SObject> m_objects;
};

// A sink for the environment's log: a load's account of its work as trace
// lines, its faults as faults.
CLoadLog::Sink LogSink(CShellEnv& env);

// Reads a whole file and decodes it; the messages of a failed read go to `log`.
bool ReadSourceText(const Text& path, Text& text, CLoadLog& log);

// Loads a file (a library when it begins with the magic, else a source);
// true when every section loaded. `constants` gets KVORELEASE when it lacks
// it, and keeps what the directives define.
bool LoadSourceFile(CShellEnv& env, const Text& path, CConstantList& constants, CLoadLog& log);
// The same for text in hand; `path` names it (empty for a table) and is the
// base of its includes.
bool LoadSourceText(CShellEnv& env, const Text& path, const Text& text, CConstantList& constants,
                    CLoadLog& log);

// Links the sections of `source.m_code`. The caller has entered `source` in
// the list of loaded files. True when at least one section loaded and none failed.
bool LoadSections(CShellEnv& env, CSourceFile& source, const CConstantList& constants, CLoadLog& log);

// Removes the code of a loaded file that is not in use. With `force` the file
// is forgotten even when some of its code stays linked. False when the file
// is not loaded, or code of it is in use and `force` is not given.
bool UnloadSourceFile(CShellEnv& env, const Text& path, bool force, CLoadLog& log);
// The unload at the end: every file, in rounds as long as a round removes something.
void UnloadAllSources(CShellEnv& env, CLoadLog& log);

// The paths of the files loaded into `env`, in load order.
std::vector<Text> LoadedSources(CShellEnv& env);

// Installs the loader behind CShellEnv::LoadMacros for the process.
void InstallMacroLoader();
