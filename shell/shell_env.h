// CShellEnv: the one environment of the process. It owns every shell, every
// loaded macro and SPU definition, the attached sound files, the global
// variables and the log. Every list here is read and written under the
// environment lock; the lock order is environment, then variable map.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "base/name_list.h"
#include "shell/main_window.h"
#include "shell/runtime.h"
#include "shell/source_code.h"
#include "shell/variable_map.h"

class CShell;
class CFrameBase;

class CShellEnv {
public:
    // The main window may be null (tests); log lines then go nowhere.
    explicit CShellEnv(IMainWindow* mainWnd = nullptr);
    ~CShellEnv();
    CShellEnv(const CShellEnv&) = delete;
    CShellEnv& operator=(const CShellEnv&) = delete;

    std::recursive_mutex& Lock() const { return m_lock; }

    // Start-up: the start values, then the library, the master shell and MASTERSHELL.
    // `temp` null means the variable is not set in the process environment.
    void SetStartValues(const Text& executablePath, const Text* temp);
    // "%s/kvo.lib" beside the executable.
    Text LibraryPath() const;
    // Loads the library and sends "MASTERSHELL <command line>" to the master shell;
    // false when either fails (the caller shows "Startup failed! Program terminated.").
    bool Start(const Text& commandLine);
    bool Started() const { return m_bStarted; }

    // Shells.
    CShell* NewShell(CFrameBase* parentFrame, CShell* parent);
    // An empty id gives the first shell.
    CShell* FindShell(TextView id) const;
    // Creation order; null starts.
    CShell* NextShell(const CShell* shell) const;
    // Deletes `shell` if dead; with null all dead shells. True when no shell is left.
    bool DeleteShell(CShell* shell);
    size_t ShellCount() const;
    // Ends every shell and deletes it; waits for their threads.
    void DeleteAllShells();

    // Globals (the '@' store).
    void SetGlobal(TextView name, TextView value);
    Text GetGlobal(TextView name) const;
    CVariableMap& Globals() { return m_globals; }

    // Code.
    bool LoadMacros(const Text& path, bool withLog);
    CNameMap<CSourceCode*>& Macros() { return m_macros; }
    CNameMap<CSourceCode*>& Spus() { return m_spus; }
    CNameList<void*>& SoundFiles() { return m_soundfiles; }
    CSourceCode* FindMacro(TextView name) const;
    CSourceCode* FindSpu(TextView name) const;
    // The names of list 1 (macros), 2 (SPUs) or 3 (sound files) and its title;
    // false and the title "<< list %d not defined >>" for any other number.
    bool ListNames(int number, Text& title, std::vector<Text>& names) const;

    // The log sink; lines reach the main window from any thread.
    void Log(const Text& line, ELogKind kind = ELogKind::OUTPUT);
    void ClearLog();
    IMainWindow* MainWnd() const;
    void PostOrder(int order, std::unique_ptr<SPayload> payload = {});
    // Called by a shell's thread as it ends.
    void ShellEnded();

    // The "Program check interruption" box of failing statements is shown while set.
    std::atomic<bool> m_bProgramCheck{true};

    // The macro layer's runtime and loader, installed once for the process.
    static void SetRuntime(IMacroRuntime* runtime);
    static IMacroRuntime* Runtime();
    static void SetLoader(IMacroLoader* loader);
    static IMacroLoader* Loader();

private:
    mutable std::recursive_mutex m_lock;
    CNameList<CShell*> m_shells;
    CNameMap<CSourceCode*> m_macros;
    CNameMap<CSourceCode*> m_spus;
    CNameList<void*> m_soundfiles;
    CVariableMap m_globals;
    IMainWindow* m_mainWnd;
    uint32_t m_shellCount = 0;
    bool m_bStarted = false;
};
