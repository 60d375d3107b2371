// The commands of expressions and numbers: EVAL and EVALCHECK run the
// evaluator and leave its value as a number object; INT and NUM read one
// number through the format engine; FORMAT is the engine itself.
#include <iterator>
#include <vector>

#include "expr/ex_eval.h"
#include "expr/format_engine.h"
#include "expr/number_object.h"
#include "expr/register_expr.h"
#include "shell/command_registry.h"
#include "shell/options.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"

namespace {

// Selectors: EVAL and the checking form, which reports every failure as 299.
enum { EVAL_PLAIN, EVAL_CHECK };

int EvalCommand(CShell& shell, CWords& args, COptions&, int selector, Text& result) {
    const bool check = selector == EVAL_CHECK;
    result.clear();
    if (args.empty()) return check ? RC_NOT_AN_EXPRESSION : RC_TOO_FEW_ARGUMENTS;
    CExEval eval(&shell);
    eval.SetExpression(JoinWords(args));
    if (!eval.Evaluate()) {
        if (check) return RC_NOT_AN_EXPRESSION;
        return eval.GetError() ? eval.GetError() : RC_COMMAND_ERROR;
    }
    if (!NewNumberObject(shell, eval.TakeResult(), result)) {
        result.clear();
        return check ? RC_NOT_AN_EXPRESSION : RC_CANNOT_CREATE_NAME;
    }
    return 0;
}

// Selectors: bit 0 picks NUM over INT, bit 1 the checking form.
int NumberCommand(CShell&, CWords& args, COptions&, int selector, Text& result) {
    const bool check = (selector & 2) != 0;
    const wchar_t* format = (selector & 1) ? L"%.20lg" : L"%d";
    result.clear();
    if (args.empty()) return check ? RC_NOT_AN_EXPRESSION : RC_TOO_FEW_ARGUMENTS;
    const Text number = JoinWords(args);
    int error = 0;
    if (!FormatText(1, &number, format, result, error)) {
        result.clear();
        if (check) return RC_NOT_AN_EXPRESSION;
        return error == RC_FORMAT_BAD_LENGTH ? RC_NUMBER_EXPECTED : RC_COMMAND_ERROR;
    }
    return 0;
}

// The text built up to an error stays the result, beside the code.
int FormatCommand(CShell&, CWords& args, COptions&, int, Text& result) {
    result.clear();
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    std::vector<Text> texts;
    texts.reserve(args.size() - 1);
    for (size_t i = 1; i < args.size(); ++i) texts.push_back(args[i].text);
    int error = 0;
    FormatText(static_cast<int>(texts.size()), texts.data(), args[0].text, result, error);
    return error;
}

constexpr CCommandRow kExprRows[] = {
    {L"EVAL", &EvalCommand, false, 1, EVAL_PLAIN, nullptr, nullptr, nullptr},
    {L"EVALCHECK", &EvalCommand, false, 0, EVAL_CHECK, nullptr, nullptr, nullptr},
    {L"INT", &NumberCommand, false, 1, 0, nullptr, nullptr, nullptr},
    {L"NUM", &NumberCommand, false, 1, 1, nullptr, nullptr, nullptr},
    {L"INTCHECK", &NumberCommand, false, 0, 2, nullptr, nullptr, nullptr},
    {L"NUMCHECK", &NumberCommand, false, 0, 3, nullptr, nullptr, nullptr},
    {L"FORMAT", &FormatCommand, false, 1, 0, nullptr, nullptr, nullptr},
};

CNumberKind g_numberKind;

} // namespace

void RegisterExpressionLayer() {
    CItemKindRegistry::Register(&g_numberKind);
    CCommandRegistry::Register(kExprRows, std::size(kExprRows));
}
