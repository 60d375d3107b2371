// CExEval on hostile text: deep nesting, every operator and marker, names of
// tables and functions, output arguments. A line of a macro may carry any
// value, so the evaluator must end in a value or a code. The same text also
// goes through the format engine as a format and as an argument.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "expr/ex_eval.h"
#include "expr/format_engine.h"
#include "expr/register_expr.h"
#include "numeric/matrix.h"
#include "shell/frame.h"
#include "shell/item_kind.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

// The language lets a line ask for any amount of memory ("Fill(1e9)"), and
// the evaluator answers a refused request with code 1. Here a request beyond
// this limit is refused as a full machine would refuse it, so the fuzzer
// walks that path instead of stopping at its own memory limit.
constexpr std::size_t kMaxAllocation = std::size_t{64} << 20;

void* Allocate(std::size_t size) {
    if (size > kMaxAllocation) return nullptr;
    return std::malloc(size ? size : 1);
}

} // namespace

void* operator new(std::size_t size) {
    if (void* p = Allocate(size)) return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    if (void* p = Allocate(size)) return p;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}

namespace {

struct SFuzzTable {
    Matrix data;
};

// The least a table kind needs to be read and written by expressions.
class CFuzzTables : public CItemKind {
public:
    CFuzzTables() : CItemKind(KIND_TABLE, L"TABLE", L"T") {}
    void Release(void* object) override { delete static_cast<SFuzzTable*>(object); }
    bool ToMatrix(void* object, TextView part, Matrix& out) override {
        const auto* t = static_cast<SFuzzTable*>(object);
        if (!part.empty() || t->data.IsEmpty()) return false;
        out = t->data;
        return true;
    }
    void* NewFromMatrix(CShell&, const Matrix& value) override { return new SFuzzTable{value}; }
};

struct SWorld {
    CShellEnv env;
    CFrameBase frame{nullptr};
    CFuzzTables tables;
    CShell* shell = nullptr;

    SWorld() {
        RegisterExpressionLayer();
        CItemKindRegistry::Register(&tables);
        CFrameBase hold(nullptr); // the shell's thread stays suspended; this thread uses the shell
        shell = env.NewShell(&hold, nullptr);
        shell->m_pFrame = &frame;
    }

    // The same tables for every input, so that a crash replays alone.
    void Reset() {
        while (auto* e = shell->Items().Last()) shell->RemoveItem(e);
        Matrix m(3, 3);
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c) m(r, c) = r == c ? 2.0 : 0.5 * (r - c);
        const double column[] = {1, -2, 3, 0.5};
        shell->AddItem(L"v", new SFuzzTable{Matrix::FromVector(column)}, KIND_TABLE);
        shell->AddItem(L"m", new SFuzzTable{m}, KIND_TABLE);
        shell->AddItem(L"s", new SFuzzTable{Matrix(-1.5)}, KIND_TABLE);
        shell->AddItem(L"e", new SFuzzTable{Matrix()}, KIND_TABLE);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static SWorld* world = new SWorld;
    world->Reset();
    Text text(size, L'\0');
    for (size_t i = 0; i < size; ++i) text[i] = static_cast<wchar_t>(data[i]);

    CExEval eval(world->shell);
    eval.SetExpression(text);
    if (eval.Evaluate()) {
        if (!eval.GetResult() || eval.GetError() != 0) __builtin_trap();
    } else if (eval.GetResult()) {
        __builtin_trap(); // a failure never leaves a value
    }

    const Text args[] = {text, L"1.5", L"-3661.25"};
    Text formatted;
    int error = 0;
    FormatText(3, args, text, formatted, error);
    FormatNumber(text, formatted, error, 2.5, L',');
    return 0;
}
