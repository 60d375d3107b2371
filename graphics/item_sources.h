// What displays and graphs read of other items: the numbers and texts of
// tables (palettes, label positions, popup entries, data).
#pragma once

#include <vector>

#include "base/text.h"

class CShell;
class Matrix;

// The table's numeric content, rows by numeric columns; false when `name` is no
// table of the shell or holds no numbers.
bool ReadTableMatrix(CShell& shell, TextView name, Matrix& out);
// The rows of a table as texts: the first column's cell of each row.
bool ReadTableLines(CShell& shell, TextView name, std::vector<Text>& out);
// Every cell of every row.
bool ReadTableCells(CShell& shell, TextView name, std::vector<std::vector<Text>>& out);
