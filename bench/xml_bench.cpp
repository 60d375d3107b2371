// Loading a large XML document: a 50 MB file of nested elements with
// attributes, text and comments, read into the element table (decoding and
// parsing together, and the parse alone), with `xmllint --noout` on the same
// file beside it as the yardstick of a well-known parser.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "items/text_codec.h"
#include "items/xml_doc.h"

namespace {

constexpr const char* kPath = "/tmp/kvo_xml_bench_50mb.xml";
constexpr size_t kTarget = 50u << 20;

// The document is written once per run of the program.
const std::string& Document() {
    static const std::string bytes = [] {
        std::string out =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<!-- generated for the load benchmark -->\r\n"
            "<corpus name=\"bench\">\r\n";
        unsigned seed = 12345;
        auto next = [&]() { return seed = seed * 1103515245u + 12345u; };
        for (int take = 0; out.size() < kTarget; ++take) {
            out += "  <take ID=\"t" + std::to_string(take) + "\" start=\"" + std::to_string(next() % 100000) +
                   ".25\" speaker='s" + std::to_string(next() % 40) + "'>\r\n";
            if (take % 7 == 0) out += "    <!-- checked by hand, take " + std::to_string(take) + " -->\r\n";
            for (int seg = 0; seg < 8; ++seg) {
                out += "    <seg ID=\"s" + std::to_string(seg) + "\" kind=\"word\" len=\"" +
                       std::to_string(next() % 5000) + "\">\r\n";
                out +=
                    "      <label>w&#228;hrend &amp; caf\xC3\xA9 " + std::to_string(next()) + "</label>\r\n";
                out += "      <pitch unit=\"Hz\">" + std::to_string(next() % 400) + " " +
                       std::to_string(next() % 400) + " " + std::to_string(next() % 400) + "</pitch>\r\n";
                out += "      <mark/>\r\n    </seg>\r\n";
            }
            out += "  </take>\r\n";
        }
        out += "</corpus>\r\n";
        std::ofstream(kPath, std::ios::binary) << out;
        return out;
    }();
    return bytes;
}

void BM_XMLLoadBytes(benchmark::State& state) {
    const std::string& bytes = Document();
    for (auto _ : state) {
        CXMLDoc doc;
        if (!doc.LoadBytes(bytes.data(), bytes.size())) state.SkipWithError("document did not load");
        benchmark::DoNotOptimize(doc.RecordCount());
        state.counters["elements"] = doc.RecordCount() - 1;
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(BM_XMLLoadBytes)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_XMLParseText(benchmark::State& state) {
    const Text text = DecodeUtf8(Document().data(), Document().size());
    for (auto _ : state) {
        CXMLDoc doc;
        if (!doc.Parse(text)) state.SkipWithError("document did not parse");
        benchmark::DoNotOptimize(doc.RecordCount());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Document().size()));
}
BENCHMARK(BM_XMLParseText)->Unit(benchmark::kMillisecond)->Iterations(3);

// The same file through xmllint, a process of its own each time (its start-up
// is a few milliseconds against a run of several hundred).
void BM_XmllintNoout(benchmark::State& state) {
    Document();
    if (std::system("command -v xmllint > /dev/null 2>&1") != 0) {
        state.SkipWithError("xmllint is not installed (apt-get install libxml2-utils)");
        return;
    }
    const std::string command = std::string("xmllint --noout --huge ") + kPath;
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0) state.SkipWithError("xmllint refused the document");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Document().size()));
}
BENCHMARK(BM_XmllintNoout)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
