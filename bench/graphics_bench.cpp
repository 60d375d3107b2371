// Graphics: the repaint of a waveform at 1920 columns for files of 10 minutes,
// 1 hour and 10 hours at 48 kHz stereo (it must cost the same for any length);
// a zoom into a tenth of the hour, from the summaries and, beside it, from
// every sample of cache 0; the first complete display of the hour against
// `sox FILE -n stat` reading the same file; a graph fed 1,000 blocks a second.
//   QT_QPA_PLATFORM=offscreen build/bench/graphics_bench
// The sound files are made once with sox under /tmp/kvo_graphics_bench/.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <thread>

#include "app/startup.h"
#include "graphics/data_source.h"
#include "graphics/display_requests.h"
#include "graphics/functions.h"
#include "graphics/graph_container.h"
#include "graphics/graph_input.h"
#include "graphics/graph_requests.h"
#include "graphics/graphics_layer.h"
#include "graphics/gui_channel.h"
#include "graphics/sp_display.h"
#include "graphics/sp_graph.h"
#include "graphics/wave_data_set.h"
#include "signal/sound_file.h"
#include "signal/stream_wave.h"
#include "signal/wave_item.h"

namespace {

const std::string kFolder = "/tmp/kvo_graphics_bench";
constexpr int kColumns = 1920;

void EnsureApplication() {
    static int argc = 1;
    static char name[] = "graphics_bench";
    static char* argv[] = {name, nullptr};
    if (QApplication::instance()) return;
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    new QApplication(argc, argv);
    RegisterCore();
    RegisterGraphicsLayer();
}

// The sound file of `seconds` at 48 kHz, 16-bit stereo: Wave up to an hour, raw
// samples beyond (a Wave file ends at 4 GB), made with sox once.
std::string SoundFile(int seconds) {
    std::filesystem::create_directories(kFolder);
    const std::string hour = kFolder + "/3600.wav";
    if (!std::filesystem::exists(hour) &&
        std::system(("sox -n -r 48000 -c 2 -b 16 " + hour + " synth 3600 pinknoise vol 0.6").c_str()) != 0)
        return {};
    if (seconds == 3600) return hour;
    if (seconds < 3600) {
        const std::string path = kFolder + "/" + std::to_string(seconds) + ".wav";
        if (!std::filesystem::exists(path) &&
            std::system(("sox " + hour + " " + path + " trim 0 " + std::to_string(seconds)).c_str()) != 0)
            return {};
        return path;
    }
    const std::string raw = kFolder + "/" + std::to_string(seconds) + ".raw";
    if (!std::filesystem::exists(raw)) {
        const std::string one = kFolder + "/3600.raw";
        if (std::system(("sox " + hour + " -t raw " + one).c_str()) != 0) return {};
        std::string cat = "cat";
        for (int i = 0; i < seconds / 3600; ++i) cat += " " + one;
        if (std::system((cat + " > " + raw).c_str()) != 0) return {};
        std::filesystem::remove(one);
    }
    return raw;
}

// A display with one graph whose plot is `kColumns` wide, and a wave item of a file.
struct SScene {
    CSoundFile file;
    CWaveItem* item = nullptr;
    CSPDisplay* display = nullptr;
    CSPGraph* graph = nullptr;
    std::shared_ptr<CWaveSource> source;
    double loadSeconds = 0;

    bool Open(const std::string& path) {
        const bool raw = path.ends_with(".raw");
        const int mode = raw ? (SFKIND_BINARY | CODING_PCM16 | SFACCESS_READ) : (SFKIND_WAVE | SFACCESS_READ);
        if (file.Open(FromUtf8(path), mode, raw ? 2 : 0, raw ? 48000 : 0) != 0) return false;
        CChannelSet all;
        all.SetAll();
        item = new CWaveItem(nullptr, new CStreamWave(file, 0, file.Frames(), all));
        return true;
    }

