#include "macro/dispatcher.h"

#include "shell/error_table.h"
#include "shell/options.h"
#include "shell/shell.h"

namespace {

int DispatchSubcommand(CShell& shell, const CCommandSubcommands& table, CWords& words, COptions& options,
                       Text& result) {
    const SCommandSubcommand* sub = words.empty() ? nullptr : table.Find(words[0].text, true);
    if (!sub) return RC_BAD_ARG1;
    words.erase(words.begin());
    if (static_cast<int>(words.size()) < sub->minArgs) return RC_TOO_FEW_ARGUMENTS;
    // A keyword whose layer is not part of this build.
    if (!sub->handler) return RC_NOT_SUPPORTED;
    return sub->handler(shell, words, options, result);
}

} // namespace

int Dispatch(CShell& shell, const CCommandRow& row, CWords& words, Text& result, bool& effective) {
    COptions options;
    if (row.m_bOptions) ScanOptions(words, options);
    int code;
    result.clear();
    if (static_cast<int>(words.size()) < row.minArgs) {
        code = RC_TOO_FEW_ARGUMENTS;
    } else if (row.pSubcommands) {
        code = DispatchSubcommand(shell, *row.pSubcommands, words, options, result);
    } else {
        int selector = row.selector;
        bool run = true;
        code = 0;
        if (row.pKeywords) {
            const int index = words.empty() ? -1 : row.pKeywords->Find(words[0].text, true);
            if (index < 0) {
                code = RC_BAD_ARG1;
                run = false;
            } else {
                selector = index;
                words.erase(words.begin());
            }
        }
        if (run) code = row.handler(shell, words, options, selector, result);
    }
    effective = IsWarning(code);
    if (code == 0) {
        if (row.resultVar) {
            if (TextView(row.resultVar) == L"RC")
                result = L"0";
            else
                result = shell.GetVar(row.resultVar);
        }
    } else if (row.failText) {
        result = row.failText;
    } else if (row.resultVar) {
        result = IntText(code);
    }
    return code;
}
