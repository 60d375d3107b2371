#include "graphics/display_item.h"

#include "graphics/display_proxy.h"
#include "graphics/graph_words.h"
#include "shell/error_table.h"
#include "shell/options.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

constexpr int kNoRows = 338;
constexpr int kNoThread = 337;
constexpr int kBadOptionValue = 111;
constexpr int kGeneralBadArgument = 4;
constexpr const wchar_t* kNoClass = L"CSPDisplay::Create - No class can be specified - invalid nIcon value.";

constexpr const wchar_t* kStatusWords[] = {
    L"MODE",       L"STYLE",       L"WINDOW", L"TITLE",       L"NROWS",      L"NCOLS",
    L"HROWS",      L"WCOLS",       L"GRAPHS", L"ACTIVEGRAPH", L"FULLSCREEN", L"DIALOGITEM",
    L"DIALOGMODE", L"DIALOGALIGN", L"ONTOP",  L"FOREGROUND",  nullptr};

struct SCreateOptions {
    int style = STYLE_GRAPHS;
    int kind = 0;
    int dialogStyle = 0;
    WindowSlotPtr parent;
    bool hasRect = false;
    int rect[4] = {};
};

int ReadCreateOptions(CShell& shell, const COptions& options, SCreateOptions& out) {
    if (const SOption* s = FindOption(options, L"Ss")) {
        const Text v = UpperCase(s->text);
        if (v.empty() || v == L"F")
            out.style = STYLE_GRAPHS;
        else if (v == L"D")
            out.style = STYLE_DIALOG;
        else if (v == L"M")
            out.style = STYLE_MODAL;
        else
            return kBadOptionValue;
    }
    if (HasOption(options, L"Jj")) out.style |= STYLE_JOYSTICK;
    if (const SOption* d = FindOption(options, L"Dd")) {
        static constexpr int kAlign[] = {0x01, 0x11, 0x21, 0x41};
        const Text v = UpperCase(d->text);
        const size_t at = v.empty() ? Text::npos : Text(L"ABLR").find(v[0]);
        if (at == Text::npos) return kBadOptionValue;
        out.dialogStyle = kAlign[at];
        if (HasOption(options, L"Ff")) out.dialogStyle |= 0x80;
        out.style |= out.dialogStyle & STYLE_DIALOG_MASK;
    }
    if (const SOption* i = FindOption(options, L"Ii")) {
        int kind = kDisplayKindWords.Find(i->text, true);
        if (kind < 0) {
            shell.Env().Log(kNoClass);
            return kBadOptionValue;
        }
        out.kind = kind;
    }
    if (const SOption* o = FindOption(options, L"Oo")) {
        if (o->text.empty()) return 110;
        CDisplayItem* parent = FindDisplayItem(shell, o->text);
        if (!parent) return kBadOptionValue;
        out.parent = parent->Slot();
    }
    if (const SOption* r = FindOption(options, L"Rr")) {
        Text v = r->text;
        for (wchar_t& c : v)
            if (c == L':' || c == L',') c = L' ';
        const std::vector<Text> parts = SplitBlanks(v);
        if (parts.size() != 4) return kBadOptionValue;
        for (int k = 0; k < 4; ++k) {
            long long n = 0;
            if (!ReadInteger(parts[k], n)) return kBadOptionValue;
            out.rect[k] = static_cast<int>(n);
        }
        out.hasRect = true;
    }
    return 0;
}

} // namespace

const CKeywordTable kDisplayStatusKeys(kStatusWords);

CDisplayItem::CDisplayItem(CShellEnv* env, int style, int kind, int dialogStyle)
    : CShellItem(env), m_style(style), m_kind(kind), m_dialogStyle(dialogStyle) {}

CDisplayItem::~CDisplayItem() {
    m_sink->Clear();
    if (m_slot) {
        CRequestProxy proxy(m_slot);
        proxy.Request(DR_CLOSE);
    }
}