    void Show() {
        SDisplayCreate create;
        create.sink = std::make_shared<CEventSink>();
        create.title = L"bench";
        display = new CSPDisplay(create, nullptr);
        SSPDisplayLayout layout;
        layout.SetEvenRows(1);
        display->Container()->Apply(layout);
        SGraphCreate g;
        g.name = L"g";
        g.sink = create.sink;
        SRequestBlock block;
        block.data = &g;
        display->ServeRequest(DR_ADD_GRAPH, block);
        graph = display->Graphs().front();
        display->resize(kColumns + 200, 400);
        display->show();
        QCoreApplication::processEvents();
        // Widen the window until the plot is exactly as wide as asked.
        for (int i = 0; i < 5 && graph->PlotRect().width() != kColumns; ++i) {
            display->resize(display->width() + kColumns - graph->PlotRect().width(), 400);
            QCoreApplication::processEvents();
        }
    }

    // SET g Y 0 <wave> Waveform: the loader reads the file; the time until the
    // data is complete and the first picture is drawn.
    bool Load() {
        int error = 0;
        source = CWaveSource::Open(L"wave", item, error);
        if (!source) return false;
        SFunctionRequest r;
        r.params = MakeParams(FUNC_WAVEFORM);
        static_cast<SSPWaveFunctionParams&>(*r.params).columns = kColumns;
        r.source = source;
        const auto start = std::chrono::steady_clock::now();
        SRequestBlock block;
        block.data = &r;
        graph->ServeRequest(GR_SET_FUNCTION, block);
        CDataSet& data = *graph->Function(0)->DataSet();
        while (!data.Done()) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QImage picture(graph->size(), QImage::Format_RGB32);
        graph->render(&picture);
        loadSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return true;
    }

    CWaveDataSet& Data() { return static_cast<CWaveDataSet&>(*graph->Function(0)->DataSet()); }

    ~SScene() {
        delete display;
        if (item) item->Release();
    }
};

// One scene for each length, loaded once.
SScene* Scene(int seconds) {
    static std::map<int, std::unique_ptr<SScene>> scenes;
    auto& s = scenes[seconds];
    if (!s) {
        EnsureApplication();
        const std::string path = SoundFile(seconds);
        s = std::make_unique<SScene>();
        if (path.empty() || !s->Open(path)) return nullptr;
        s->Show();
        if (!s->Load()) return nullptr;
    }
    return s.get();
}

void BM_RepaintWaveform(benchmark::State& state) {
    SScene* scene = Scene(static_cast<int>(state.range(0)));
    if (!scene) {
        state.SkipWithError("no sound file (sox missing?)");
        return;
    }
    QImage picture(scene->graph->size(), QImage::Format_RGB32);
    for (auto _ : state) {
        QPainter p(&picture);
        scene->graph->render(&p);
    }
    state.counters["columns"] = scene->graph->PlotRect().width();
    state.counters["samples"] = static_cast<double>(scene->Data().Points());
    state.counters["load_s"] = scene->loadSeconds;
}
BENCHMARK(BM_RepaintWaveform)->Arg(600)->Arg(3600)->Arg(36000)->Unit(benchmark::kMillisecond)->UseRealTime();

// A tenth of the hour at an odd place, as a user's zoom would land.
void Zoom(benchmark::State& state, bool summaries) {
    SScene* scene = Scene(3600);
    if (!scene) {
        state.SkipWithError("no sound file (sox missing?)");
        return;
    }
    double offset = 37.123;
    for (auto _ : state) {
        if (!scene->Data().Recalculate(kColumns, offset, offset + 360.0, summaries))
            state.SkipWithError("failed");
        offset = offset > 3000 ? 37.123 : offset + 601.7;
    }
}
void BM_ZoomTenthOfAnHour_Summaries(benchmark::State& state) {
    Zoom(state, true);
}
void BM_ZoomTenthOfAnHour_Cache0(benchmark::State& state) {
    Zoom(state, false);
}
BENCHMARK(BM_ZoomTenthOfAnHour_Summaries)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ZoomTenthOfAnHour_Cache0)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

