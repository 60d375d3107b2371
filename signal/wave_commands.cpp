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
#include "shell/rc_codes.h"
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

using SWaveSet = SSetCall<CWaveItem>;

constexpr const wchar_t* kReferences[] = {L"ABSOLUTE", L"BEGIN", L"END", nullptr};
const CKeywordTable kReferenceTable(kReferences);

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

// --- The shapes of SET w SIGNAL: each reads its arguments into a section -----------------

struct SShapeCall {
    CShell& shell;
    CSequenceWave& sequence;
    CWords& args; // the words behind the shape's name
    SSection& s;
    bool Has(size_t i) const { return args.size() > i; }
    const Text& Word(size_t i) const { return args[i].text; }
};

// Numbers from `from` on into the section's arguments.
bool ShapeNumbers(SShapeCall& c, size_t from) {
    for (size_t i = from; i < c.args.size(); ++i) {
        double v = 0;
        if (!Number(c.Word(i), v)) return false;
        c.s.args.push_back(v);
    }
    return true;
}

// <duration> and at least `need` numbers behind it.
int ShapeDuration(SShapeCall& c, size_t need) {
    if (!c.Has(0) || !Frames(c.Word(0), c.sequence.GetRate(), -1, c.s.length) || c.s.length <= 0)
        return RC_CANNOT_SETUP_SEQUENCE;
    if (!ShapeNumbers(c, 1)) return RC_CANNOT_SETUP_SEQUENCE;
    return c.s.args.size() >= need ? 0 : RC_CANNOT_SETUP_SEQUENCE;
}

// The samples of a source shape make the section as long as they are.
int ShapeSamples(SShapeCall& c) {
    c.s.length = static_cast<long long>(c.s.source.size());
    return c.s.length > 0 ? 0 : RC_CANNOT_SETUP_SEQUENCE;
}

int ShapePause(SShapeCall& c) {
    return ShapeDuration(c, 0);
}
int ShapeOneNumber(SShapeCall& c) {
    return ShapeDuration(c, 1);
}
int ShapeLpSyn(SShapeCall& c) {
    return ShapeDuration(c, 2);
}

// Noise <duration> [<amplitude> [uniform|normal [<seed>]]]
int ShapeNoise(SShapeCall& c) {
    if (!c.Has(0) || !Frames(c.Word(0), c.sequence.GetRate(), -1, c.s.length) || c.s.length <= 0)
        return RC_CANNOT_SETUP_SEQUENCE;
    double amplitude = 1.0, normal = 0, seed = 1;
    if (c.Has(1) && !Number(c.Word(1), amplitude)) return RC_CANNOT_SETUP_SEQUENCE;
    if (c.Has(2)) {
        if (EqualNoCase(c.Word(2), L"normal"))
            normal = 1;
        else if (!EqualNoCase(c.Word(2), L"uniform"))
            return RC_CANNOT_SETUP_SEQUENCE;
    }
    if (c.Has(3) && !Number(c.Word(3), seed)) return RC_CANNOT_SETUP_SEQUENCE;
    c.s.args = {amplitude, normal, seed};
    return 0;
}

// Segment <range> [<channel>] of the current sound file.
int ShapeSegment(SShapeCall& c) {
    CSoundFile* file = CurrentSoundFile(c.shell);
    if (!file) return RC_NO_SOUNDFILE;
    if (!c.Has(0)) return RC_CANNOT_SETUP_SEQUENCE;
    SSegmentContext context;
    context.rate = file->Rate();
    context.length = file->Frames();
    context.lookup = [file](TextView name, long long& b, long long& e) {
        return LookupFileSegment(*file, name, b, e);
    };
    long long begin = 0, end = 0, channel = 1;
    if (ParseSegmentRange(c.Word(0), context, begin, end) != 0 || end > file->Frames())
        return RC_CANNOT_SETUP_SEQUENCE;
    if (c.Has(1) && !EvalInteger(c.Word(1), channel)) return RC_CANNOT_SETUP_SEQUENCE;
    CChannelSet all;
    all.SetAll();
    CStreamWave stream(*file, 0, file->Frames(), all);
    if (begin >= end || !ReadChannel(stream, begin, end, static_cast<int>(channel - 1), c.s.source))
        return RC_CANNOT_SETUP_SEQUENCE;
    return ShapeSamples(c);
}

