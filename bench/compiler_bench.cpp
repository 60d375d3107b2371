// Compiling the macro library at start: 5,000 generated macros of 20 lines
// each (assignments with substitution, IF/ELSE blocks, FOR and WHILE loops,
// COND, calls of commands and macros). Goal: the whole library in 150 ms.
#include <benchmark/benchmark.h>

#include "shell/command_registry.h"
#include "macro/compiler.h"

namespace {

constexpr int kMacros = 5000;

const CCommandRow kBenchRows[] = {{.name = L"BENCHPRINT"}, {.name = L"BENCHCALC"}, {.name = L"BENCHNEW"}};

struct SSection {
    std::vector<Text> header;
    std::vector<Text> source; // as written
    std::vector<SSourceLine> lines;
};

std::vector<SSection> MakeLibrary() {
    CCommandRegistry::Register(kBenchRows, std::size(kBenchRows));
    std::vector<SSection> library(kMacros);
    int number = 0;
    for (int m = 0; m < kMacros; ++m) {
        SSection& s = library[m];
        s.header = {Format(L"MAC%d", m), L"a", L"b=5", L"#c"};
        const Text next = Format(L"MAC%d", (m + 1) % kMacros);
        s.source = {
            L"#x := $a + $b",
            L"#y := $(BENCHCALC $#x * 2 + $(BENCHCALC $#c))",
            L"IF $#x > 10 AND $#y != 0 THEN",
            L"  #z := $#x - 1",
            L"ELSE IF $#x == 5 THEN",
            L"  #z := 'five or so'",
            L"ELSE",
            L"  #z := 0",
            L"END",
            L"FOR #i := 0 TO $#i < $b STEP #i := $#i + 1",
            L"  #s := $#s$#i",
            L"  IF $#i == 3 CONTINUE",
            L"END",
            L"WHILE $#z > 0",
            L"  #z := $#z - 1",
            L"END",
            L"BENCHPRINT 'x=' $#x $(helper $#y)",
            next + L" $#z 'text with blanks'",
            L"#r := COND $#x > 1 ? yes : ~t[$#i]",
            L"done: EXIT 1 $#r",
        };
        ++number; // the header line
        for (const Text& text : s.source) s.lines.push_back({ConvertSourceLine(text), number++});
    }
    return library;
}

const std::vector<SSection>& Library() {
    static const std::vector<SSection> library = MakeLibrary();
    return library;
}

void BM_CompileLibrary(benchmark::State& state) {
    const auto& library = Library();
    std::vector<Text> log;
    SCompileOptions options;
    size_t lines = 0;
    for (auto _ : state) {
        for (const SSection& s : library) {
            CMacroCode code;
            if (!Compile(code, s.header, s.lines, options, log)) state.SkipWithError("compile failed");
            lines += code.m_lines.size();
        }
    }
    state.counters["macros"] = kMacros;
    state.counters["code lines/s"] = benchmark::Counter(double(lines), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_CompileLibrary)->Unit(benchmark::kMillisecond);

// The same with the conversion to the internal alphabet, as a load does it.
void BM_ConvertAndCompileLibrary(benchmark::State& state) {
    const auto& library = Library();
    std::vector<Text> log;
    SCompileOptions options;
    std::vector<SSourceLine> lines;
    for (auto _ : state) {
        for (const SSection& s : library) {
            lines.clear();
            int number = 1;
            for (const Text& text : s.source) lines.push_back({ConvertSourceLine(text), number++});
            CMacroCode code;
            if (!Compile(code, s.header, lines, options, log)) state.SkipWithError("compile failed");
        }
    }
}
BENCHMARK(BM_ConvertAndCompileLibrary)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
