#include "signal/wave_item.h"

#include "base/keyword_table.h"
#include "expr/numeric_args.h"
#include "items/value_item.h"
#include "shell/message_codes.h"
#include "shell/options.h"
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

constexpr int kNoSoundFile = 108;
constexpr int kRangeOutside = 172;
constexpr int kNoMaster = 207, kSlaveBegin = 208, kSlaveEnd = 209, kSlaveRange = 210;
constexpr int kCannotDelete = 375, kCannotDeleteSilent = 376;
constexpr long long kEndless = 0x7FFFFFFF;

constexpr const wchar_t* kStatusKeys[] = {
    L"TYPE",     L"BEGIN",    L"LENGTH",    L"CHANNELS",   L"SRATE",      L"DEVICE",
    L"POSITION", L"PROGRESS", L"INDEVICES", L"INSELECTED", L"OUTDEVICES", L"OUTSELECTED",
    L"INCAPS",   L"OUTCAPS",  L"SIGNAL",    L"PLAYGAIN",   L"PLAYSRATE",  nullptr};
const CKeywordTable kStatusTable(kStatusKeys);
constexpr const wchar_t* kTypeWords[] = {L"?", L"Stream", L"Sequence", L"ADC", L"DAC"};

// The code of a bad argument by its position after the item's name: 65 for the first.
int ArgumentCode(size_t index) {
    return index < 2 ? static_cast<int>(65 + index) : 4;
}

SSegmentContext WaveContext(double rate, long long length) {
    SSegmentContext context;
    context.rate = rate;
    context.length = length;
    return context;
}

int CreateStream(CShell& shell, CWords& args, CWaveObject*& out) {
    CSoundFile* file = CurrentSoundFile(shell);
    if (!file) return kNoSoundFile;
    if (args.empty()) return 2;
    SSegmentContext context = WaveContext(file->Rate(), file->Frames());
    context.lookup = [file](TextView name, long long& b, long long& e) {
        return LookupFileSegment(*file, name, b, e);
    };
    long long begin = 0, end = 0;
    if (const int code = ParseSegmentRange(args[0].text, context, begin, end); code != 0) return code;
    if (begin >= end || (end > file->Frames() && !file->Writable())) return kRangeOutside;
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
    if (!master || !master->Wave() || !master->Wave()->IsValid()) return kNoMaster;
    CWaveObject& m = *master->Wave();
    const SSegmentContext context = WaveContext(m.GetRate(), m.GetFrames());
    // Without /R the addresses are frames of what is below the master (a stream's
    // file); with /R they count from the master's own begin.
    const long long base = relative ? 0 : m.GetBegin();
    long long first = 0, end = m.GetFrames(), unused = 0;
    if (args.size() > 1) {
        if (!ParseAddress(args[1].text, context, first, unused)) return kSlaveBegin;
        first -= base;
    }
    if (args.size() > 2) {
        if (!ParseAddress(args[2].text, context, end, unused)) return kSlaveEnd;
        end -= base;
    }
    if (first < 0 || first > m.GetFrames()) return kSlaveBegin;
    if (end < 0 || end > m.GetFrames()) return kSlaveEnd;
    if (first >= end) return kSlaveRange;
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
            return 4;
    }
    // Device buffers live in memory: an endless one cannot.
    if (length >= kEndless) return 157;
    if (args.size() > 3 && !EvalInteger(args[3].text, blocks)) return 4;
    if (blocks < 2) blocks = 4;
    if (args.size() > 4 && !EvalInteger(args[4].text, block)) return 4;
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
    return item->Busy() ? (silent ? kCannotDeleteSilent : kCannotDelete) : 0;
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
    const int index = kStatusTable.Find(key, true);
    switch (index) {
    case 0:
        out = w ? kTypeWords[w->Kind()] : L"";
        break;
    case 1:
        out = IntText(w ? w->GetBegin() : 0);
        break;
    case 2:
        out = IntText(w ? w->GetFrames() : 0);
        break;
    case 3:
        out = IntText(w ? w->GetChannels() : 0);
        break;
    case 4:
        out = Format(L"%lg", rate);
        break;
    case 5:
        out = Format(L"%d %d", item.m_inDevice, item.m_outDevice);
        break;
    case 6:
        out = IntText(position);
        break;
    case 7:
        out = IntText(progress);
        break;
    case 8:
        out = DeviceListText(true, item.m_inDevice);
        break;
    case 9:
        out = IntText(item.m_inDevice);
        break;
    case 10:
        out = DeviceListText(false, item.m_outDevice);
        break;
    case 11:
        out = IntText(item.m_outDevice);
        break;
    case 12:
        out = DeviceCapsText(true, item.m_inDevice);
        break;
    case 13:
        out = DeviceCapsText(false, item.m_outDevice);
        break;
    case 14: {
        auto* sequence = dynamic_cast<CSequenceWave*>(w);
        auto* stream = dynamic_cast<CStreamWave*>(w);
        if (sequence)
            out = IntText(static_cast<long long>(sequence->Sections().size()));
        else if (stream)
            out = stream->File().Path();
        break;
    }
    case 15:
        out = Format(L"%lg", double(item.m_gain));
        break;
    case 16:
        out = Format(L"%lg", rate);
        break;
    default:
        return 65;
    }
    return 0;
}

void RegisterWaveKind() {
    static CWaveKind kind;
    CItemKindRegistry::Register(&kind);
}