// Wave <wave item> [<range> [<channel>]]
int ShapeWave(SShapeCall& c) {
    CWaveItem* other = c.Has(0) ? FindWaveItem(c.shell, c.Word(0)) : nullptr;
    if (!other || !other->Wave() || other->Wave() == &c.sequence) return RC_CANNOT_SETUP_SEQUENCE;
    CWaveObject& w = *other->Wave();
    long long begin = 0, end = w.GetFrames(), channel = 1;
    if (c.Has(1)) {
        SSegmentContext context;
        context.rate = w.GetRate();
        context.length = w.GetFrames();
        if (ParseSegmentRange(c.Word(1), context, begin, end) != 0 || end > w.GetFrames())
            return RC_CANNOT_SETUP_SEQUENCE;
    }
    if (c.Has(2) && !EvalInteger(c.Word(2), channel)) return RC_CANNOT_SETUP_SEQUENCE;
    if (begin >= end || !ReadChannel(w, begin, end, static_cast<int>(channel - 1), c.s.source))
        return RC_CANNOT_SETUP_SEQUENCE;
    return ShapeSamples(c);
}

// Table <item> [<column>]: a table or number object, column from 0.
int ShapeTable(SShapeCall& c) {
    CShell::ItemEntry* e = c.Has(0) ? c.shell.FindItem(c.Word(0)) : nullptr;
    CItemKind* kind = e ? CItemKindRegistry::Find(ItemKindOf(e->user)) : nullptr;
    Matrix m;
    if (!kind || !kind->ToMatrix(e->value, L"", m) || m.IsEmpty()) return RC_CANNOT_SETUP_SEQUENCE;
    long long column = 0;
    if (c.Has(1) && !EvalInteger(c.Word(1), column)) return RC_CANNOT_SETUP_SEQUENCE;
    if (column < 0 || column >= m.Cols()) return RC_CANNOT_SETUP_SEQUENCE;
    for (int r = 0; r < m.Rows(); ++r)
        c.s.source.push_back(static_cast<float>(m(r, static_cast<int>(column))));
    return ShapeSamples(c);
}

// A shape's place is its number in the sequence (SHAPE_...).
using ShapeHandler = int (*)(SShapeCall&);
constexpr SSubcommand<ShapeHandler> kShapes[] = {
    {L"Pause", ShapePause},        {L"Value", ShapeOneNumber}, {L"Rectangle", ShapeOneNumber},
    {L"Triangle", ShapeOneNumber}, {L"Noise", ShapeNoise},     {L"Tone", ShapeOneNumber},
    {L"Segment", ShapeSegment},    {L"Wave", ShapeWave},       {L"Table", ShapeTable},
    {L"LPSyn", ShapeLpSyn},
};
const CSubcommandTable<ShapeHandler> g_shapes(L"WAVE SIGNAL", kShapes);
static_assert(SHAPE_LPSYN == 9 && SHAPE_TONE == 5 && SHAPE_NOISE == 4);

// --- The keywords of SET w, each with the words behind the keyword ------------------------

// SIGNAL <time> <reference> <channel> <shape> <arguments...>
int WaveSignal(SWaveSet& c) {
    auto* sequence = dynamic_cast<CSequenceWave*>(c.item.Wave());
    if (!sequence) return RC_NO_SUCH_OUTPUT;
    CWords& args = c.args;
    if (args.size() < 4) return RC_TOO_FEW_ARGUMENTS;
    SSection s;
    long long time = 0;
    if (!Frames(args[0].text, sequence->GetRate(), sequence->GetFrames(), time))
        return RC_CANNOT_SETUP_SEQUENCE;
    int reference = 2;
    if (args[1].text != L"*") {
        reference = kReferenceTable.Find(args[1].text, true);
        if (reference < 0) return RC_CANNOT_SETUP_SEQUENCE;
    }
    const SSection* previous = sequence->LastSection();
    const long long base = !previous        ? 0
                           : reference == 1 ? previous->begin
                           : reference == 2 ? previous->begin + previous->length
                                            : 0;
    s.begin = base + time;
    long long channel = 0;
    if (!EvalInteger(args[2].text, channel) || channel < 0 || channel > sequence->GetChannels())
        return RC_CANNOT_SETUP_SEQUENCE;
    s.channel = static_cast<int>(channel);
    const auto* shape = g_shapes.Find(args[3].text, true);
    if (!shape || s.begin < 0) return RC_CANNOT_SETUP_SEQUENCE;
    s.shape = static_cast<int>(g_shapes.IndexOf(*shape));
    s.mix = HasOption(c.options, L"Mm");
    s.normalize = HasOption(c.options, L"Nn");
    s.reverse = HasOption(c.options, L"Rr");
    CWords rest(args.begin() + 4, args.end());
    SShapeCall call{c.shell, *sequence, rest, s};
    if (const int code = shape->handler(call); code != 0) return code;
    sequence->AddSection(std::move(s));
    return 0;
}

