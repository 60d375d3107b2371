#include "items/value_item.h"

#include <iterator>

#include "base/keyword_table.h"
#include "expr/numeric_args.h"
#include "items/shell_item.h"
#include "shell/error_table.h"
#include "shell/item_kind.h"
#include "shell/message_codes.h"
#include "shell/options.h"
#include "shell/shell.h"

CShellValue::CShellValue(CShell& shell) : m_shell(shell) {
    m_created = m_lastTick = std::chrono::steady_clock::now();
}

CShellValue::~CShellValue() {
    StopTimer();
}

void CShellValue::StartTimer() {
    StopTimer();
    std::lock_guard<std::mutex> hold(m_lock);
    m_stop = false;
    m_bTimer = true;
    m_timer = std::thread(&CShellValue::TimerMain, this, ++m_generation);
}

void CShellValue::StopTimer() {
    {
        std::lock_guard<std::mutex> hold(m_lock);
        m_stop = true;
        m_bTimer = false;
    }
    m_wake.notify_all();
    if (m_timer.joinable()) m_timer.join();
}

void CShellValue::TimerMain(uint64_t generation) {
    std::unique_lock<std::mutex> hold(m_lock);
    auto next = std::chrono::steady_clock::now() + std::chrono::milliseconds(m_delay + m_timeout);
    while (!m_stop && generation == m_generation) {
        if (m_wake.wait_until(hold, next, [this] { return m_stop; })) break;
        m_lastTick = std::chrono::steady_clock::now();
        // The shell holds this item through its entry and stops the timer before the entry
        // goes, so the shell outlives every post from here.
        m_shell.Post(this, MSG_TIMER, 0);
        next += std::chrono::milliseconds(m_timeout);
    }
}

Text CShellValue::DataText() {
    std::lock_guard<std::mutex> hold(m_lock);
    if (m_type == DATA_STRING) return m_text;
    if (m_type == DATA_NONE || m_value.IsEmpty()) return Text();
    Text out;
    for (int c = 0; c < m_value.Cols(); ++c)
        for (int r = 0; r < m_value.Rows(); ++r) {
            if (!out.empty()) out += L' ';
            out += DoubleText(m_value.At(r, c));
        }
    return out;
}

namespace {

using SValueSet = SSetCall<CShellValue>;

// The words of TIMER's switch (KVOCONSTANTS SWITCH).
constexpr const wchar_t* kSwitchWords[] = {L"Off", L"On", nullptr};
CKeywordList g_switch(L"SWITCH", kSwitchWords);
constexpr const wchar_t* kTypeNames[] = {L"NONE", L"STRING", L"NUMBER", L"VECTOR", L"ARRAY"};

// TIMER [Off|On [, timeout [, delay]]]
int ValueTimer(SValueSet& c) {
    CShellValue& v = c.item;
    const CWords& args = c.args;
    int on = 1;
    if (!args.empty() && args[0].text != L"*") {
        on = g_switch.FindIndex(args[0].text, true);
        if (on < 0) return RC_BAD_ARG1;
    }
    long long timeout = v.m_timeout, delay = v.m_delay;
    if (args.size() > 1 && args[1].text != L"*" && (!EvalInteger(args[1].text, timeout) || timeout <= 0))
        return RC_BAD_ARG2;
    if (args.size() > 2 && args[2].text != L"*" && (!EvalInteger(args[2].text, delay) || delay < 0))
        return RC_BAD_ARG3;
    {
        std::lock_guard<std::mutex> hold(v.m_lock);
        v.m_timeout = static_cast<int>(timeout);
        v.m_delay = static_cast<int>(delay);
    }
    if (on)
        v.StartTimer();
    else
        v.StopTimer();
    return 0;
}

// INPUT source: the outputs to connect to are those of SPUs; none is known by this name.
int ValueInput(SValueSet& c) {
    return c.args[0].text == L"*" ? 0 : RC_BAD_ARG3;
}

// OUTPUT data...: /S text, /N one number, /V a vector, /A rows then the numbers column by column.
int ValueOutput(SValueSet& c) {
    CShellValue& v = c.item;
    const CWords& args = c.args;
    const COptions& options = c.options;
    std::lock_guard<std::mutex> hold(v.m_lock);
    if (HasOption(options, L"Zz")) {
        v.m_type = CShellValue::DATA_NONE;
        v.m_text.clear();
        v.m_value = Matrix();
    }
    if (HasOption(options, L"Yy")) v.m_bDataOnly = true;
    if (args.empty()) return 0;
    int mode = OptionMode(options, L"SsNnVvAa");
    if (mode < 0) {
        double probe;
        mode = EvalNumber(args[0].text, probe) ? (args.size() == 1 ? 1 : 2) : 0;
    }
    if (mode == 0) {
        v.m_type = CShellValue::DATA_STRING;
        v.m_text = JoinWords(args);
        v.m_value = Matrix();
        return 0;
    }
    size_t first = 0;
    long long rows = 0;
    if (mode == 3) {
        if (!EvalInteger(args[0].text, rows) || rows < 1) return RC_BAD_ARG1;
        first = 1;
    }
    std::vector<double> numbers;
    for (size_t i = first; i < args.size(); ++i) {
        double x;
        if (!EvalNumber(args[i].text, x)) return ArgumentError(static_cast<int>(i) + 2, false);
        numbers.push_back(x);
        if (mode == 1) break;
    }
    if (numbers.empty()) return RC_TOO_FEW_ARGUMENTS;
    if (mode == 3 && numbers.size() % rows) return RC_TOO_FEW_ARGUMENTS;
    const int r = mode == 3 ? static_cast<int>(rows) : static_cast<int>(numbers.size());
    Matrix m(r, static_cast<int>(numbers.size()) / r);
    for (size_t i = 0; i < numbers.size(); ++i)
        m(static_cast<int>(i) % r, static_cast<int>(i) / r) = numbers[i];
    v.m_value = std::move(m);
    v.m_type = mode == 1   ? CShellValue::DATA_NUMBER
               : mode == 2 ? CShellValue::DATA_VECTOR
                           : CShellValue::DATA_ARRAY;
    v.m_text.clear();
    return 0;
}

// A number may stand for a keyword by its place (KVOCONSTANTS VALUE).
constexpr SSetRow<CShellValue> kValueRows[] = {
    {L"TIMER", ValueTimer},
    {L"INPUT", ValueInput, 1},
    {L"OUTPUT", ValueOutput},
};
CSetTable<CShellValue> g_valueSet(L"VALUE", kValueRows);

// The attributes v[!NAME].
struct SValueQuery {
    CShellValue& v;
    Text& out;
    std::chrono::steady_clock::time_point now;
};
long long Milliseconds(std::chrono::steady_clock::duration d) {
    return static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(d).count());
}
using ValueAttribute = void (*)(SValueQuery&);
constexpr SSubcommand<ValueAttribute> kValueAttributes[] = {
    {L"INPUT", [](SValueQuery& q) { q.out = q.v.m_input; }},
    {L"OUTPUT", [](SValueQuery& q) { q.out = q.v.DataText(); }},
    {L"TYPE", [](SValueQuery& q) { q.out = kTypeNames[q.v.m_type]; }},
    {L"DATA", [](SValueQuery& q) { q.out = q.v.DataText(); }},
    {L"TIMER", [](SValueQuery& q) { q.out = q.v.m_bTimer ? L"1" : L"0"; }},
    {L"TIMEOUT", [](SValueQuery& q) { q.out = IntText(q.v.m_timeout); }},
    {L"ELAPSED", [](SValueQuery& q) { q.out = IntText(Milliseconds(q.now - q.v.m_created)); }},
    {L"DIFFTIME", [](SValueQuery& q) { q.out = IntText(Milliseconds(q.now - q.v.m_lastTick)); }},
    {L"DATAONLY", [](SValueQuery& q) { q.out = q.v.m_bDataOnly ? L"1" : L"0"; }},
    {L"NROW",
     [](SValueQuery& q) {
         q.out = IntText(q.v.m_type == CShellValue::DATA_STRING ? 1 : q.v.m_value.Rows());
     }},
    {L"NCOL",
     [](SValueQuery& q) {
         q.out = IntText(q.v.m_type == CShellValue::DATA_STRING ? 1 : q.v.m_value.Cols());
     }},
};
const CSubcommandTable<ValueAttribute> g_valueAttributes(L"VALUE ATTRIBUTES", kValueAttributes);

