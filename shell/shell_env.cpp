#include "shell/shell_env.h"

#include <atomic>
#include <filesystem>
#include <vector>

#include "shell/shell.h"

namespace {
std::atomic<IMacroRuntime*> g_runtime{nullptr};
std::atomic<IMacroLoader*> g_loader{nullptr};
// At most this many characters of TEMP are taken, as the platform's path limit has it.
constexpr size_t kMaxTempPath = 260;
} // namespace

void CShellEnv::SetRuntime(IMacroRuntime* runtime) {
    g_runtime = runtime;
}
IMacroRuntime* CShellEnv::Runtime() {
    return g_runtime;
}
void CShellEnv::SetLoader(IMacroLoader* loader) {
    g_loader = loader;
}
IMacroLoader* CShellEnv::Loader() {
    return g_loader;
}

CShellEnv::CShellEnv(IMainWindow* mainWnd) : m_mainWnd(mainWnd) {}

CShellEnv::~CShellEnv() {
    DeleteAllShells();
    if (IMacroLoader* loader = Loader()) loader->UnloadAll(*this);
    std::lock_guard lock(m_lock);
    for (auto* e = m_macros.First(); e; e = e->next) delete e->value;
    for (auto* e = m_spus.First(); e; e = e->next) delete e->value;
    m_macros.Clear();
    m_spus.Clear();
}

void CShellEnv::SetStartValues(const Text& executablePath, const Text* temp) {
    SetGlobal(L"BUILD", L"Unicode");
    // An unset TEMP leaves TEMPDIR empty, and an empty variable does not exist.
    SetGlobal(L"TEMPDIR", temp ? Text(*temp, 0, std::min(temp->size(), kMaxTempPath)) : Text());
    // Macros test OSVER for the platform family; this one is of the newest family they know.
    SetGlobal(L"OSVER", L"0600");
    const size_t cut = executablePath.find_last_of(L"\\/");
    SetGlobal(L"ROOT", cut == Text::npos ? Text() : executablePath.substr(0, cut));
}

Text CShellEnv::LibraryPath() const {
    return Format(L"%s/kvo.lib", GetGlobal(L"ROOT").c_str());
}

bool CShellEnv::Start(const Text& commandLine) {
    m_bStarted = false;
    if (!LoadMacros(LibraryPath(), true)) return false;
    CShell* master = NewShell(nullptr, nullptr);
    if (!master) return false;
    m_bStarted = true;
    // A '"' becomes a quote of the language, so that a quoted path stays one word.
    Text text = L"MASTERSHELL " + commandLine;
    for (size_t i = 12; i < text.size(); ++i)
        if (text[i] == L'"') text[i] = L'\'';
    master->Run(text);
    return true;
}

CShell* CShellEnv::NewShell(CFrameBase* parentFrame, CShell* parent) {
    std::lock_guard lock(m_lock);
    auto shell = std::make_unique<CShell>(*this, ++m_shellCount);
    if (!shell->StartThread()) return nullptr;
    CShell* s = shell.release();
    m_shells.Add(s->IdText(), s);
    if (parent) {
        parent->SetVar(L"#SHELL", s->IdText());
        s->Vars().Set(L"SHELL", s->IdText() + L" " + parent->IdText());
    } else {
        s->Vars().Set(L"SHELL", s->IdText());
    }
    // With a frame, the caller sets up the arguments first and resumes the thread itself.
    if (!parentFrame) s->Resume();
    return s;
}

CShell* CShellEnv::FindShell(TextView id) const {
    std::lock_guard lock(m_lock);
    if (id.empty()) return m_shells.First() ? m_shells.First()->value : nullptr;
    auto* e = m_shells.Find(id);
    return e ? e->value : nullptr;
}

CShell* CShellEnv::NextShell(const CShell* shell) const {
    std::lock_guard lock(m_lock);
    if (!shell) return m_shells.First() ? m_shells.First()->value : nullptr;
    for (auto* e = m_shells.First(); e; e = e->next)
        if (e->value == shell) return e->next ? e->next->value : nullptr;
    return nullptr;
}

