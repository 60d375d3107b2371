// SET <wave> ...: the commands of a WAVE item.
//
// Help text of the generator (argument lists of SIGNAL and the transformations):
//
//   SET w SIGNAL <time> <reference> <channel> <shape> <arguments...> [/M] [/N] [/R]
//     <time>       where the section starts: a segment address ("0", "250ms", "1s").
//     <reference>  Absolute, Begin, End or *: counted from 0, from the previous
//                  section's begin, or from its end (* is End).
//     <channel>    0 for all channels, else 1 .. channels.
//     /M mixes the section into what is there, /N scales it to a peak of 1.0,
//     /R reverses it. Durations are addresses; amplitudes are full scale 1.0.
//     Shapes and their arguments:
//       Pause     <duration>
//       Value     <duration> <value>
//       Tone      <duration> <frequency> [<amplitude> [<phase in degrees>]]
//       Rectangle <duration> <frequency> [<amplitude> [<duty 0..1> [<phase>]]]
//       Triangle  <duration> <frequency> [<amplitude> [<symmetry 0..1> [<phase>]]]
//       Noise     <duration> [<amplitude> [uniform|normal [<seed>]]]
//       Segment   <range> [<channel>]           of the current sound file
//       Wave      <wave item> [<range> [<channel>]]
//       Table     <item> [<column>]             a table or number object, column from 0
//       LPSyn     <duration> <pulse frequency, 0 for noise> <gain> <a1> [<a2> ...]
//                 all-pole synthesis 1 / (1 + a1 z^-1 + a2 z^-2 ...)
//   SET w ENVELOPE <time> <gain> [<time> <gain> ...]   /L linear (default), /C constant
//                  steps, /E exponential; times are addresses within the section.
//   SET w FILTER <frequency> [<Q>]    second order; default low pass, /C high pass
//                  (cuts the lows), /B band pass, /S band stop, /E keeps the energy.
//   SET w AMOD <frequency> <depth>    gain 1 + depth * m(t); /S sine (default),
//                  /R rectangle, /T triangle.
//   SET w AMOD <wave item>            gain from the wave's samples: /L linear
//                  (default), /D in decibels.
//   SET w FMOD <frequency> <deviation in Hz>   for Tone, Rectangle, Triangle, LPSyn:
//                  /S sine (default), /R rectangle, /T triangle, /W sawtooth.
//   SET w FMOD <wave item> [<scale>]   frequency plus the wave's samples times the
//                  scale: /H in Hz (default), /K in kHz, /C in cents.
//   SET w END [/E]    ends the sequence; /E renders it to memory once.
//
//   SET w COPY <wave item> [<frames>] [/R]   copies the other wave into this one.
//   SET w COPY <item> [<column>] /W          writes a table's, value's or number object's
//                  column (all columns with as many as channels) into the wave.
//   SET w COPY <value item>                  reads the wave into the value, frames by channels.
//   SET w PLAY|RECORD [<buffers> [<frames> [<begin> [<end> [<value item> [<gain>]]]]]]
//                  * skips an argument; /1 /2 /3 /4 PCM8..PCM32 on the device, /R reversed;
//                  the value item receives the frames played when the run ends.
//   SET w STOP
//   SET w DEVICE <out>|Auto|Silent; /I <in>|Auto|Silent; /A <in> <out>: device indices of
//                  INDEVICES and OUTDEVICES, Auto the default, Silent the built-in silent device.
#include <algorithm>
#include <cmath>
#include <memory>

#include "base/keyword_table.h"
#include "expr/numeric_args.h"
#include "items/value_item.h"
#include "numeric/matrix.h"
#include "shell/options.h"
#include "shell/shell.h"
#include "signal/audio_engine.h"
#include "signal/segment_address.h"
#include "signal/segment_tables.h"
#include "signal/sequence_wave.h"
#include "signal/sound_file.h"
#include "signal/sound_file_list.h"
#include "signal/stream_wave.h"
#include "signal/wave_item.h"

