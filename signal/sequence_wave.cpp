#include "signal/sequence_wave.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace {

constexpr double kTwoPi = 6.283185307179586;

double Arg(const std::vector<double>& args, size_t index, double fallback) {
    return index < args.size() ? args[index] : fallback;
}

// One period of a waveform at phase p (0..1), -1..1.
double Periodic(int shape, double p, double duty = 0.5) {
    p -= std::floor(p);
    switch (shape) {
    case MOD_RECTANGLE:
        return p < duty ? 1.0 : -1.0;
    case MOD_TRIANGLE:
        if (duty <= 0) return 1.0 - 2.0 * p;
        if (duty >= 1) return -1.0 + 2.0 * p;
        return p < duty ? -1.0 + 2.0 * p / duty : 1.0 - 2.0 * (p - duty) / (1.0 - duty);
    case MOD_SAWTOOTH:
        return 2.0 * p - 1.0;
    default:
        return std::sin(kTwoPi * p);
    }
}

// The modulator of AMOD and FMOD at frame n: a waveform or samples of a wave.
double Modulator(const STransform& t, long long n, double rate, double beyond) {
    if (t.mode == MOD_SAMPLES) return n < static_cast<long long>(t.samples.size()) ? t.samples[n] : beyond;
    return Periodic(t.mode, Arg(t.args, 0, 0) * double(n) / rate);
}

// Instantaneous frequency of an oscillator under the section's FMOD chain.
double Frequency(const SSection& s, double base, long long n, double rate) {
    double f = base;
    for (const STransform& t : s.transforms) {
        if (t.type != TRANSFORM_FMOD) continue;
        if (t.mode == MOD_SAMPLES) {
            // args[0]: Hz per unit of the modulating wave; args[1] 1 for cents.
            const double v = Modulator(t, n, rate, 0.0) * Arg(t.args, 0, 1.0);
            f = Arg(t.args, 1, 0) != 0 ? f * std::pow(2.0, v / 1200.0) : f + v;
        } else {
            f += Arg(t.args, 1, 0) * Modulator(t, n, rate, 0.0);
        }
    }
    return f;
}

void Oscillate(const SSection& s, double rate, std::vector<float>& out) {
    const double base = Arg(s.args, 0, 0);
    const double amplitude = Arg(s.args, 1, 1.0);
    double phase = s.shape == SHAPE_RECTANGLE || s.shape == SHAPE_TRIANGLE ? Arg(s.args, 3, 0) / 360.0
                                                                           : Arg(s.args, 2, 0) / 360.0;
    const double duty = Arg(s.args, 2, 0.5);
    for (size_t n = 0; n < out.size(); ++n) {
        double v;
        if (s.shape == SHAPE_TONE)
            v = std::sin(kTwoPi * phase);
        else
            v = Periodic(s.shape == SHAPE_RECTANGLE ? MOD_RECTANGLE : MOD_TRIANGLE, phase, duty);
        out[n] = static_cast<float>(amplitude * v);
        phase += Frequency(s, base, static_cast<long long>(n), rate) / rate;
        phase -= std::floor(phase);
    }
}

void Noise(const SSection& s, std::vector<float>& out) {
    const double amplitude = Arg(s.args, 0, 1.0);
    const bool normal = Arg(s.args, 1, 0) != 0;
    std::mt19937 generator(static_cast<unsigned>(Arg(s.args, 2, 1)));
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    std::normal_distribution<double> gauss(0.0, 1.0 / 3.0);
    for (float& v : out) v = static_cast<float>(amplitude * (normal ? gauss(generator) : uniform(generator)));
}

// All-pole synthesis: a pulse train (or noise at 0 Hz) through 1 / (1 + a1 z^-1 + ...).
void LpSynthesis(const SSection& s, double rate, std::vector<float>& out) {
    const double f0 = Arg(s.args, 0, 100);
    const double gain = Arg(s.args, 1, 1.0);
    const std::vector<double> a(s.args.begin() + std::min<size_t>(2, s.args.size()), s.args.end());
    std::vector<double> y(a.size(), 0.0);
    std::mt19937 generator(1);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    double phase = 1.0;
    for (size_t n = 0; n < out.size(); ++n) {
        double e;
        if (f0 > 0) {
            e = phase >= 1.0 ? 1.0 : 0.0;
            if (phase >= 1.0) phase -= 1.0;
            phase += Frequency(s, f0, static_cast<long long>(n), rate) / rate;
        } else {
            e = uniform(generator);
        }
        double v = gain * e;
        for (size_t k = 0; k < a.size(); ++k) v -= a[k] * y[k];
        for (size_t k = a.size(); k > 1; --k) y[k - 1] = y[k - 2];
        if (!y.empty()) y[0] = v;
        out[n] = static_cast<float>(v);
    }
}