size_t CShellEnv::ShellCount() const {
    std::lock_guard lock(m_lock);
    return m_shells.Count();
}

bool CShellEnv::DeleteShell(CShell* shell) {
    std::vector<CShell*> dead;
    bool noneLeft;
    {
        std::lock_guard lock(m_lock);
        for (auto* e = m_shells.First(); e;) {
            auto* next = e->next;
            if ((!shell || e->value == shell) && e->value->State() == SHELL_DEAD) {
                dead.push_back(e->value);
                m_shells.Remove(e);
            }
            e = next;
        }
        noneLeft = m_shells.Empty();
    }
    // Outside the lock: the dying thread may still be logging its last words.
    for (CShell* s : dead) delete s;
    return noneLeft;
}

void CShellEnv::DeleteAllShells() {
    std::vector<CShell*> all;
    {
        std::lock_guard lock(m_lock);
        for (auto* e = m_shells.First(); e; e = e->next) all.push_back(e->value);
        m_shells.Clear();
    }
    for (CShell* s : all) delete s;
}

void CShellEnv::SetGlobal(TextView name, TextView value) {
    std::lock_guard lock(m_lock);
    m_globals.Set(name, value);
}

Text CShellEnv::GetGlobal(TextView name) const {
    std::lock_guard lock(m_lock);
    return m_globals.Get(name);
}

bool CShellEnv::LoadMacros(const Text& path, bool withLog) {
    if (IMacroLoader* loader = Loader()) return loader->LoadMacros(*this, path, withLog);
    if (withLog) {
        std::error_code ec;
        if (!std::filesystem::exists(ToUtf8(path), ec))
            Log(Format(L"cannot open macro library \"%s\": file not found", path.c_str()), ELogKind::FAULT);
        else
            Log(Format(L"cannot load \"%s\": this build has no macro loader", path.c_str()), ELogKind::FAULT);
    }
    return false;
}

CSourceCode* CShellEnv::FindMacro(TextView name) const {
    std::lock_guard lock(m_lock);
    auto* e = m_macros.Find(name);
    return e ? e->value : nullptr;
}

CSourceCode* CShellEnv::FindSpu(TextView name) const {
    std::lock_guard lock(m_lock);
    auto* e = m_spus.Find(name);
    return e ? e->value : nullptr;
}

bool CShellEnv::ListNames(int number, Text& title, std::vector<Text>& names) const {
    std::lock_guard lock(m_lock);
    names.clear();
    switch (number) {
    case 1:
        title = L"Shell Macros";
        for (auto* e = m_macros.First(); e; e = e->next) names.push_back(e->key);
        return true;
    case 2:
        title = L"Signal Processing Units";
        for (auto* e = m_spus.First(); e; e = e->next) names.push_back(e->key);
        return true;
    case 3:
        title = L"Soundfiles";
        for (auto* e = m_soundfiles.First(); e; e = e->next) names.push_back(e->key);
        return true;
    default:
        title = Format(L"<< list %d not defined >>", number);
        return false;
    }
}

void CShellEnv::Log(const Text& line, ELogKind kind) {
    if (IMainWindow* w = MainWnd()) w->PostLogLine(kind, line);
}

void CShellEnv::ClearLog() {
    if (IMainWindow* w = MainWnd()) w->PostLog(Text(), true);
}

IMainWindow* CShellEnv::MainWnd() const {
    std::lock_guard lock(m_lock);
    return m_mainWnd;
}

void CShellEnv::PostOrder(int order, std::unique_ptr<SPayload> payload) {
    if (IMainWindow* w = MainWnd()) w->PostOrder(order, std::move(payload));
}

void CShellEnv::ShellEnded() {
    if (IMainWindow* w = MainWnd()) w->PostShellEnded();
}