namespace {

constexpr const wchar_t* kCommands[] = {L"COPY",     L"PLAY",   L"RECORD", L"STOP", L"DEVICE", L"SIGNAL",
                                        L"ENVELOPE", L"FILTER", L"AMOD",   L"FMOD", L"END",    nullptr};
const CKeywordTable kCommandTable(kCommands);
enum {
    CMD_COPY,
    CMD_PLAY,
    CMD_RECORD,
    CMD_STOP,
    CMD_DEVICE,
    CMD_SIGNAL,
    CMD_ENVELOPE,
    CMD_FILTER,
    CMD_AMOD,
    CMD_FMOD,
    CMD_END
};

constexpr const wchar_t* kReferences[] = {L"ABSOLUTE", L"BEGIN", L"END", nullptr};
const CKeywordTable kReferenceTable(kReferences);
constexpr const wchar_t* kShapes[] = {L"Pause",   L"Value", L"Rectangle", L"Triangle", L"Noise", L"Tone",
                                      L"Segment", L"Wave",  L"Table",     L"LPSyn",    nullptr};
const CKeywordTable kShapeTable(kShapes);

constexpr int kSequenceSetup = 95;
constexpr int kNoSignalHere = 60, kNotValidHere = 61;
constexpr int kChannelMismatch = 7;
constexpr int kReadOnly = 167;
constexpr int kRangeOutside = 150;
constexpr int kNoSoundFile = 108;

using SfioPtr = std::unique_ptr<CSfio, CSfioCloser>;

bool Number(const Text& text, double& out) {
    return EvalNumber(text, out);
}

// Frames of an address with the wave's rate; `length` for percentages.
bool Frames(const Text& text, double rate, long long length, long long& out) {
    SSegmentContext context;
    context.rate = rate;
    context.length = length;
    long long unused = 0;
    return ParseAddress(text, context, out, unused);
}

// One channel of a wave object's frames first..end as floats.
bool ReadChannel(CWaveObject& wave, long long first, long long end, int channel, std::vector<float>& out) {
    int error = 0;
    SfioPtr sfio(wave.CreateSfio(SFIO_READ | CODING_FLOAT, error, 4096, first, end));
    if (!sfio || channel < 0 || channel >= sfio->Channels()) return false;
    out.clear();
    std::vector<float> one(4096);
    for (long long n; (n = sfio->Transfer()) > 0;) {
        sfio->ChannelIn(one.data(), channel, n);
        out.insert(out.end(), one.begin(), one.begin() + n);
    }
    return true;
}

int ShapeArguments(CShell& shell, CSequenceWave& sequence, int shape, CWords& args, size_t at, SSection& s) {
    const double rate = sequence.GetRate();
    auto numbers = [&](size_t from) {
        for (size_t i = from; i < args.size(); ++i) {
            double v = 0;
            if (!Number(args[i].text, v)) return false;
            s.args.push_back(v);
        }
        return true;
    };
    switch (shape) {
    case SHAPE_PAUSE:
    case SHAPE_VALUE:
    case SHAPE_RECTANGLE:
    case SHAPE_TRIANGLE:
    case SHAPE_TONE:
    case SHAPE_LPSYN: {
        if (args.size() <= at || !Frames(args[at].text, rate, -1, s.length) || s.length <= 0)
            return kSequenceSetup;
        if (!numbers(at + 1)) return kSequenceSetup;
        const size_t need = shape == SHAPE_PAUSE ? 0 : shape == SHAPE_LPSYN ? 2 : 1;
        return s.args.size() >= need ? 0 : kSequenceSetup;
    }
    case SHAPE_NOISE: {
        if (args.size() <= at || !Frames(args[at].text, rate, -1, s.length) || s.length <= 0)
            return kSequenceSetup;
        double amplitude = 1.0, normal = 0, seed = 1;
        if (args.size() > at + 1 && !Number(args[at + 1].text, amplitude)) return kSequenceSetup;
        if (args.size() > at + 2) {
            if (EqualNoCase(args[at + 2].text, L"normal"))
                normal = 1;
            else if (!EqualNoCase(args[at + 2].text, L"uniform"))
                return kSequenceSetup;
        }
        if (args.size() > at + 3 && !Number(args[at + 3].text, seed)) return kSequenceSetup;
        s.args = {amplitude, normal, seed};
        return 0;
    }
    case SHAPE_SEGMENT: {
        CSoundFile* file = CurrentSoundFile(shell);
        if (!file) return kNoSoundFile;
        if (args.size() <= at) return kSequenceSetup;
        SSegmentContext context;
        context.rate = file->Rate();
        context.length = file->Frames();
        context.lookup = [file](TextView name, long long& b, long long& e) {
            return LookupFileSegment(*file, name, b, e);
        };
        long long begin = 0, end = 0, channel = 1;
        if (ParseSegmentRange(args[at].text, context, begin, end) != 0 || end > file->Frames())
            return kSequenceSetup;
        if (args.size() > at + 1 && !EvalInteger(args[at + 1].text, channel)) return kSequenceSetup;
        CChannelSet all;
        all.SetAll();
        CStreamWave stream(*file, 0, file->Frames(), all);
        if (begin >= end || !ReadChannel(stream, begin, end, static_cast<int>(channel - 1), s.source))
            return kSequenceSetup;
        break;
    }
    case SHAPE_WAVE: {
        CWaveItem* other = args.size() > at ? FindWaveItem(shell, args[at].text) : nullptr;
        if (!other || !other->Wave() || other->Wave() == &sequence) return kSequenceSetup;
        CWaveObject& w = *other->Wave();
        long long begin = 0, end = w.GetFrames(), channel = 1;
        if (args.size() > at + 1) {
            SSegmentContext context;
            context.rate = w.GetRate();
            context.length = w.GetFrames();
            if (ParseSegmentRange(args[at + 1].text, context, begin, end) != 0 || end > w.GetFrames())
                return kSequenceSetup;
        }
        if (args.size() > at + 2 && !EvalInteger(args[at + 2].text, channel)) return kSequenceSetup;
        if (begin >= end || !ReadChannel(w, begin, end, static_cast<int>(channel - 1), s.source))
            return kSequenceSetup;
        break;
    }
    case SHAPE_TABLE: {
        CShell::ItemEntry* e = args.size() > at ? shell.FindItem(args[at].text) : nullptr;
        CItemKind* kind = e ? CItemKindRegistry::Find(ItemKindOf(e->user)) : nullptr;
        Matrix m;
        if (!kind || !kind->ToMatrix(e->value, L"", m) || m.IsEmpty()) return kSequenceSetup;
        long long column = 0;
        if (args.size() > at + 1 && !EvalInteger(args[at + 1].text, column)) return kSequenceSetup;
        if (column < 0 || column >= m.Cols()) return kSequenceSetup;
        for (int r = 0; r < m.Rows(); ++r)
            s.source.push_back(static_cast<float>(m(r, static_cast<int>(column))));
        break;
    }
    default:
        return kSequenceSetup;
    }
    s.length = static_cast<long long>(s.source.size());
    return s.length > 0 ? 0 : kSequenceSetup;
}

int SignalCommand(CShell& shell, CWaveItem& item, CWords& args, COptions& options) {
    auto* sequence = dynamic_cast<CSequenceWave*>(item.Wave());
    if (!sequence) return kNoSignalHere;
    if (args.size() < 5) return 2;
    SSection s;
    long long time = 0;
    if (!Frames(args[1].text, sequence->GetRate(), sequence->GetFrames(), time)) return kSequenceSetup;
    int reference = 2;
    if (args[2].text != L"*") {
        reference = kReferenceTable.Find(args[2].text, true);
        if (reference < 0) return kSequenceSetup;
    }
    const SSection* previous = sequence->LastSection();
    const long long base = !previous        ? 0
                           : reference == 1 ? previous->begin
                           : reference == 2 ? previous->begin + previous->length
                                            : 0;
    s.begin = base + time;
    long long channel = 0;
    if (!EvalInteger(args[3].text, channel) || channel < 0 || channel > sequence->GetChannels())
        return kSequenceSetup;
    s.channel = static_cast<int>(channel);
    const int shape = kShapeTable.Find(args[4].text, true);
    if (shape < 0 || s.begin < 0) return kSequenceSetup;
    s.shape = shape;
    s.mix = HasOption(options, L"Mm");
    s.normalize = HasOption(options, L"Nn");
    s.reverse = HasOption(options, L"Rr");
    if (const int code = ShapeArguments(shell, *sequence, shape, args, 5, s); code != 0) return code;
    sequence->AddSection(std::move(s));
    return 0;
}

int TransformCommand(CShell& shell, CWaveItem& item, int command, CWords& args, COptions& options) {
    auto* sequence = dynamic_cast<CSequenceWave*>(item.Wave());
    if (!sequence) return kNoSignalHere;
    SSection* s = sequence->LastSection();
    if (!s) return kSequenceSetup;
    if (args.size() < 2) return 2;
    STransform t;
    const double rate = sequence->GetRate();
    CWaveItem* source = FindWaveItem(shell, args[1].text);
    switch (command) {
    case CMD_ENVELOPE: {
        t.type = TRANSFORM_ENVELOPE;
        t.mode = std::max(0, OptionMode(options, L"LlCcEe"));
        if (args.size() % 2 != 1) return kSequenceSetup;
        for (size_t i = 1; i + 1 < args.size(); i += 2) {
            long long frame = 0;
            double gain = 0;
            if (!Frames(args[i].text, rate, s->length, frame) || !Number(args[i + 1].text, gain))
                return kSequenceSetup;
            if (!t.args.empty() && frame < t.args[t.args.size() - 2]) return kSequenceSetup;
            t.args.push_back(double(frame));
            t.args.push_back(gain);
        }
        break;
    }
    case CMD_FILTER: {
        t.type = TRANSFORM_FILTER;
        t.mode = HasOption(options, L"Cc")   ? 1
                 : HasOption(options, L"Bb") ? 2
                 : HasOption(options, L"Ss") ? 3
                                             : 0;
        double f = 0, q = 0.7071067811865476;
        if (!Number(args[1].text, f) || !(f > 0 && f < rate / 2)) return kSequenceSetup;
        if (args.size() > 2 && (!Number(args[2].text, q) || q <= 0)) return kSequenceSetup;
        t.args = {f, q, HasOption(options, L"Ee") ? 1.0 : 0.0};
        break;
    }
    case CMD_AMOD:
    case CMD_FMOD: {
        t.type = command == CMD_AMOD ? TRANSFORM_AMOD : TRANSFORM_FMOD;
        if (source) {
            t.mode = MOD_SAMPLES;
            CWaveObject* w = source->Wave();
            if (!w || w == sequence || !ReadChannel(*w, -1, -1, 0, t.samples)) return kSequenceSetup;
            if (command == CMD_AMOD) {
                t.args = {HasOption(options, L"Dd") ? 1.0 : 0.0};
            } else {
                double scale = 1.0;
                if (args.size() > 2 && !Number(args[2].text, scale)) return kSequenceSetup;
                if (HasOption(options, L"Kk")) scale *= 1000.0;
                t.args = {scale, HasOption(options, L"Cc") ? 1.0 : 0.0};
            }
        } else {
            t.mode = HasOption(options, L"Rr")                            ? MOD_RECTANGLE
                     : HasOption(options, L"Tt")                          ? MOD_TRIANGLE
                     : (command == CMD_FMOD && HasOption(options, L"Ww")) ? MOD_SAWTOOTH
                                                                          : MOD_SINE;
            double f = 0, depth = 0;
            if (args.size() < 3 || !Number(args[1].text, f) || !Number(args[2].text, depth) || f < 0)
                return kSequenceSetup;
            t.args = {f, depth};
        }
        if (command == CMD_FMOD && s->shape != SHAPE_TONE && s->shape != SHAPE_RECTANGLE &&
            s->shape != SHAPE_TRIANGLE && s->shape != SHAPE_LPSYN)
            return kSequenceSetup;
        break;
    }
    default:
        return kSequenceSetup;
    }
    s->transforms.push_back(std::move(t));
    sequence->Invalidate();
    return 0;
}

int CopyIntoValue(CWaveObject& wave, CShellValue& value) {
    const int channels = wave.GetChannels();
    const long long frames = wave.GetFrames();
    if (frames <= 0 || frames > 0x7FFFFFFF) return 61;
    int error = 0;
    SfioPtr reader(wave.CreateSfio(SFIO_READ | CODING_FLOAT, error, frames));
    if (!reader) return error == 1 ? 62 : error;
    if (reader->Transfer() != frames) return 62;
    const auto* samples = static_cast<const float*>(reader->Buffer());
    Matrix m(static_cast<int>(frames), channels);
    for (long long f = 0; f < frames; ++f)
        for (int c = 0; c < channels; ++c) m(static_cast<int>(f), c) = samples[f * channels + c];
    std::lock_guard hold(value.m_lock);
    value.m_type = CShellValue::DATA_NUMBER;
    value.m_value = std::move(m);
    return 0;
}

int CopyCommand(CShell& shell, CWaveItem& item, CWords& args, COptions& options) {
    CWaveObject* target = item.Wave();
    if (args.size() < 2) return 2;
    if (CWaveItem* other = FindWaveItem(shell, args[1].text)) {
        CWaveObject* source = other->Wave();
        if (!source || !source->IsValid()) return 61;
        if (source->GetChannels() != target->GetChannels()) return kChannelMismatch;
        long long frames = 10000;
        if (args.size() > 2 && !EvalInteger(args[2].text, frames)) return 66;
        frames = std::max(2LL, frames);
        int error = 0;
        SfioPtr writer(target->CreateSfio(SFIO_READWRITE | CODING_FLOAT, error, 0));
        if (!writer) return error == SFIO_ERR_NOFILE ? kReadOnly : error;
        SfioPtr reader(source->CreateSfio(
            SFIO_READ | CODING_FLOAT | (HasOption(options, L"Rr") ? SFIO_REVERSED : 0), error, frames));
        if (!reader) return error;
        const long long total = std::min(reader->Length(), writer->Length());
        std::vector<float> block(static_cast<size_t>(frames * target->GetChannels()));
        for (long long done = 0; done < total;) {
            reader->SetBuffer(std::min(frames, total - done), block.data());
            const long long n = reader->Transfer();
            if (n <= 0) break;
            writer->SetBuffer(n, reader->Buffer());
            if (writer->Transfer() != n) return 62;
            done += n;
        }
        return 0;
    }
    // A table, value or number object: every kind that has numbers goes into the wave;
    // the wave goes into a value (frames by channels). Tables take it once they exist.
    CShell::ItemEntry* e = shell.FindItem(args[1].text);
    if (!e) return 60;
    if (!HasOption(options, L"Ww")) {
        if (ItemKindOf(e->user) != KIND_VALUE) return 157;
        return CopyIntoValue(*target, *static_cast<CShellValue*>(e->value));
    }
    CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user));
    Matrix m;
    if (!kind || !kind->ToMatrix(e->value, L"", m) || m.IsEmpty()) return 61;
    const int channels = target->GetChannels();
    long long column = -1;
    if (args.size() > 2 && (!EvalInteger(args[2].text, column) || column < 0 || column >= m.Cols()))
        return 66;
    if (column < 0 && m.Cols() != channels) return 165;
    int error = 0;
    const long long rows = std::min<long long>(m.Rows(), target->GetFrames());
    SfioPtr writer(target->CreateSfio(SFIO_READWRITE | CODING_FLOAT, error, rows, 0, rows));
    if (!writer) return error == SFIO_ERR_NOFILE ? kReadOnly : error == 1 ? 62 : error;
    auto* frames = static_cast<float*>(writer->Buffer());
    for (long long r = 0; r < rows; ++r)
        for (int c = 0; c < channels; ++c)
            frames[r * channels + c] =
                static_cast<float>(m(static_cast<int>(r), column < 0 ? c : static_cast<int>(column)));
    return writer->Transfer() == rows ? 0 : 62;
}