void Envelope(const STransform& t, std::vector<float>& x) {
    const size_t points = t.args.size() / 2;
    if (points == 0) return;
    auto at = [&](size_t i) { return t.args[2 * i]; };
    auto gain = [&](size_t i) { return t.args[2 * i + 1]; };
    size_t k = 0;
    for (size_t n = 0; n < x.size(); ++n) {
        const double frame = double(n);
        while (k + 1 < points && at(k + 1) <= frame) ++k;
        double g;
        if (frame <= at(0) || points == 1) {
            g = frame <= at(0) ? gain(0) : gain(points - 1);
        } else if (k + 1 >= points) {
            g = gain(points - 1);
        } else if (t.mode == 1) { // constant: steps
            g = gain(k);
        } else {
            const double u = (frame - at(k)) / std::max(1.0, at(k + 1) - at(k));
            if (t.mode == 2 && gain(k) > 0 && gain(k + 1) > 0)
                g = gain(k) * std::pow(gain(k + 1) / gain(k), u);
            else
                g = gain(k) + (gain(k + 1) - gain(k)) * u;
        }
        x[n] = static_cast<float>(x[n] * g);
    }
}

// A second-order section of the usual audio cookbook kind.
void Filter(const STransform& t, double rate, std::vector<float>& x) {
    const double f = Arg(t.args, 0, 1000);
    const double q = std::max(0.01, Arg(t.args, 1, 0.7071067811865476));
    if (!(f > 0 && f < rate / 2)) return;
    const double w = kTwoPi * f / rate, c = std::cos(w), alpha = std::sin(w) / (2 * q);
    double b0, b1, b2;
    switch (t.mode) {
    case 1:
        b0 = (1 + c) / 2, b1 = -(1 + c), b2 = (1 + c) / 2;
        break; // high pass
    case 2:
        b0 = alpha, b1 = 0, b2 = -alpha;
        break; // band pass
    case 3:
        b0 = 1, b1 = -2 * c, b2 = 1;
        break; // band stop
    default:
        b0 = (1 - c) / 2, b1 = 1 - c, b2 = (1 - c) / 2;
        break; // low pass
    }
    const double a0 = 1 + alpha, a1 = -2 * c, a2 = 1 - alpha;
    double energyIn = 0, energyOut = 0, x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    for (float& v : x) {
        const double in = v;
        const double out = (b0 * in + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2) / a0;
        x2 = x1, x1 = in, y2 = y1, y1 = out;
        energyIn += in * in;
        energyOut += out * out;
        v = static_cast<float>(out);
    }
    if (Arg(t.args, 2, 0) != 0 && energyOut > 0) {
        const double scale = std::sqrt(energyIn / energyOut);
        for (float& v : x) v = static_cast<float>(v * scale);
    }
}

void AmplitudeModulation(const STransform& t, double rate, std::vector<float>& x) {
    for (size_t n = 0; n < x.size(); ++n) {
        double g;
        if (t.mode == MOD_SAMPLES) {
            const double m =
                Modulator(t, static_cast<long long>(n), rate, Arg(t.args, 0, 0) != 0 ? 0.0 : 1.0);
            g = Arg(t.args, 0, 0) != 0 ? std::pow(10.0, m / 20.0) : m; // dB or linear
        } else {
            g = 1.0 + Arg(t.args, 1, 1.0) * Modulator(t, static_cast<long long>(n), rate, 0.0);
        }
        x[n] = static_cast<float>(x[n] * g);
    }
}

} // namespace

CSequenceWave::CSequenceWave(int channels, double rate) : CWaveObject(WAVE_SEQUENCE) {
    m_channels = channels;
    m_rate = rate;
    m_set.SetAll();
}