// The transformations act on the last section of a sequence: `add` fills in the
// transformation from the words, then it joins the section.
int Transform(SWaveSet& c, int (*add)(SWaveSet&, CSequenceWave&, SSection&, STransform&)) {
    auto* sequence = dynamic_cast<CSequenceWave*>(c.item.Wave());
    if (!sequence) return RC_NO_SUCH_OUTPUT;
    SSection* s = sequence->LastSection();
    if (!s) return RC_CANNOT_SETUP_SEQUENCE;
    if (c.args.empty()) return RC_TOO_FEW_ARGUMENTS;
    STransform t;
    if (const int code = add(c, *sequence, *s, t)) return code;
    s->transforms.push_back(std::move(t));
    sequence->Invalidate();
    return 0;
}

// ENVELOPE <time> <gain> [<time> <gain> ...]
int AddEnvelope(SWaveSet& c, CSequenceWave& sequence, SSection& s, STransform& t) {
    t.type = TRANSFORM_ENVELOPE;
    t.mode = std::max(0, OptionMode(c.options, L"LlCcEe"));
    if (c.args.size() % 2 != 0) return RC_CANNOT_SETUP_SEQUENCE;
    for (size_t i = 0; i + 1 < c.args.size(); i += 2) {
        long long frame = 0;
        double gain = 0;
        if (!Frames(c.args[i].text, sequence.GetRate(), s.length, frame) || !Number(c.args[i + 1].text, gain))
            return RC_CANNOT_SETUP_SEQUENCE;
        if (!t.args.empty() && frame < t.args[t.args.size() - 2]) return RC_CANNOT_SETUP_SEQUENCE;
        t.args.push_back(double(frame));
        t.args.push_back(gain);
    }
    return 0;
}

// FILTER <frequency> [<Q>]
int AddFilter(SWaveSet& c, CSequenceWave& sequence, SSection&, STransform& t) {
    t.type = TRANSFORM_FILTER;
    t.mode = HasOption(c.options, L"Cc")   ? 1
             : HasOption(c.options, L"Bb") ? 2
             : HasOption(c.options, L"Ss") ? 3
                                           : 0;
    double f = 0, q = 0.7071067811865476;
    if (!Number(c.args[0].text, f) || !(f > 0 && f < sequence.GetRate() / 2)) return RC_CANNOT_SETUP_SEQUENCE;
    if (c.args.size() > 1 && (!Number(c.args[1].text, q) || q <= 0)) return RC_CANNOT_SETUP_SEQUENCE;
    t.args = {f, q, HasOption(c.options, L"Ee") ? 1.0 : 0.0};
    return 0;
}

// AMOD and FMOD: by a wave item's samples, or by a periodic shape of frequency and depth.
int AddModulation(SWaveSet& c, CSequenceWave& sequence, STransform& t, bool frequency) {
    t.type = frequency ? TRANSFORM_FMOD : TRANSFORM_AMOD;
    if (CWaveItem* source = FindWaveItem(c.shell, c.args[0].text)) {
        t.mode = MOD_SAMPLES;
        CWaveObject* w = source->Wave();
        if (!w || w == &sequence || !ReadChannel(*w, -1, -1, 0, t.samples)) return RC_CANNOT_SETUP_SEQUENCE;
        if (!frequency) {
            t.args = {HasOption(c.options, L"Dd") ? 1.0 : 0.0};
            return 0;
        }
        double scale = 1.0;
        if (c.args.size() > 1 && !Number(c.args[1].text, scale)) return RC_CANNOT_SETUP_SEQUENCE;
        if (HasOption(c.options, L"Kk")) scale *= 1000.0;
        t.args = {scale, HasOption(c.options, L"Cc") ? 1.0 : 0.0};
        return 0;
    }
    t.mode = HasOption(c.options, L"Rr")                  ? MOD_RECTANGLE
             : HasOption(c.options, L"Tt")                ? MOD_TRIANGLE
             : (frequency && HasOption(c.options, L"Ww")) ? MOD_SAWTOOTH
                                                          : MOD_SINE;
    double f = 0, depth = 0;
    if (c.args.size() < 2 || !Number(c.args[0].text, f) || !Number(c.args[1].text, depth) || f < 0)
        return RC_CANNOT_SETUP_SEQUENCE;
    t.args = {f, depth};
    return 0;
}
int AddAmod(SWaveSet& c, CSequenceWave& sequence, SSection&, STransform& t) {
    return AddModulation(c, sequence, t, false);
}
// Only the shapes that have a frequency can be modulated in it.
int AddFmod(SWaveSet& c, CSequenceWave& sequence, SSection& s, STransform& t) {
    if (const int code = AddModulation(c, sequence, t, true)) return code;
    const bool periodic = s.shape == SHAPE_TONE || s.shape == SHAPE_RECTANGLE || s.shape == SHAPE_TRIANGLE ||
                          s.shape == SHAPE_LPSYN;
    return periodic ? 0 : RC_CANNOT_SETUP_SEQUENCE;
}

