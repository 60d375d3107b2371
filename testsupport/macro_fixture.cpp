#include "testsupport/macro_fixture.h"

#include <sstream>

#include "macro/compiler.h"
#include "macro/register.h"

void MacroTest::SetUp() {
    RegisterMacroLayer();
}

bool MacroTest::Load(const Text& source, bool ignoreWarnings) {
    std::wistringstream in(source);
    Text raw;
    std::vector<std::pair<std::vector<Text>, std::vector<SSourceLine>>> sections;
    int number = 0;
    while (std::getline(in, raw)) {
        const Text line = ConvertSourceLine(raw);
        if (!raw.empty() && raw[0] == L'[') {
            Text header = ConvertSourceLine(raw.substr(1, raw.find(L']') - 1), true);
            std::wistringstream words(header);
            std::vector<Text> headerWords;
            Text w;
            words >> w; // MACRO
            while (words >> w) headerWords.push_back(w);
            sections.push_back({headerWords, {}});
        } else if (!sections.empty()) {
            sections.back().second.push_back({line, number});
        }
        ++number;
    }
    bool ok = true;
    for (auto& [header, lines] : sections) {
        auto* code = new CMacroCode;
        SCompileOptions options;
        options.ignoreWarnings = ignoreWarnings;
        if (!Compile(*code, header, lines, options, m_compileLog)) {
            delete code;
            ok = false;
            continue;
        }
        std::lock_guard lock(m_env->Lock());
        m_env->Macros().Add(UpperCase(header[0]), code);
    }
    return ok;
}
