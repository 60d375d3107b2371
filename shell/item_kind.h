// The item-kind registry. A shell holds items of every kind, but the kinds
// live in higher layers (tables and files in items/, waves in signal/, ...).
// Each layer registers one CItemKind object per kind at start-up, and the
// shell reaches its items only through these operations. A build without a
// layer simply has no such kind: NEW of it fails as an unsupported kind.
#pragma once

#include <vector>

#include "base/message_queue.h"
#include "base/subcommand_table.h"
#include "base/text.h"
#include "shell/rc_codes.h"
#include "shell/words.h"

class CShell;
class CVariableMap;
class Matrix;

enum EItemKind : int {
    KIND_SOURCECODE = 0,
    KIND_TABLE = 2,
    KIND_FILE = 3,
    KIND_MENU = 4,
    KIND_VALUE = 5,
    KIND_SPU = 6,
    KIND_DISPLAY = 7,
    KIND_GRAPH = 8,
    KIND_WAVE = 9,
    KIND_INSTANCE = 10,
    KIND_DDECONV = 11,
    KIND_IP = 12,
    KIND_DCOM = 13,
    KIND_NUMBER = 14,
};

// The flags word of an item entry in a shell.
enum : uint32_t {
    ITEM_KIND_MASK = 0x3F,
    ITEM_HANDED_BACK = 0x40, // handed to a caller by EXIT
    ITEM_TEMPORARY = 0x80,   // deleted when its level is left
    ITEM_LEVEL_SHIFT = 8,
    ITEM_LEVEL_MASK = 0xFFFFF,        // 20 bits of call level
    ITEM_PROTECTED = 0x10000000,      // protected by a later barrier item
    ITEM_BARRIER = 0x20000000,        // made with NEW /U
    ITEM_USER_PROTECTED = 0x40000000, // made with NEW /u
};

inline int ItemKindOf(uint32_t flags) {
    return static_cast<int>(flags & ITEM_KIND_MASK);
}
inline unsigned ItemLevelOf(uint32_t flags) {
    return (flags >> ITEM_LEVEL_SHIFT) & ITEM_LEVEL_MASK;
}
inline uint32_t WithItemLevel(uint32_t flags, unsigned level) {
    return (flags & ~(ITEM_LEVEL_MASK << ITEM_LEVEL_SHIFT)) | ((level & ITEM_LEVEL_MASK) << ITEM_LEVEL_SHIFT);
}

// Operations of one item kind. Objects are opaque to the shell. Every
// operation has a default that says "this kind cannot"; a kind overrides what
// it has.
class CItemKind {
public:
    CItemKind(int kind, const wchar_t* keyword, const wchar_t* prefix)
        : m_kind(kind), m_keyword(keyword), m_prefix(prefix) {}
    virtual ~CItemKind() = default;

    int Kind() const { return m_kind; }
    const wchar_t* Keyword() const { return m_keyword; }
    const wchar_t* Prefix() const { return m_prefix; }

    // NEW kind name args...: makes the object. Returns a code; 0 with `object` set on success.
    virtual int Create(CShell&, const Text& /*name*/, CWords& /*args*/, COptions& /*options*/,
                       void*& /*object*/) {
        return RC_NOT_SUPPORTED;
    }
    // Another share of an existing object (NEW /Z); false when the kind does not share.
    virtual bool AddRef(void* /*object*/) { return false; }
    // Drops the share held by a shell entry; the object may die.
    virtual void Release(void* /*object*/) {}
    // DELETE's per-kind check; 0 lets the entry go.
    virtual int CheckDelete(CShell&, void* /*object*/, bool /*silent*/) { return 0; }
    // SET item args...; the kind without a handler answers that SET is unsupported.
    virtual int Set(CShell&, void* /*object*/, const Text& /*name*/, CWords& /*args*/, COptions& /*options*/,
                    Text& /*result*/) {
        return RC_SET_UNSUPPORTED_KIND;
    }
    // name[args]: the status text.
    virtual int Status(CShell&, void* /*object*/, const std::vector<Text>& /*args*/, Text& out) {
        out.clear();
        return 0;
    }
    // ~name: the value text; the kind keyword unless the kind has a value.
    virtual void ValueText(CShell&, void* /*object*/, Text& out) { out = m_keyword; }
    // name[]: the size.
    virtual long long Size(void* /*object*/) { return 0; }
    // name := value and name[args] := value.
    virtual int Assign(CShell&, void* /*object*/, TextView /*value*/) { return RC_ASSIGNMENT_FAILED; }
    virtual int AssignElement(CShell&, void* /*object*/, TextView /*args*/, TextView /*value*/) {
        return RC_ASSIGNMENT_FAILED;
    }
    // The member store of an instance; null for other kinds.
    virtual CVariableMap* Members(void* /*object*/) { return nullptr; }
    // A message that several items may claim (timers, SPU data): true when this one takes it.
    virtual bool Claim(void* /*object*/, const SMessage&) { return false; }
    // Told of a message whose source it is, before the message becomes a line.
    virtual void Notify(CShell&, void* /*object*/, SMessage&) {}
    // The line a message from one of its items becomes, when the kind words it
    // itself (a DDE conversation's disconnect is "DDECONV name EXIT", its advise
    // data "DDECONV name ADVISEDATA text n"; an IP item's "IP name SEND n" and
    // "IP name ERROR text"); false leaves the shell's common form.
    virtual bool MessageLine(CShell&, void* /*object*/, const Text& /*name*/, const SMessage&,
                             Text& /*line*/) {
        return false;
    }
    // Items whose objects are made from a list of texts (the table of dropped files).
    virtual void* FromLines(const std::vector<Text>& /*lines*/) { return nullptr; }
    // The number object's text form (kind 14).
    virtual bool NumberText(void* /*object*/, Text& /*out*/) { return false; }
    // Numbers for expressions. `part` empty asks for the object's whole numeric content (a
    // table: its rows by its numeric columns); otherwise a part that the kind names itself
    // (an SPU's output). False when there are no numbers, so the evaluator tries the name
    // as something else.
    virtual bool ToMatrix(void* /*object*/, TextView /*part*/, Matrix& /*out*/) { return false; }
    // A new object of this kind holding `value` (a function's output argument written back
    // into a table, a matrix printed as the name of a new table); the caller owns its one
    // share. Null when the kind cannot hold a matrix.
    virtual void* NewFromMatrix(CShell&, const Matrix& /*value*/) { return nullptr; }

private:
    int m_kind;
    const wchar_t* m_keyword;
    const wchar_t* m_prefix;
};

class CItemKindRegistry {
public:
    // The registry keeps the pointer; registering a kind again replaces it.
    static void Register(CItemKind* kind);
    static void Unregister(int kind);
    static CItemKind* Find(int kind);
    // NEW's keywords: the kinds 2 (TABLE) to 13 (DCOM) in order, so a number n
    // stands for kind n + 2; also for kinds this build does not have. The rows'
    // handler is the kind number. KVOCONSTANTS NEW and LIST read them here.
    static CSubcommandTable<int>& NewKeywords();
    // The kind a word names as NEW takes it (abbreviated, or a number); -1 when none.
    static int FindNewKind(TextView word);
    // The prefix of generated names; the fixed table of prefixes also for kinds
    // that are not registered in this build.
    static const wchar_t* Prefix(int kind);
    // The keyword of a kind for messages and ~name; "SOURCECODE" for 0.
    static const wchar_t* Keyword(int kind);
};