int WaveEnvelope(SWaveSet& c) {
    return Transform(c, AddEnvelope);
}
int WaveFilter(SWaveSet& c) {
    return Transform(c, AddFilter);
}
int WaveAmod(SWaveSet& c) {
    return Transform(c, AddAmod);
}
int WaveFmod(SWaveSet& c) {
    return Transform(c, AddFmod);
}

int CopyIntoValue(CWaveObject& wave, CShellValue& value) {
    const int channels = wave.GetChannels();
    const long long frames = wave.GetFrames();
    if (frames <= 0 || frames > 0x7FFFFFFF) return RC_BAD_SIGNAL_KIND;
    int error = 0;
    SfioPtr reader(wave.CreateSfio(SFIO_READ | CODING_FLOAT, error, frames));
    if (!reader) return error == RC_NO_MEMORY ? RC_NULL_BUFFER : error;
    if (reader->Transfer() != frames) return RC_NULL_BUFFER;
    const auto* samples = static_cast<const float*>(reader->Buffer());
    Matrix m(static_cast<int>(frames), channels);
    for (long long f = 0; f < frames; ++f)
        for (int c = 0; c < channels; ++c) m(static_cast<int>(f), c) = samples[f * channels + c];
    std::lock_guard hold(value.m_lock);
    value.m_type = CShellValue::DATA_NUMBER;
    value.m_value = std::move(m);
    return 0;
}

// COPY <wave item> [<frames>] [/R]; COPY <item> [<column>] /W; COPY <value item>.
int WaveCopy(SWaveSet& c) {
    CShell& shell = c.shell;
    const CWords& args = c.args;
    const COptions& options = c.options;
    CWaveObject* target = c.item.Wave();
    if (CWaveItem* other = FindWaveItem(shell, args[0].text)) {
        CWaveObject* source = other->Wave();
        if (!source || !source->IsValid()) return RC_BAD_SIGNAL_KIND;
        if (source->GetChannels() != target->GetChannels()) return RC_COMMAND_ERROR;
        long long frames = 10000;
        if (args.size() > 1 && !EvalInteger(args[1].text, frames)) return RC_BAD_ARG3;
        frames = std::max(2LL, frames);
        int error = 0;
        SfioPtr writer(target->CreateSfio(SFIO_READWRITE | CODING_FLOAT, error, 0));
        if (!writer) return error == RC_SFIO_WITHOUT_SOUNDFILE ? RC_NO_SFIO_BUFFER : error;
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
            if (writer->Transfer() != n) return RC_NULL_BUFFER;
            done += n;
        }
        return 0;
    }
    // A table, value or number object: every kind that has numbers goes into the wave;
    // the wave goes into a value (frames by channels). Tables take it once they exist.
    CShell::ItemEntry* e = shell.FindItem(args[0].text);
    if (!e) return RC_NO_SUCH_OUTPUT;
    if (!HasOption(options, L"Ww")) {
        if (ItemKindOf(e->user) != KIND_VALUE) return RC_NOT_SUPPORTED;
        return CopyIntoValue(*target, *static_cast<CShellValue*>(e->value));
    }
    CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user));
    Matrix m;
    if (!kind || !kind->ToMatrix(e->value, L"", m) || m.IsEmpty()) return RC_BAD_SIGNAL_KIND;
    const int channels = target->GetChannels();
    long long column = -1;
    if (args.size() > 1 && (!EvalInteger(args[1].text, column) || column < 0 || column >= m.Cols()))
        return RC_BAD_ARG3;
    if (column < 0 && m.Cols() != channels) return RC_COLUMNS_MISMATCH_CHANNELS;
    int error = 0;
    const long long rows = std::min<long long>(m.Rows(), target->GetFrames());
    SfioPtr writer(target->CreateSfio(SFIO_READWRITE | CODING_FLOAT, error, rows, 0, rows));
    if (!writer)
        return error == RC_SFIO_WITHOUT_SOUNDFILE ? RC_NO_SFIO_BUFFER
               : error == RC_NO_MEMORY            ? RC_NULL_BUFFER
                                                  : error;
    auto* frames = static_cast<float*>(writer->Buffer());
    for (long long r = 0; r < rows; ++r)
        for (int c = 0; c < channels; ++c)
            frames[r * channels + c] =
                static_cast<float>(m(static_cast<int>(r), column < 0 ? c : static_cast<int>(column)));
    return writer->Transfer() == rows ? 0 : RC_NULL_BUFFER;
}

