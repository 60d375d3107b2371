#include "macro/source_loader.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <new>

#include "items/text_codec.h"
#include "macro/compiler.h"
#include "macro/library_file.h"
#include "shell/runtime.h"
#include "shell/shell_env.h"

namespace {

// The loaded files of every environment. An environment's list is read and
// changed under that environment's lock; the mutex only guards the map.
std::mutex g_registryLock;
std::map<const CShellEnv*, std::vector<std::unique_ptr<CSourceFile>>> g_registry;

using CSourceList = std::vector<std::unique_ptr<CSourceFile>>;

// The caller holds env.Lock().
CSourceList& SourcesOf(const CShellEnv& env) {
    std::lock_guard lock(g_registryLock);
    return g_registry[&env];
}

CSourceFile* FindSource(CSourceList& sources, const Text& key) {
    for (auto& s : sources)
        if (!key.empty() && s->m_key == key) return s.get();
    return nullptr;
}

void DropSource(CSourceList& sources, const CSourceFile* source) {
    std::erase_if(sources, [&](const auto& s) { return s.get() == source; });
}

// A class holds a use on its parent for as long as it exists.
void DeleteCode(CSourceCode* code) {
    if (auto* macro = dynamic_cast<CMacroCode*>(code); macro && macro->m_pParent) macro->m_pParent->Unuse();
    delete code;
}

// Code that another load replaced no longer belongs to the file that linked it.
void ForgetCode(CSourceList& sources, const CSourceCode* code) {
    for (auto& s : sources) std::erase_if(s->m_objects, [&](const auto& o) { return o.code == code; });
}

bool AnyInUse(const CSourceFile& source) {
    return std::any_of(source.m_objects.begin(), source.m_objects.end(),
                       [](const auto& o) { return o.code->Uses() > 0; });
}

// One round: removes every object that nobody uses, the newest first, so that
// a derived class goes before its parent. Returns the count removed.
int RemoveUnused(CShellEnv& env, CSourceFile& source) {
    int removed = 0;
    for (size_t i = source.m_objects.size(); i-- > 0;) {
        const CSourceFile::SObject object = source.m_objects[i];
        if (object.code->Uses() > 0) continue;
        auto& map = object.spu ? env.Spus() : env.Macros();
        if (auto* e = map.Find(object.key); e && e->value == object.code) map.Remove(e);
        source.m_objects.erase(source.m_objects.begin() + static_cast<std::ptrdiff_t>(i));
        DeleteCode(object.code);
        ++removed;
    }
    return removed;
}

// Words of a section header (header mode): blanks separate them outside the
// quotes; the quote codes stay in the words for the compiler.
std::vector<Text> HeaderWords(TextView header) {
    std::vector<Text> words;
    Text word;
    bool quoted = false, inWord = false;
    for (wchar_t c : header) {
        if (c == CODE_QUOTE) quoted = !quoted;
        if (!quoted && c <= L' ' && c != CODE_QUOTE) {
            if (inWord) words.push_back(std::move(word));
            word.clear();
            inWord = false;
            continue;
        }
        word += c;
        inWord = true;
    }
    if (inWord) words.push_back(std::move(word));
    return words;
}

Text StripControls(TextView text) {
    Text out;
    for (wchar_t c : text)
        if (c > L' ') out += c;
    return out;
}

class CSectionLoader {
public:
    CSectionLoader(CShellEnv& env, CSourceFile& source, const CConstantList& constants, CLoadLog& log)
        : m_env(env), m_source(source), m_log(log),
          m_ignoreWarnings(source.m_bLibrary || constants.Find(L"IgnoreLoaderWarnings") != nullptr) {}

    bool Run();

private:
    void Section(size_t at);
    void MacroSection(size_t at, const Text& type, const std::vector<Text>& words);

