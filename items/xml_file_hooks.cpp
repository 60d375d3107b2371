#include "items/xml_file_hooks.h"

#include "items/shell_file.h"
#include "items/xml_file.h"
#include "shell/options.h"
#include "shell/rc_codes.h"

namespace {

// What the file item keeps alive for an XML file.
class CXmlFilePart : public CFileXmlData {
public:
    explicit CXmlFilePart(bool extended) : m_state(extended) {}
    CXMLFileState m_state;
};

int OpenXml(CShell& shell, CShellFile& file, CWords&, COptions&) {
    auto part = std::make_unique<CXmlFilePart>((file.m_nType & FILE_XML_EXTENDED) != 0);
    part->m_state.SetShell(&shell);
    const int code = part->m_state.Open(ToUtf8(file.Path()));
    if (code) return code;
    file.m_pXml = std::move(part);
    return 0;
}

int SetXml(CShell& shell, CShellFile& file, TextView keyword, CWords& args, COptions& options, Text& result) {
    CXMLFileState* state = XmlFileState(file);
    if (!state) return Silent(RC_XML_FILE_EXPECTED, HasOption(options, L"Ss"));
    state->SetShell(&shell);
    return state->Set(keyword, args, options, result);
}

// The FILE table's row of an XML file's own keyword.
int SetXmlRow(SSetCall<CShellFile>& c) {
    return SetXml(c.shell, c.item, c.keyword, c.args, c.options, c.result);
}

bool StatusXml(CShell&, CShellFile& file, const std::vector<Text>& args, Text& out) {
    CXMLFileState* state = XmlFileState(file);
    if (!state) return false;
    CWords words;
    for (const Text& arg : args) words.push_back(SWord{SWord::Plain, arg});
    return state->Status(words, out) == 0;
}

} // namespace

CXMLFileState* XmlFileState(CShellFile& file) {
    auto* part = dynamic_cast<CXmlFilePart*>(file.m_pXml.get());
    return part ? &part->m_state : nullptr;
}

void RegisterXmlFiles() {
    static const SXmlFileHooks hooks{OpenXml, SetXml, StatusXml};
    RegisterXmlFileHooks(&hooks);
    const auto& keywords = CXMLFileState::Keywords();
    for (size_t i = 0; i < keywords.Count(); ++i)
        if (keywords[i].options & CXMLFileState::kXmlOnly)
            CSubcommandRegistry::Extend<SetHandler<CShellFile>>(
                L"FILE", {keywords[i].keyword, SetXmlRow, 0, FILE_XML_ONLY});
}