int AudioCommand(CShell& shell, CWaveItem& item, bool record, CWords& args, COptions& options) {
    CWaveObject* w = item.Wave();
    if (!w || !w->IsValid()) return 4;
    SAudioRequest r;
    r.record = record;
    r.wave = w;
    r.device = record ? item.m_inDevice : item.m_outDevice;
    const int width = OptionMode(options, L"11223344");
    r.coding = width == 0   ? CODING_PCM8
               : width == 2 ? CODING_PCM24
               : width == 3 ? CODING_PCM32
                            : CODING_PCM16;
    r.reversed = HasOption(options, L"Rr");
    const double rate = w->GetRate();
    const long long length = w->GetFrames();
    long long blocks = item.m_blocks, block = item.m_blockFrames;
    r.begin = 0;
    r.end = length;
    auto given = [&](size_t i) { return args.size() > i && args[i].text != L"*"; };
    if (given(1) && !EvalInteger(args[1].text, blocks)) return 64;
    if (given(2) && !EvalInteger(args[2].text, block)) return 65;
    if (given(3) && !Frames(args[3].text, rate, length, r.begin)) return kRangeOutside;
    if (given(4) && !Frames(args[4].text, rate, length, r.end)) return kRangeOutside;
    if (r.end < r.begin) std::swap(r.begin, r.end);
    if (r.begin < 0 || r.end > length || r.begin == r.end) return kRangeOutside;
    Text valueItem;
    if (given(5)) {
        if (!shell.FindItem(args[5].text, KIND_VALUE)) return 4;
        valueItem = args[5].text;
    }
    if (given(6)) {
        double gain = 1.0;
        if (!Number(args[6].text, gain)) return 4;
        item.m_gain = static_cast<float>(gain);
    }
    r.gain = item.m_gain;
    r.blocks = static_cast<int>(std::max(2LL, blocks));
    r.blockFrames = block >= 128 ? block : std::max(128LL, static_cast<long long>(rate / 4));
    r.env = &shell.Env();
    r.shellId = shell.IdText();
    r.source = static_cast<CShellItem*>(&item);
    item.m_lastRecord = record;
    const int code = CAudioEngine::Of(record).Start(r);
    if (code == 0) {
        item.m_everStarted = true;
        item.m_valueItem = valueItem;
    }
    return code;
}

