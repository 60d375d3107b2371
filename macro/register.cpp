#include "macro/register.h"

#include "macro/commands_shell.h"
#include "macro/execution.h"

void RegisterMacroLayer() {
    CMacroRuntime::Install();
    RegisterShellCommands();
}