class CValueKind : public CItemKind {
public:
    CValueKind() : CItemKind(KIND_VALUE, L"VALUE", L"V") {}

    int Create(CShell& shell, const Text&, CWords&, COptions&, void*& object) override {
        object = new CShellValue(shell);
        return 0;
    }
    void Release(void* object) override { delete static_cast<CShellValue*>(object); }

    int Set(CShell& shell, void* object, const Text&, CWords& args, COptions& options,
            Text& result) override {
        if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
        const SSetRow<CShellValue>* row = g_valueSet.Find(args[0].text, true);
        if (!row) return RC_BAD_ARG1;
        args.erase(args.begin());
        if (static_cast<int>(args.size()) < row->minArgs) return RC_TOO_FEW_ARGUMENTS;
        SValueSet call{shell, *static_cast<CShellValue*>(object), args, options, result, row->keyword, false};
        return row->handler(call);
    }

    int Status(CShell&, void* object, const std::vector<Text>& args, Text& out) override {
        auto& v = *static_cast<CShellValue*>(object);
        out.clear();
        if (args.empty()) {
            out = Format(L"type=%s, timer=%s, timeout=%d", kTypeNames[v.m_type], v.m_bTimer ? L"on" : L"off",
                         v.m_timeout);
            return 0;
        }
        TextView key = args[0];
        if (!key.empty() && key[0] == L'!') key.remove_prefix(1);
        if (const auto* attribute = g_valueAttributes.Find(key)) {
            SValueQuery query{v, out, std::chrono::steady_clock::now()};
            attribute->handler(query);
        }
        return 0;
    }

    void ValueText(CShell&, void* object, Text& out) override {
        auto& v = *static_cast<CShellValue*>(object);
        if (v.m_type == CShellValue::DATA_NONE)
            out = L"VALUE";
        else
            out = v.DataText();
    }

    bool ToMatrix(void* object, TextView, Matrix& out) override {
        auto& v = *static_cast<CShellValue*>(object);
        std::lock_guard<std::mutex> hold(v.m_lock);
        if (v.m_type < CShellValue::DATA_NUMBER) return false;
        out = v.m_value;
        return true;
    }
};

} // namespace

void RegisterValues() {
    static CValueKind kind;
    CItemKindRegistry::Register(&kind);
    CSubcommandRegistry::Register(g_valueSet);
    CSubcommandRegistry::Register(g_switch);
}