int DeviceCommand(CWaveItem& item, CWords& args, COptions& options) {
    auto pick = [](const Text& word, bool input, int& selected) {
        if (EqualNoCase(word, L"Auto")) {
            selected = 0;
            return;
        }
        if (EqualNoCase(word, L"Silent")) {
            selected = static_cast<int>(AudioDevices(input).size()) - 1;
            return;
        }
        long long n = 0;
        // A bad index keeps the selected device.
        if (EvalInteger(word, n) && n >= 0 && n < static_cast<long long>(AudioDevices(input).size()))
            selected = static_cast<int>(n);
    };
    if (args.size() < 2) return 2;
    if (HasOption(options, L"Aa")) {
        pick(args[1].text, true, item.m_inDevice);
        if (args.size() > 2) pick(args[2].text, false, item.m_outDevice);
    } else if (HasOption(options, L"Ii")) {
        pick(args[1].text, true, item.m_inDevice);
    } else {
        pick(args[1].text, false, item.m_outDevice);
    }
    return 0;
}

} // namespace

int WaveSet(CShell& shell, CWaveItem& item, CWords& args, COptions& options, Text& result) {
    if (args.empty()) return 2;
    const int command = kCommandTable.Find(args[0].text, true);
    switch (command) {
    case CMD_COPY:
        return CopyCommand(shell, item, args, options);
    case CMD_PLAY:
        return AudioCommand(shell, item, false, args, options);
    case CMD_RECORD:
        return AudioCommand(shell, item, true, args, options);
    case CMD_STOP:
        CAudioEngine::Of(false).Stop(static_cast<CShellItem*>(&item));
        CAudioEngine::Of(true).Stop(static_cast<CShellItem*>(&item));
        return 0;
    case CMD_DEVICE:
        return DeviceCommand(item, args, options);
    case CMD_SIGNAL:
        return SignalCommand(shell, item, args, options);
    case CMD_ENVELOPE:
    case CMD_FILTER:
    case CMD_AMOD:
    case CMD_FMOD:
        return TransformCommand(shell, item, command, args, options);
    case CMD_END: {
        auto* sequence = dynamic_cast<CSequenceWave*>(item.Wave());
        if (!sequence) return kNoSignalHere;
        if (HasOption(options, L"Ee")) sequence->Render();
        result.clear();
        return 0;
    }
    default:
        return 65;
    }
}
