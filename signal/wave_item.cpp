#include "signal/wave_item.h"

#include "base/subcommand_table.h"
#include "expr/numeric_args.h"
#include "items/value_item.h"
#include "shell/message_codes.h"
#include "shell/options.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"
#include "signal/audio_engine.h"
#include "signal/memory_wave.h"
#include "signal/segment_address.h"
#include "signal/segment_tables.h"
#include "signal/sequence_wave.h"
#include "signal/slave_wave.h"
#include "signal/sound_file.h"
#include "signal/sound_file_list.h"
#include "signal/stream_wave.h"

namespace {
constexpr long long kEndless = 0x7FFFFFFF;

constexpr const wchar_t* kTypeWords[] = {L"?", L"Stream", L"Sequence", L"ADC", L"DAC"};

// The code of a bad argument by its position after the item's name: 65 for the first.
int ArgumentCode(size_t index) {
    return index < 2 ? RC_BAD_ARG2 + static_cast<int>(index) : RC_INVALID_ARGUMENT;
}

SSegmentContext WaveContext(double rate, long long length) {
    SSegmentContext context;
    context.rate = rate;
    context.length = length;
    return context;
}

int CreateStream(CShell& shell, CWords& args, CWaveObject*& out) {
    CSoundFile* file = CurrentSoundFile(shell);
    if (!file) return RC_NO_SOUNDFILE;
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    SSegmentContext context = WaveContext(file->Rate(), file->Frames());
    context.lookup = [file](TextView name, long long& b, long long& e) {
        return LookupFileSegment(*file, name, b, e);
    };
    long long begin = 0, end = 0;
    if (const int code = ParseSegmentRange(args[0].text, context, begin, end); code != 0) return code;
    if (begin >= end || (end > file->Frames() && !file->Writable())) return RC_SIGNAL_RANGE_OUT_OF_RANGE;
    CChannelSet channels;
    if (args.size() == 1) channels.SetAll();
    for (size_t i = 1; i < args.size(); ++i) {
        long long c = 0;
        if (!EvalInteger(args[i].text, c) || !channels.Add(c) || c > file->Channels()) return ArgumentCode(i);
    }
    out = new CStreamWave(*file, begin, end, channels);
    return 0;
}

int CreateSequence(CShell& shell, CWords& args, CWaveObject*& out) {
    long long channels = 1;
    double rate = 0;
    if (CSoundFile* file = CurrentSoundFile(shell)) rate = file->Rate();
    if (args.size() > 0 && (!EvalInteger(args[0].text, channels) || channels < 1 || channels > 128))
        return ArgumentCode(0);
    if (args.size() > 1 && (!EvalNumber(args[1].text, rate) || rate < 1)) return ArgumentCode(1);
    if (rate < 1) return ArgumentCode(1);
    out = new CSequenceWave(static_cast<int>(channels), rate);
    return 0;
}

int CreateSlave(CShell& shell, CWords& args, bool relative, CWaveObject*& out, CWaveItem*& master) {
    master = args.empty() ? nullptr : FindWaveItem(shell, args[0].text);
    if (!master || !master->Wave() || !master->Wave()->IsValid()) return RC_NO_MASTER_SFIO;
    CWaveObject& m = *master->Wave();
    const SSegmentContext context = WaveContext(m.GetRate(), m.GetFrames());
    // Without /R the addresses are frames of what is below the master (a stream's
    // file); with /R they count from the master's own begin.
    const long long base = relative ? 0 : m.GetBegin();
    long long first = 0, end = m.GetFrames(), unused = 0;
    if (args.size() > 1) {
        if (!ParseAddress(args[1].text, context, first, unused)) return RC_SLAVE_BEGIN_OUT_OF_BOUNDS;
        first -= base;
    }
    if (args.size() > 2) {
        if (!ParseAddress(args[2].text, context, end, unused)) return RC_SLAVE_END_OUT_OF_BOUNDS;
        end -= base;
    }
    if (first < 0 || first > m.GetFrames()) return RC_SLAVE_BEGIN_OUT_OF_BOUNDS;
    if (end < 0 || end > m.GetFrames()) return RC_SLAVE_END_OUT_OF_BOUNDS;
    if (first >= end) return RC_BAD_SLAVE_RANGE;
    out = new CSlaveWave(m, first, end);
    return 0;
}

int CreateDevice(CShell& shell, CWords& args, bool adc, long long& blocks, long long& block,
                 CWaveObject*& out) {
    long long channels = 1;
    double rate = 0;
    if (CSoundFile* file = CurrentSoundFile(shell)) rate = file->Rate();
    if (args.size() > 0 && (!EvalInteger(args[0].text, channels) || channels < 1 || channels > 128))
        return ArgumentCode(0);
    if (args.size() > 1 && (!EvalNumber(args[1].text, rate) || rate < 1)) return ArgumentCode(1);
    if (rate < 1) return ArgumentCode(1);
    long long length = static_cast<long long>(rate), unused = 0;
    if (args.size() > 2) {
        if (args[2].text == L"-1")
            length = kEndless;
        else if (!ParseAddress(args[2].text, WaveContext(rate, -1), length, unused) || length <= 0)
            return RC_INVALID_ARGUMENT;
    }
    // Device buffers live in memory: an endless one cannot.
    if (length >= kEndless) return RC_NOT_SUPPORTED;
    if (args.size() > 3 && !EvalInteger(args[3].text, blocks)) return RC_INVALID_ARGUMENT;
    if (blocks < 2) blocks = 4;
    if (args.size() > 4 && !EvalInteger(args[4].text, block)) return RC_INVALID_ARGUMENT;
    if (block < rate * 0.05) block = static_cast<long long>(rate / 4);
    out = new CMemoryWave(static_cast<int>(channels), rate, length, adc ? WAVE_ADC : WAVE_DAC);
    return 0;
}

} // namespace

