#include "graphics/data_source.h"

#include <chrono>

#include "graphics/data_set.h"
#include "graphics/graph_settings.h"
#include "graphics/gui_channel.h"
#include "graphics/wave_data_set.h"
#include "items/shell_item.h"
#include "signal/wave_item.h"

namespace {
// The loader repaints the graph at most this often while it reads.
constexpr auto kProgressPeriod = std::chrono::milliseconds(100);

void Loaded(const SFeedTarget& target, const Text& name) {
    GuiChannel::Post(target.graph, [target, name] {
        if (target.changed) target.changed();
        if (target.loaded) target.loaded(name);
    });
}
} // namespace

// Tables ---------------------------------------------------------------------------

void CTableSource::Feed(CDataSet& data) const {
    data.TakeTable(m_values, m_x);
    data.Complete();
}

std::vector<double> CTableSource::FirstColumn() const {
    if (m_values.Rows() <= 0) return {};
    return std::vector<double>(m_values.Column(0), m_values.Column(0) + m_values.Rows());
}

void CTableSource::Start(std::shared_ptr<CDataSet> data, SFeedTarget target) {
    Feed(*data);
    Loaded(target, m_name);
}

// Wave items -------------------------------------------------------------------------

std::shared_ptr<CWaveSource> CWaveSource::Open(Text name, CShellItem* item, int& error) {
    auto* waveItem = dynamic_cast<CWaveItem*>(item);
    CWaveObject* wave = waveItem ? waveItem->Wave() : nullptr;
    if (!wave || !wave->IsValid()) {
        error = 67;
        return nullptr;
    }
    error = 0;
    CSfio* sfio = wave->CreateSfio(SFIO_READ | CODING_FLOAT, error, kBlockFrames);
    if (!sfio) return nullptr;
    item->AddRef();
    return std::shared_ptr<CWaveSource>(
        new CWaveSource(std::move(name), item, sfio, sfio->Length(), wave->GetRate()));
}

CWaveSource::CWaveSource(Text name, CShellItem* item, CSfio* sfio, long long frames, double rate)
    : CDataSource(std::move(name)), m_item(item), m_sfio(sfio), m_frames(frames), m_rate(rate) {}

CWaveSource::~CWaveSource() {
    Stop();
    Release();
}

void CWaveSource::Release() {
    if (m_sfio) m_sfio->Close();
    m_sfio = nullptr;
    // The last share may go here, on whichever thread ends the reading.
    if (m_item) m_item->Release();
    m_item = nullptr;
}

bool CWaveSource::ReadAll(CDataSet& data, const std::function<void()>& progress) {
    auto* wave = dynamic_cast<CWaveDataSet*>(&data);
    if (!wave || !m_sfio) return false;
    wave->Prepare(m_frames, kBlockFrames, m_rate, 0, wave->Columns());
    std::vector<float> channel(static_cast<size_t>(kBlockFrames));
    m_sfio->SetPosition(0);
    auto last = std::chrono::steady_clock::now();
    for (long long n; !m_stop.load() && (n = m_sfio->Transfer()) > 0;) {
        m_sfio->ChannelIn(channel.data(), 0, n);
        wave->AddBlock(channel.data(), n);
        const auto now = std::chrono::steady_clock::now();
        if (progress && now - last >= kProgressPeriod) {
            progress();
            last = now;
        }
    }
    if (m_stop.load()) return false;
    wave->Complete();
    return true;
}

void CWaveSource::Start(std::shared_ptr<CDataSet> data, SFeedTarget target) {
    Stop();
    m_stop = false;
    m_worker = std::thread([this, data, target] {
        const bool done = ReadAll(*data, [&target] { GuiChannel::Post(target.graph, target.changed); });
        if (done) Loaded(target, m_name);
        Release();
    });
}

void CWaveSource::Stop() {
    m_stop = true;
    if (m_worker.joinable()) m_worker.join();
}
