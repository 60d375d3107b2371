// A whole system with a temporary directory for the file item's tests: files
// are made by NEW FILE through the FILE kind and driven by its SET, or by
// macros through the commands.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "items/shell_file.h"
#include "testsupport/macro_fixture.h"
#include "shell/error_table.h"
#include "shell/options.h"

class FileTest : public MacroTest {
protected:
    void SetUp() override {
        MacroTest::SetUp();
        char pattern[] = "/tmp/kvo_file_XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        m_dir = pattern;
    }
    void TearDown() override {
        MacroTest::TearDown();
        std::error_code ignored;
        std::filesystem::remove_all(m_dir, ignored);
    }

    std::string PathOf(const std::string& name) const { return m_dir + "/" + name; }
    Text WPath(const std::string& name) const { return FromUtf8(PathOf(name)); }

    void WriteBytes(const std::string& name, const std::string& bytes) {
        std::ofstream out(PathOf(name), std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    std::string ReadBytes(const std::string& name) const {
        std::ifstream in(PathOf(name), std::ios::binary);
        std::ostringstream all;
        all << in.rdbuf();
        return all.str();
    }

    // Paths in the temporary directory are quoted words, as a macro writes them, so
    // that the option scan leaves their slashes alone.
    CWords Words(const Text& line) const {
        const Text dir = FromUtf8(m_dir);
        CWords words;
        std::wistringstream in(line);
        Text w;
        while (in >> w) words.push_back({w.starts_with(dir) ? int(SWord::Quoted) : int(SWord::Plain), w});
        return words;
    }

    // NEW FILE name <line>, the line holding path, numbers and options. The code; the item on success.
    int New(const Text& name, const Text& line, CShellFile** out = nullptr) {
        CWords words = Words(line);
        COptions options;
        ScanOptions(words, options);
        void* object = nullptr;
        CItemKind* kind = CItemKindRegistry::Find(KIND_FILE);
        if (!kind) return -1;
        const int code = kind->Create(*Shell(), name, words, options, object);
        if (code) return code;
        Shell()->AddItem(name, object, KIND_FILE);
        if (out) *out = static_cast<CShellFile*>(AsItem(object));
        return 0;
    }

    // SET name <line>: the code.
    int Set(const Text& name, const Text& line, Text* result = nullptr) {
        CShell::ItemEntry* e = Shell()->FindItem(name, KIND_FILE);
        if (!e) return -1;
        CWords words = Words(line);
        COptions options;
        ScanOptions(words, options);
        Text out;
        const int code =
            CItemKindRegistry::Find(KIND_FILE)->Set(*Shell(), e->value, name, words, options, out);
        if (result) *result = out;
        return code;
    }

    // name[!attribute]
    Text Status(const Text& name, const Text& attribute) {
        CShell::ItemEntry* e = Shell()->FindItem(name, KIND_FILE);
        if (!e) return L"<no item>";
        Text out;
        CItemKindRegistry::Find(KIND_FILE)->Status(*Shell(), e->value, {attribute}, out);
        return out;
    }

    // Runs the lines as a macro of their own and waits for it.
    void RunMacro(const Text& lines) {
        const Text name = L"T" + IntText(++m_macros);
        ASSERT_TRUE(Load(L"[MACRO " + name + L"]\n" + lines));
        RunAndWait(name);
    }

    std::string m_dir;
    int m_macros = 0;
};