CWaveItem::CWaveItem(CShellEnv* env, CWaveObject* wave) : CShellItem(env), m_pWave(wave) {}

CWaveItem::~CWaveItem() {
    CAudioEngine::Of(false).Stop(this);
    CAudioEngine::Of(true).Stop(this);
    // A wave still used by a slave or an SFIO stays (and leaks) rather than dangle.
    if (m_pWave && !m_pWave->TryDelete()) ReportInternal(L"Internal error: wave object still in use");
    if (m_pMaster) m_pMaster->Release();
}

void CWaveItem::Describe(Text& out) {
    out = Format(L"CWaveItem %p (%s), usage count %d", static_cast<void*>(this),
                 m_pWave ? kTypeWords[m_pWave->Kind()] : L"none", m_nShare);
}

bool CWaveItem::Busy() const {
    return (m_pWave && m_pWave->Users() > 0) || CAudioEngine::Of(false).RunningFor(this) ||
           CAudioEngine::Of(true).RunningFor(this);
}

CWaveItem* FindWaveItem(CShell& shell, TextView name) {
    CShell::ItemEntry* e = shell.FindItem(name, KIND_WAVE);
    return e ? static_cast<CWaveItem*>(AsItem(e->value)) : nullptr;
}

int CWaveKind::Create(CShell& shell, const Text&, CWords& args, COptions& options, void*& object) {
    CWaveObject* wave = nullptr;
    long long blocks = 4, block = 0;
    CWaveItem* master = nullptr;
    int code;
    if (HasOption(options, L"Qq"))
        code = CreateSequence(shell, args, wave);
    else if (HasOption(options, L"Vv"))
        code = CreateSlave(shell, args, HasOption(options, L"Rr"), wave, master);
    else if (HasOption(options, L"Aa"))
        code = CreateDevice(shell, args, true, blocks, block, wave);
    else if (HasOption(options, L"Dd"))
        code = CreateDevice(shell, args, false, blocks, block, wave);
    else
        code = CreateStream(shell, args, wave);
    if (code != 0) return code;
    auto* item = new CWaveItem(&shell.Env(), wave);
    item->m_blocks = static_cast<int>(blocks);
    item->m_blockFrames = block;
    if (master) {
        master->AddRef();
        item->m_pMaster = master;
    }
    object = static_cast<CShellItem*>(item);
    return 0;
}

int CWaveKind::CheckDelete(CShell&, void* object, bool silent) {
    auto* item = static_cast<CWaveItem*>(AsItem(object));
    return item->Busy() ? Silent(RC_CANNOT_DELETE_WAVE, silent) : 0;
}

void CWaveKind::Notify(CShell& shell, void* object, SMessage& message) {
    auto& item = *static_cast<CWaveItem*>(AsItem(object));
    // A device that stopped may have written frames into the current sound file.
    RefreshSoundFileLine(shell);
    if (message.code != MSG_DEVICE_EXIT || item.m_valueItem.empty()) return;
    // The shell's own thread: the value item cannot go away under us here.
    CShell::ItemEntry* e = shell.FindItem(item.m_valueItem, KIND_VALUE);
    if (!e) return;
    auto& value = *static_cast<CShellValue*>(e->value);
    std::lock_guard hold(value.m_lock);
    value.m_type = CShellValue::DATA_NUMBER;
    value.m_value = Matrix(static_cast<double>(message.param));
}

int CWaveKind::SetItem(CShell& shell, CShellItem& item, const Text&, CWords& args, COptions& options,
                       Text& result) {
    const int code = WaveSet(shell, static_cast<CWaveItem&>(item), args, options, result);
    // COPY, RECORD and the like write through the wave into the current sound file.
    RefreshSoundFileLine(shell);
    return code;
}

