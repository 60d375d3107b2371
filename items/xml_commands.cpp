// The commands IREF and POSITION: an XML file item named by the first word,
// the rest handed to its document state.
#include <iterator>

#include "items/shell_file.h"
#include "items/xml_file.h"
#include "items/xml_file_hooks.h"
#include "shell/command_registry.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"

namespace {

CXMLFileState* StateOf(CShell& shell, CWords& args) {
    if (args.empty()) return nullptr;
    auto* item = static_cast<CShellItem*>(shell.ItemObject(args[0].text, KIND_FILE));
    if (!item) return nullptr;
    return XmlFileState(*static_cast<CShellFile*>(item));
}

int IrefCommand(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    CXMLFileState* state = StateOf(shell, args);
    if (!state) return RC_FILE_ITEM_EXPECTED;
    CWords rest(args.begin() + 1, args.end());
    return XmlIref(*state, rest, options, result);
}

int PositionCommand(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    CXMLFileState* state = StateOf(shell, args);
    if (!state) return RC_FILE_ITEM_EXPECTED;
    CWords rest(args.begin() + 1, args.end());
    return XmlPosition(*state, rest, options, result);
}

constexpr CCommandRow kXmlCommands[] = {
    {L"IREF", &IrefCommand, true, 1, 0, nullptr, nullptr, nullptr},
    {L"POSITION", &PositionCommand, false, 0, 0, nullptr, nullptr, nullptr},
};

} // namespace

void RegisterXmlCommands() {
    CCommandRegistry::Register(kXmlCommands, std::size(kXmlCommands));
}
