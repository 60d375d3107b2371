#include "macro/register.h"

#include "base/keyword_table.h"
#include "expr/numeric_args.h"
#include "expr/register_expr.h"
#include "items/register_items.h"
#include "macro/classes.h"
#include "macro/commands_calls.h"
#include "macro/commands_io.h"
#include "macro/commands_items.h"
#include "macro/commands_load.h"
#include "macro/commands_misc.h"
#include "macro/commands_shell.h"
#include "macro/commands_system.h"
#include "macro/commands_text.h"
#include "macro/execution.h"

namespace {
// A number that stands for a keyword is an integer expression like any other.
bool KeywordNumber(TextView word, long long& value) {
    return EvalInteger(word, value);
}
} // namespace

void RegisterMacroLayer() {
    CKeywordTable::SetIntegerEvaluator(&KeywordNumber);
    CMacroRuntime::Install();
    RegisterShellCommands();
    RegisterCallCommands();
    RegisterTextCommands();
    RegisterSourceLoading();
    RegisterIoCommands();
    RegisterSystemCommands();
    RegisterMiscCommands();
    RegisterItemCommands();
    RegisterItemLayer();
    RegisterClasses();
    RegisterExpressionLayer();
}
