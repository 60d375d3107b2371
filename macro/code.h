// Compiled macro code: the internal alphabet of source text, code pieces,
// code lines and the code of one [MACRO] or [CLASS] section.
#pragma once

#include <memory>
#include <vector>

#include "base/name_list.h"
#include "shell/source_code.h"

struct CCommandRow;

// The private alphabet that source lines are converted to when a section is read.
enum : wchar_t {
    CODE_QUOTE = 1,         // '  toggles the quoted state
    CODE_ITEM = 2,          // ~  item value or status follows
    CODE_OPEN = 3,          // [  opening status bracket
    CODE_CLOSE = 4,         // ]  closing status bracket
    CODE_VARIABLE = 5,      // $  (not followed by '(') variable substitution
    CODE_INLINE_OPEN = 17,  // $( opens an inline command
    CODE_INLINE_CLOSE = 18, // )  that closes a $(
};

// Converts one source line to the internal alphabet. The header mode (of a
// section header) converts only quotes and backticks.
Text ConvertSourceLine(TextView line, bool headerMode = false);

struct CCodeLine;

struct CCodePiece {
    enum Type { LITERAL = 1, VARIABLE = 2, INLINE = 3 };
    int type = LITERAL;
    Text text;                       // the literal, or the variable's name
    std::unique_ptr<CCodeLine> line; // the inline command
};
using CPieceChain = std::vector<CCodePiece>;

struct CCodeLine {
    enum Kind { STATEMENT = 0, GOTO = 1, IF_GOTO = 2, IFNOT_GOTO = 3, COMPUTED_GOTO = 4, EXIT = 5 };
    enum : uint32_t {
        KIND_MASK = 0x0F,
        TARGET_HAS_STATUS = 0x10,  // the target's literal text holds CODE_ITEM or CODE_OPEN
        COMMAND_HAS_STATUS = 0x20, // likewise the command text
        BOUND = 0x40,              // the first word is bound to a built-in command
    };
    uint32_t flags = STATEMENT;
    int sourceLine = 0;                   // zero-based
    int target = 0;                       // jump target line (label number while compiling)
    const CCommandRow* command = nullptr; // the bound command
    bool hasAssign = false;               // there was a ":=" (the target chain may still be empty)
    CPieceChain assignTarget;             // in front of ":="
    CPieceChain commandText;              // behind it; for kinds 2 to 5 the condition or operand

    int Kind() const { return static_cast<int>(flags & KIND_MASK); }
};

enum EMethodAccess { ACCESS_PUBLIC = 1, ACCESS_PROTECTED = 2, ACCESS_PRIVATE = 3 };

struct SMethodEntry {
    int line = 0;
    int access = ACCESS_PUBLIC;
};

class CMacroCode : public CSourceCode {
public:
    Text m_name; // upper case
    std::vector<std::unique_ptr<CCodeLine>> m_lines;
    CNameMap<int> m_labels;           // upper-case label -> line
    CNameMap<SMethodEntry> m_methods; // method name -> line and access
    bool m_bClass = false;
    Text m_parentName;               // a class's parent, as written
    CMacroCode* m_pParent = nullptr; // resolved by the loader
    bool m_bFromLibrary = false;

    int LineCount() const { return static_cast<int>(m_lines.size()); }
};
