// The TABLE item kind: NEW TABLE, SET t ..., t[...] and the evaluator's
// ways into a table. Shared by the table's command files only.
#pragma once

#include "items/shell_table.h"
#include "items/table_data.h"
#include "shell/words.h"

class CTableKind : public CShellItemKind {
public:
    CTableKind() : CShellItemKind(KIND_TABLE, L"TABLE", L"T", true) {}

    int Create(CShell& shell, const Text& name, CWords& args, COptions& options, void*& object) override;
    int Status(CShell& shell, void* object, const std::vector<Text>& args, Text& out) override;
    long long Size(void* object) override;
    int AssignElement(CShell& shell, void* object, TextView args, TextView value) override;
    void* FromLines(const std::vector<Text>& lines) override;
    bool ToMatrix(void* object, TextView part, Matrix& out) override;
    void* NewFromMatrix(CShell& shell, const Matrix& value) override;

protected:
    int SetItem(CShell& shell, CShellItem& item, const Text& name, CWords& args, COptions& options,
                Text& result) override;
    bool HoldsFor(const CWords& args) override;
};

inline CShellTable& AsTable(void* object) {
    return *static_cast<CShellTable*>(AsItem(object));
}
inline void* AsObject(CShellTable* table) {
    return static_cast<CShellItem*>(table);
}

// The keyword handlers of SET t, each with the words behind the keyword.
using STableSet = SSetCall<CShellTable>;
int TableDefine(STableSet& c);
int TableConfig(STableSet& c);
int TableMode(STableSet& c);
int TableFormat(STableSet& c);
int TableSort(STableSet& c);
int TableCopy(STableSet& c);
int TableClipboard(STableSet& c);

// The words of a field's type in NEW TABLE and SET t DEFINE: the index plus 1
// is the FIELD_ type. And the directions of SET t SORT (KVOCONSTANTS SORTDIR).
const CKeywordList& FieldTypeWords();
const CKeywordList& SortDirections();

// The real row for a row number a macro gives, appending rows up to it (tagged ones in a
// ranged table, so that they are visible); -1 when rows cannot be added.
long EnsureTableRow(CShellTable& t, long index, bool real);
// A value named in macro text: a number, or the numbers of a table, a number object or an
// item's output. False when there is no data.
bool ValueOfText(CShell& shell, TextView text, Matrix& out);
// A matrix entered as a new number object of `shell`; its name, or empty.
Text NewNumberName(CShell& shell, const Matrix& value);

// FIND table value ... and TAGS table list as command rows.
void RegisterTableCommands();