// PLAY|RECORD [<buffers> [<frames> [<begin> [<end> [<value item> [<gain>]]]]]]
int WaveAudio(SWaveSet& c, bool record) {
    CShell& shell = c.shell;
    CWaveItem& item = c.item;
    const CWords& args = c.args;
    const COptions& options = c.options;
    CWaveObject* w = item.Wave();
    if (!w || !w->IsValid()) return RC_INVALID_ARGUMENT;
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
    if (given(0) && !EvalInteger(args[0].text, blocks)) return RC_BAD_ARG1;
    if (given(1) && !EvalInteger(args[1].text, block)) return RC_BAD_ARG2;
    if (given(2) && !Frames(args[2].text, rate, length, r.begin)) return RC_WAVE_OUT_OF_RANGE;
    if (given(3) && !Frames(args[3].text, rate, length, r.end)) return RC_WAVE_OUT_OF_RANGE;
    if (r.end < r.begin) std::swap(r.begin, r.end);
    if (r.begin < 0 || r.end > length || r.begin == r.end) return RC_WAVE_OUT_OF_RANGE;
    Text valueItem;
    if (given(4)) {
        if (!shell.FindItem(args[4].text, KIND_VALUE)) return RC_INVALID_ARGUMENT;
        valueItem = args[4].text;
    }
    if (given(5)) {
        double gain = 1.0;
        if (!Number(args[5].text, gain)) return RC_INVALID_ARGUMENT;
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

int WavePlay(SWaveSet& c) {
    return WaveAudio(c, false);
}
int WaveRecord(SWaveSet& c) {
    return WaveAudio(c, true);
}

int WaveStop(SWaveSet& c) {
    CAudioEngine::Of(false).Stop(static_cast<CShellItem*>(&c.item));
    CAudioEngine::Of(true).Stop(static_cast<CShellItem*>(&c.item));
    return 0;
}

// DEVICE <out>|Auto|Silent; /I <in>; /A <in> <out>.
int WaveDevice(SWaveSet& c) {
    CWaveItem& item = c.item;
    const CWords& args = c.args;
    const COptions& options = c.options;
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
    if (HasOption(options, L"Aa")) {
        pick(args[0].text, true, item.m_inDevice);
        if (args.size() > 1) pick(args[1].text, false, item.m_outDevice);
    } else if (HasOption(options, L"Ii")) {
        pick(args[0].text, true, item.m_inDevice);
    } else {
        pick(args[0].text, false, item.m_outDevice);
    }
    return 0;
}

// END [/E]: ends the sequence; /E renders it to memory once.
int WaveEnd(SWaveSet& c) {
    auto* sequence = dynamic_cast<CSequenceWave*>(c.item.Wave());
    if (!sequence) return RC_NO_SUCH_OUTPUT;
    if (HasOption(c.options, L"Ee")) sequence->Render();
    c.result.clear();
    return 0;
}

// A number may stand for a keyword by its place (KVOCONSTANTS WAVE).
constexpr SSetRow<CWaveItem> kWaveRows[] = {
    {L"COPY", WaveCopy, 1},     {L"PLAY", WavePlay},     {L"RECORD", WaveRecord},     {L"STOP", WaveStop},
    {L"DEVICE", WaveDevice, 1}, {L"SIGNAL", WaveSignal}, {L"ENVELOPE", WaveEnvelope}, {L"FILTER", WaveFilter},
    {L"AMOD", WaveAmod},        {L"FMOD", WaveFmod},     {L"END", WaveEnd},
};
CSetTable<CWaveItem> g_waveSet(L"WAVE", kWaveRows);

} // namespace

int WaveSet(CShell& shell, CWaveItem& item, CWords& args, COptions& options, Text& result) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    const SSetRow<CWaveItem>* row = g_waveSet.Find(args[0].text, true);
    if (!row) return RC_BAD_ARG2;
    CWords rest(args.begin() + 1, args.end());
    if (static_cast<int>(rest.size()) < row->minArgs) return RC_TOO_FEW_ARGUMENTS;
    SWaveSet call{shell, item, rest, options, result, row->keyword, false};
    return row->handler(call);
}

void RegisterWaveCommands() {
    CSubcommandRegistry::Register(g_waveSet);
}