    CShellEnv& m_env;
    CSourceFile& m_source;
    CLoadLog& m_log;
    const bool m_ignoreWarnings;
    std::vector<SSourceLine> m_lines; // all code lines, converted once
    int m_sections = 0;
    int m_loaded = 0;
    int m_failed = 0;
};

bool CSectionLoader::Run() {
    m_lines.reserve(m_source.m_code.size());
    for (const SCodeText& line : m_source.m_code)
        m_lines.push_back({ConvertSourceLine(line.text), line.line - 1});
    std::lock_guard lock(m_env.Lock());
    for (size_t i = 0; i < m_source.m_code.size(); ++i) {
        const Text& text = m_source.m_code[i].text;
        if (text.empty() || text[0] != L'[') continue;
        ++m_sections;
        m_log.Begin(Format(L"-- section #%d - ", m_sections));
        Section(i);
        m_log.End();
    }
    const bool ok = m_loaded > 0 && m_failed == 0;
    const Text summary = Format(L"%d sections of %d loaded", m_loaded, m_sections);
    if (ok)
        m_log.Line(summary);
    else
        m_log.Fault(summary);
    return ok;
}

void CSectionLoader::Section(size_t at) {
    const Text& text = m_source.m_code[at].text;
    const size_t close = text.find(L']');
    if (close == Text::npos) {
        m_log.AppendFault(L"missing ']'");
        ++m_failed;
        return;
    }
    if (close + 1 < text.size()) {
        m_log.AppendFault(L"unexpected text or end-of-section behind header - skipped");
        return;
    }
    const std::vector<Text> words = HeaderWords(ConvertSourceLine(TextView(text).substr(1, close - 1), true));
    if (words.size() < 2) {
        m_log.AppendFault(L"header does not contain type and/or name - skipped");
        return;
    }
    const Text type = UpperCase(words[0]);
    if (type == L"MACRO" || type == L"CLASS") {
        MacroSection(at, type, words);
    } else if (type == L"SPU") {
        // The SPU engine is not part of this build yet; its sections are
        // passed over like any other non-source text until it is.
        m_log.AppendFault(Format(L"SPU %s skipped - SPU definitions cannot be loaded by this program yet",
                                 StripControls(words[1]).c_str()));
    } else {
        m_log.Append(L"skipping non-source section of type " + type);
    }
}

void CSectionLoader::MacroSection(size_t at, const Text& type, const std::vector<Text>& words) {
    const bool isClass = type == L"CLASS";
    const Text name = StripControls(words[1]);
    const Text key = UpperCase(name);
    auto& macros = m_env.Macros();
    auto* existing = macros.Find(key);

    CMacroCode* parent = nullptr;
    if (isClass && words.size() > 2) {
        const Text parentName = StripControls(words[2]);
        auto* e = macros.Find(parentName);
        parent = e ? dynamic_cast<CMacroCode*>(e->value) : nullptr;
        // A class cannot derive from the code it is about to replace.
        if (!parent || !parent->m_bClass || e == existing) {
            m_log.AppendFault(L"invalid parent class " + parentName);
            ++m_failed;
            return;
        }
    }
    if (existing && existing->value->Uses() > 0) {
        m_log.AppendFault(L"cannot replace active " + type + L" " + name);
        ++m_failed;
        return;
    }
    m_log.Append(type + L" " + name + L" ");

    auto code = std::make_unique<CMacroCode>();
    code->m_bClass = isClass;
    code->m_bFromLibrary = m_source.m_bLibrary;
    // A section of an included file comes from there, and its line numbers count there.
    const Text& included = m_source.m_code[at].file;
    code->m_source = included.empty() ? m_source.m_path : included;
    const std::vector<Text> headerWords(words.begin() + 1, words.end());
    size_t end = at + 1;
    while (end < m_lines.size() &&
           !(m_source.m_code[end].text.size() && m_source.m_code[end].text[0] == L'['))
        ++end;
    const std::vector<SSourceLine> body(m_lines.begin() + static_cast<std::ptrdiff_t>(at + 1),
                                        m_lines.begin() + static_cast<std::ptrdiff_t>(end));
    SCompileOptions options;
    options.ignoreWarnings = m_ignoreWarnings;
    options.headerLine = m_lines[at].number;
    std::vector<Text> messages;
    const bool compiled = Compile(*code, headerWords, body, options, messages);
    if (!compiled) {
        // The first message stays on the section's line, the rest follow it.
        for (size_t i = 0; i < messages.size(); ++i) {
            if (i == 0)
                m_log.AppendFault(messages[i]);
            else
                m_log.Fault(messages[i]);
        }
        ++m_failed;
        return;
    }
    if (parent) {
        code->m_pParent = parent;
        parent->Use();
    }
    CMacroCode* linked = code.release();
    if (existing) {
        CSourceCode* old = existing->value;
        ForgetCode(SourcesOf(m_env), old);
        existing->value = linked;
        DeleteCode(old);
        m_log.Append(L"loaded - linked (replace)");
    } else {
        macros.Add(key, linked);
        m_log.Append(L"loaded - linked (add)");
    }
    m_source.m_objects.push_back({false, key, linked});
    ++m_loaded;
    // Warnings of a compilation that went on.
    for (const Text& message : messages) m_log.Fault(message);
}

class CMacroLoader : public IMacroLoader {
public:
    bool LoadMacros(CShellEnv& env, const Text& path, bool withLog) override {
        CLoadLog log(withLog ? LogSink(env) : CLoadLog::Sink());
        // The constants of a start-up load live for this load only.
        CConstantList constants;
        return LoadSourceFile(env, path, constants, log);
    }
    void UnloadAll(CShellEnv& env) override {
        CLoadLog log(LogSink(env));
        UnloadAllSources(env, log);
    }
};

} // namespace

CLoadLog::Sink LogSink(CShellEnv& env) {
    return [&env](const Text& line, bool fault) { env.Log(line, fault ? ELogKind::FAULT : ELogKind::TRACE); };
}