namespace {

// What w[key] reads: the wave, its state in the audio engine, the devices.
struct SWaveQuery {
    CWaveItem& item;
    CWaveObject* w;
    long long position;
    int progress;
    double rate;
};
using WaveStatusHandler = Text (*)(SWaveQuery& q);

// w[!SIGNAL]: the sections of a sequence, the file of a stream.
Text WaveSignalStatus(SWaveQuery& q) {
    if (auto* sequence = dynamic_cast<CSequenceWave*>(q.w))
        return IntText(static_cast<long long>(sequence->Sections().size()));
    if (auto* stream = dynamic_cast<CStreamWave*>(q.w)) return stream->File().Path();
    return {};
}

// The keys by index or as !name, in the order of their numbers.
constexpr SSubcommand<WaveStatusHandler> kWaveStatus[] = {
    {L"TYPE", [](SWaveQuery& q) -> Text { return q.w ? kTypeWords[q.w->Kind()] : L""; }},
    {L"BEGIN", [](SWaveQuery& q) { return IntText(q.w ? q.w->GetBegin() : 0); }},
    {L"LENGTH", [](SWaveQuery& q) { return IntText(q.w ? q.w->GetFrames() : 0); }},
    {L"CHANNELS", [](SWaveQuery& q) { return IntText(q.w ? q.w->GetChannels() : 0); }},
    {L"SRATE", [](SWaveQuery& q) { return Format(L"%lg", q.rate); }},
    {L"DEVICE", [](SWaveQuery& q) { return Format(L"%d %d", q.item.m_inDevice, q.item.m_outDevice); }},
    {L"POSITION", [](SWaveQuery& q) { return IntText(q.position); }},
    {L"PROGRESS", [](SWaveQuery& q) { return IntText(q.progress); }},
    {L"INDEVICES", [](SWaveQuery& q) { return DeviceListText(true, q.item.m_inDevice); }},
    {L"INSELECTED", [](SWaveQuery& q) { return IntText(q.item.m_inDevice); }},
    {L"OUTDEVICES", [](SWaveQuery& q) { return DeviceListText(false, q.item.m_outDevice); }},
    {L"OUTSELECTED", [](SWaveQuery& q) { return IntText(q.item.m_outDevice); }},
    {L"INCAPS", [](SWaveQuery& q) { return DeviceCapsText(true, q.item.m_inDevice); }},
    {L"OUTCAPS", [](SWaveQuery& q) { return DeviceCapsText(false, q.item.m_outDevice); }},
    {L"SIGNAL", WaveSignalStatus},
    {L"PLAYGAIN", [](SWaveQuery& q) { return Format(L"%lg", double(q.item.m_gain)); }},
    {L"PLAYSRATE", [](SWaveQuery& q) { return Format(L"%lg", q.rate); }},
};
const CSubcommandTable<WaveStatusHandler> g_waveStatus(L"WAVE STATUS", kWaveStatus);

} // namespace

int CWaveKind::Status(CShell&, void* object, const std::vector<Text>& args, Text& out) {
    auto& item = *static_cast<CWaveItem*>(AsItem(object));
    CWaveObject* w = item.Wave();
    out.clear();
    const bool record = item.m_lastRecord;
    CAudioEngine& engine = CAudioEngine::Of(record);
    const bool running = engine.RunningFor(&item);
    const long long position = item.m_everStarted ? engine.Position() : 0;
    const long long length = item.m_everStarted ? engine.Length() : 0;
    const int progress = length > 0 ? static_cast<int>(100 * position / length) : 0;
    const double rate = w ? w->GetRate() : 0;
    if (args.empty() || args[0].empty()) {
        if (!w || !w->IsValid() || w->GetFrames() <= 0) {
            out = L"no signal assigned! ";
            return 0;
        }
        const double begin = double(w->GetBegin()) / rate, end = double(w->GetEnd()) / rate;
        out = Format(L"type=%s, %lgHz, %d channels, %lgs_%lgs (%lgs), ", kTypeWords[w->Kind()], rate,
                     w->GetChannels(), begin, end, end - begin);
        out += Format(L"%s, %s position=%lgs (%d%%)", record ? L"Record" : L"Play",
                      running ? L"running" : L"stopped", double(position) / rate, progress);
        return 0;
    }
    TextView key = args[0];
    if (!key.empty() && key[0] == L'!') key.remove_prefix(1);
    const auto* row = g_waveStatus.Find(key, true);
    if (!row) return RC_BAD_ARG2;
    SWaveQuery query{item, w, position, progress, rate};
    out = row->handler(query);
    return 0;
}

void RegisterWaveKind() {
    static CWaveKind kind;
    CItemKindRegistry::Register(&kind);
    RegisterWaveCommands();
}
