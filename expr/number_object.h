// Number objects: the values that EVAL leaves in a shell. A number object is
// a Matrix entered under a generated "N#..." name as a temporary item (kind
// 14) of the level that made it, so the sweep at the end of that level frees
// it. It is no shell item of its own: no lock, no share count.
#pragma once

#include "base/text.h"
#include "numeric/matrix.h"
#include "shell/item_kind.h"

class CShell;

struct SNumberObject {
    Matrix value;
    // The shell that holds the entry; a matrix printed as text becomes a table of this shell.
    CShell* shell = nullptr;
};

class CNumberKind : public CItemKind {
public:
    CNumberKind() : CItemKind(KIND_NUMBER, L"", L"N") {}
    void Release(void* object) override;
    // A 1 by 1 value prints as "%.20lg"; a larger one becomes a new temporary
    // table "X#..." of the holding shell and prints as its name; an empty one
    // as the empty text.
    bool NumberText(void* object, Text& out) override;
    // ~n: the number's text, as a value item gives its value.
    void ValueText(CShell& shell, void* object, Text& out) override;
    bool ToMatrix(void* object, TextView part, Matrix& out) override;
    void* NewFromMatrix(CShell& shell, const Matrix& value) override;
};

// Enters `value` in `shell` under a new "N#..." name, temporary at the shell's
// current level; false when no name was free.
bool NewNumberObject(CShell& shell, Matrix value, Text& name);
// The number object of that name in `shell`, or null.
SNumberObject* FindNumberObject(const CShell& shell, TextView name);
// The text form of a value held by `shell` (see CNumberKind::NumberText).
bool NumberValueText(CShell* shell, const Matrix& value, Text& out);