bool ReadSourceText(const Text& path, Text& text, CLoadLog& log) {
    log.Line(Format(L"load sources from file '%s'", path.c_str()));
    std::string bytes;
    switch (ReadFileBytes(path, bytes)) {
    case EReadResult::OPEN_FAILED:
        log.Fault(Format(L"open file '%s' failed", path.c_str()));
        return false;
    case EReadResult::EMPTY:
        log.Fault(L"invalid file size");
        return false;
    case EReadResult::READ_FAILED:
        log.Fault(Format(L"read file '%s' failed", path.c_str()));
        return false;
    case EReadResult::NO_MEMORY:
        log.Fault(L"code buffer allocation failed");
        return false;
    case EReadResult::OK:
        break;
    }
    try {
        if (!DecodeText(bytes.data(), bytes.size(), text)) {
            log.Fault(L"unsupported byte order mark");
            return false;
        }
    } catch (const std::bad_alloc&) {
        log.Fault(L"code buffer allocation failed");
        return false;
    }
    return true;
}

bool LoadSourceFile(CShellEnv& env, const Text& path, CConstantList& constants, CLoadLog& log) {
    Text text;
    if (!ReadSourceText(path, text, log)) return false;
    return LoadSourceText(env, path, text, constants, log);
}

bool LoadSourceText(CShellEnv& env, const Text& path, const Text& text, CConstantList& constants,
                    CLoadLog& log) {
    auto source = std::make_unique<CSourceFile>();
    source->m_path = path;
    source->m_key = path.empty() ? Text() : CanonicalPath(path);
    source->m_bLibrary = IsLibraryText(text);
    {
        // A file loaded again goes first. While code of it runs, the old code
        // stays as a whole and the load counts as done.
        std::lock_guard lock(env.Lock());
        CSourceList& sources = SourcesOf(env);
        if (CSourceFile* old = FindSource(sources, source->m_key)) {
            if (AnyInUse(*old)) {
                log.Fault(Format(L"Sourcefile %s unload failed because all/some code objects are in use",
                                 old->m_path.c_str()));
                return true;
            }
            RemoveUnused(env, *old);
            log.Line(Format(L"Sourcefile %s unloaded.", old->m_path.c_str()));
            DropSource(sources, old);
        }
    }
    if (!constants.Find(kReleaseConstant)) constants.Add(kReleaseConstant, 0);

    if (source->m_bLibrary) {
        ReadLibraryLines(text, source->m_code, log);
    } else {
        SplitSourceLines(text, source->m_lines);
        std::vector<Text> includes;
        if (!source->m_key.empty()) includes.push_back(source->m_key);
        if (!Preprocess(source->m_lines, source->m_code, constants, includes, 0, path, log)) return false;
    }

    std::lock_guard lock(env.Lock());
    CSourceList& sources = SourcesOf(env);
    CSourceFile* file = source.get();
    sources.push_back(std::move(source));
    const bool ok = LoadSections(env, *file, constants, log);
    if (file->m_objects.empty()) DropSource(sources, file);
    return ok;
}

bool LoadSections(CShellEnv& env, CSourceFile& source, const CConstantList& constants, CLoadLog& log) {
    CSectionLoader loader(env, source, constants, log);
    return loader.Run();
}

bool UnloadSourceFile(CShellEnv& env, const Text& path, bool force, CLoadLog& log) {
    std::lock_guard lock(env.Lock());
    CSourceList& sources = SourcesOf(env);
    CSourceFile* source = FindSource(sources, CanonicalPath(path));
    if (!source) return false;
    while (RemoveUnused(env, *source) > 0) {
    }
    if (!source->m_objects.empty() && !force) {
        log.Fault(Format(L"Sourcefile %s unload failed because all/some code objects are in use",
                         source->m_path.c_str()));
        return false;
    }
    // Forced, code in use stays linked: the map owns it from now on.
    log.Line(Format(L"Sourcefile %s unloaded.", source->m_path.c_str()));
    DropSource(sources, source);
    return true;
}

void UnloadAllSources(CShellEnv& env, CLoadLog& log) {
    std::lock_guard lock(env.Lock());
    CSourceList& sources = SourcesOf(env);
    // The newest file first: its classes may derive from those of older ones.
    while (!sources.empty()) {
        CSourceFile& source = *sources.back();
        for (int trial = 1;; ++trial) {
            log.Line(Format(L"Unload sourcefile %s. Trial #%d", source.m_path.c_str(), trial));
            const int removed = RemoveUnused(env, source);
            if (removed > 0 || source.m_objects.empty())
                log.Line(Format(L"  %d code objects removed - %s", removed,
                                source.m_objects.empty() ? L"finished" : L"try again"));
            if (source.m_objects.empty()) break;
            if (removed == 0) {
                // What is left stays in the environment's maps, which delete it.
                log.Fault(Format(L"  %d remaining code objects - failed!",
                                 static_cast<int>(source.m_objects.size())));
                break;
            }
        }
        sources.pop_back();
    }
    std::lock_guard registryLock(g_registryLock);
    g_registry.erase(&env);
}

std::vector<Text> LoadedSources(CShellEnv& env) {
    std::lock_guard lock(env.Lock());
    std::vector<Text> paths;
    for (const auto& s : SourcesOf(env)) paths.push_back(s->m_path);
    return paths;
}

void InstallMacroLoader() {
    static CMacroLoader loader;
    CShellEnv::SetLoader(&loader);
}