// The first complete display of the hour, in the process: the loader reads the
// file, fills the caches and the summaries and the first picture is drawn.
void BM_FirstDisplayOfAnHour(benchmark::State& state) {
    const std::string path = SoundFile(3600);
    EnsureApplication();
    for (auto _ : state) {
        SScene scene;
        if (path.empty() || !scene.Open(path)) {
            state.SkipWithError("no sound file");
            return;
        }
        scene.Show();
        const auto start = std::chrono::steady_clock::now();
        if (!scene.Load()) state.SkipWithError("cannot load");
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}
BENCHMARK(BM_FirstDisplayOfAnHour)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(2);

// The peer: sox reading the same file and computing its statistics.
void BM_SoxStatOfAnHour(benchmark::State& state) {
    const std::string path = SoundFile(3600);
    for (auto _ : state)
        if (std::system(("sox " + path + " -n stat 2>/dev/null").c_str()) != 0)
            state.SkipWithError("sox failed");
}
BENCHMARK(BM_SoxStatOfAnHour)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

// A producer thread (the place of an SPU's output) feeds a rolling waveform
// 1,000 blocks a second while the GUI thread draws: every block must arrive.
void BM_FeedAt1000BlocksPerSecond(benchmark::State& state) {
    EnsureApplication();
    constexpr int kBlocks = 2000;
    constexpr int kBlockSamples = 48; // 48 kHz
    for (auto _ : state) {
        SScene scene;
        scene.Show();
        SFunctionRequest r;
        r.params = MakeParams(FUNC_WAVEFORM);
        static_cast<SSPWaveFunctionParams&>(*r.params).columns = kColumns;
        static_cast<SSPWaveFunctionParams&>(*r.params).rolling = true;
        SRequestBlock block;
        block.data = &r;
        scene.graph->ServeRequest(GR_SET_FUNCTION, block);
        CSPIn* input = scene.graph->Input(0);
        auto& wave = static_cast<CWaveDataSet&>(*scene.graph->Function(0)->DataSet());
        wave.Prepare(0, kBlockSamples, 48000, 0, kColumns);
        std::atomic<bool> done{false};
        double worstLate = 0, busy = 0;
        std::thread producer([&] {
            std::vector<double> samples(kBlockSamples);
            input->Start();
            const auto start = std::chrono::steady_clock::now();
            for (int b = 0; b < kBlocks; ++b) {
                const auto due = start + std::chrono::microseconds(1000 * b);
                std::this_thread::sleep_until(due);
                const auto begin = std::chrono::steady_clock::now();
                worstLate = std::max(worstLate, std::chrono::duration<double>(begin - due).count());
                for (int i = 0; i < kBlockSamples; ++i)
                    samples[static_cast<size_t>(i)] = std::sin((b * kBlockSamples + i) * 0.002);
                input->Deliver(VALUE_VECTOR, samples.data(), samples.size());
                busy += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
            }
            input->End();
            done = true;
            // Wakes the GUI thread for its last look.
            GuiChannel::Post(scene.graph, [] {});
        });
        int repaints = 0;
        while (!done.load()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            ++repaints;
        }
        producer.join();
        state.counters["blocks"] = static_cast<double>(input->Blocks());
        state.counters["dropped"] =
            static_cast<double>(kBlocks * kBlockSamples - wave.Points()) / kBlockSamples;
        state.counters["deliver_us"] = busy / kBlocks * 1e6;
        state.counters["worst_late_ms"] = worstLate * 1e3;
        state.counters["gui_wakeups"] = repaints;
    }
}
BENCHMARK(BM_FeedAt1000BlocksPerSecond)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

} // namespace

BENCHMARK_MAIN();