std::vector<float> CSequenceWave::Generate(const SSection& s, double rate) {
    std::vector<float> out(static_cast<size_t>(std::max(0LL, s.length)), 0.0f);
    switch (s.shape) {
    case SHAPE_VALUE:
        std::fill(out.begin(), out.end(), static_cast<float>(Arg(s.args, 0, 0)));
        break;
    case SHAPE_RECTANGLE:
    case SHAPE_TRIANGLE:
    case SHAPE_TONE:
        Oscillate(s, rate, out);
        break;
    case SHAPE_NOISE:
        Noise(s, out);
        break;
    case SHAPE_SEGMENT:
    case SHAPE_WAVE:
    case SHAPE_TABLE:
        std::copy_n(s.source.begin(), std::min(s.source.size(), out.size()), out.begin());
        break;
    case SHAPE_LPSYN:
        LpSynthesis(s, rate, out);
        break;
    default:
        break;
    }
    for (const STransform& t : s.transforms) {
        switch (t.type) {
        case TRANSFORM_ENVELOPE:
            Envelope(t, out);
            break;
        case TRANSFORM_FILTER:
            Filter(t, rate, out);
            break;
        case TRANSFORM_AMOD:
            AmplitudeModulation(t, rate, out);
            break;
        default:
            break; // FMOD acts while oscillating
        }
    }
    if (s.normalize) {
        float peak = 0;
        for (float v : out) peak = std::max(peak, std::fabs(v));
        if (peak > 0)
            for (float& v : out) v /= peak;
    }
    if (s.reverse) std::reverse(out.begin(), out.end());
    return out;
}

void CSequenceWave::AddSection(SSection section) {
    std::lock_guard lock(m_cs);
    m_end = std::max(m_end, section.begin + section.length);
    m_sections.push_back(std::move(section));
    m_cache.emplace_back();
    m_cached.push_back(false);
    m_bRendered = false;
}

void CSequenceWave::Invalidate() {
    std::lock_guard lock(m_cs);
    if (!m_cached.empty()) m_cached.back() = false;
    m_bRendered = false;
}

const std::vector<float>& CSequenceWave::SectionSamples(size_t index) {
    if (!m_cached[index]) {
        m_cache[index] = Generate(m_sections[index], m_rate);
        m_cached[index] = true;
    }
    return m_cache[index];
}

void CSequenceWave::Mix(long long first, long long count, float* frames) {
    std::fill(frames, frames + count * m_channels, 0.0f);
    for (size_t i = 0; i < m_sections.size(); ++i) {
        const SSection& s = m_sections[i];
        const long long from = std::max(first, s.begin);
        const long long to = std::min(first + count, s.begin + s.length);
        if (from >= to) continue;
        const std::vector<float>& samples = SectionSamples(i);
        for (int c = 0; c < m_channels; ++c) {
            if (s.channel != 0 && s.channel != c + 1) continue;
            for (long long f = from; f < to; ++f) {
                float& out = frames[(f - first) * m_channels + c];
                const float v = samples[static_cast<size_t>(f - s.begin)];
                out = s.mix ? out + v : v;
            }
        }
    }
}

void CSequenceWave::Render() {
    std::lock_guard lock(m_cs);
    m_rendered.assign(static_cast<size_t>(m_end * m_channels), 0.0f);
    Mix(0, m_end, m_rendered.data());
    m_bRendered = true;
}

long long CSequenceWave::Transfer(int flags, long long first, long long count, void* buffer) {
    if (first < 0 || count < 0 || (flags & SFIO_ACCESS_MASK) != SFIO_READ) return -100;
    if (first + count > m_end) count = m_end - first;
    if (count <= 0) return 0;
    const int coding = flags & SFIO_CODING_MASK;
    const size_t n = static_cast<size_t>(count * m_channels);
    if (m_bRendered) {
        ConvertSamples(CODING_FLOAT, m_rendered.data() + first * m_channels, 0, 1, coding, buffer, 0, 1, n);
        return count;
    }
    if (coding == CODING_FLOAT) {
        Mix(first, count, static_cast<float*>(buffer));
        return count;
    }
    std::vector<float> frames(n);
    Mix(first, count, frames.data());
    ConvertSamples(CODING_FLOAT, frames.data(), 0, 1, coding, buffer, 0, 1, n);
    return count;
}