void CDisplayItem::Describe(Text& out) {
    out = Format(L"CDisplayItem %p (%s), usage count %d", static_cast<void*>(this),
                 kDisplayKindWords.Word(static_cast<size_t>(m_kind)), m_nShare);
}

CDisplayItem* FindDisplayItem(CShell& shell, TextView name) {
    CShell::ItemEntry* e = shell.FindItem(name, KIND_DISPLAY);
    return e ? static_cast<CDisplayItem*>(AsItem(e->value)) : nullptr;
}

int CDisplayKind::Create(CShell& shell, const Text&, CWords& args, COptions& options, void*& object) {
    SCreateOptions opts;
    if (const int code = ReadCreateOptions(shell, options, opts)) return code;
    long long rows = 1;
    if (args.size() > 1 && (!ReadInteger(args[1].text, rows) || rows < 0 || rows > kMaxRows))
        return kGeneralBadArgument;
    const int mode = opts.style & STYLE_MODE_MASK;
    if (rows == 0 && mode != STYLE_DIALOG && mode != STYLE_MODAL) return kNoRows;
    bool twoColumns[kMaxRows] = {};
    for (int r = 0; r < rows; ++r) {
        const size_t at = static_cast<size_t>(r) + 2;
        if (at >= args.size()) break;
        long long cols = 0;
        if (!ReadInteger(args[at].text, cols) || cols < 1 || cols > 2) return at + 1 > 29 ? 4 : 68 + r;
        twoColumns[r] = cols == 2;
    }
    if (!GuiChannel::IsOpen()) return kNoThread;

    auto* item = new CDisplayItem(&shell.Env(), opts.style, opts.kind, opts.dialogStyle);
    item->Sink()->Set(&shell, static_cast<CShellItem*>(item));
    SDisplayCreate create;
    create.env = &shell.Env();
    create.title = args.empty() ? Text() : args[0].text;
    create.style = opts.style;
    create.kind = opts.kind;
    create.dialogStyle = opts.dialogStyle;
    create.parent = opts.parent;
    create.hasRect = opts.hasRect;
    std::copy(std::begin(opts.rect), std::end(opts.rect), create.rect);
    create.sink = item->Sink();
    {
        CRequestProxy factory(DisplayFactorySlot());
        factory.Request(DR_CREATE, &create);
    }
    if (!create.slot) {
        item->Sink()->Clear();
        item->Release();
        return kNoThread;
    }
    item->SetSlot(create.slot);
    {
        // The first layout: no rows, then the rows asked for, committed at once.
        DisplayProxy proxy(item->Slot());
        if (SSPDisplayLayout* layout = proxy.WorkingLayout()) {
            layout->rows = 0;
            layout->SetEvenRows(static_cast<int>(rows));
            for (int r = 0; r < rows; ++r) layout->row[r].twoColumns = twoColumns[r];
            if (opts.dialogStyle) layout->dialogAlign = opts.dialogStyle & STYLE_DIALOG_MASK;
        }
        proxy.SetApply(true);
    }
    object = static_cast<CShellItem*>(item);
    return 0;
}

int CDisplayKind::SetItem(CShell& shell, CShellItem& item, const Text&, CWords& args, COptions& options,
                          Text& result) {
    return DisplaySet(shell, static_cast<CDisplayItem&>(item), args, options, result);
}

int CDisplayKind::Status(CShell&, void* object, const std::vector<Text>& args, Text& out) {
    auto& item = *static_cast<CDisplayItem*>(AsItem(object));
    SStatusQuery query;
    if (!args.empty() && !args[0].empty()) {
        TextView key = args[0];
        if (key[0] == L'!') key.remove_prefix(1);
        query.key = kDisplayStatusKeys.Find(key, true);
        if (query.key < 0) {
            out.clear();
            return 65;
        }
        query.args.assign(args.begin() + 1, args.end());
    }
    CRequestProxy proxy(item.Slot());
    proxy.Request(DR_STATUS, &query);
    out = query.out;
    return 0;
}
