#include "numeric/pitch_tracker.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "numeric/fft.h"
#include "numeric/vector_kernels.h"

namespace numeric {

namespace {

constexpr SParameter kParameters[] = {
    {L"minPitch", L"lowest F0 looked for, Hz", 0, true, kUnbounded, false, 75.0},
    {L"maxPitch", L"highest F0 looked for, Hz (at most half the rate)", 0, true, kUnbounded, false, 600.0},
    {L"timeStep", L"seconds from frame to frame; 0 or less: a quarter of a frame", -kUnbounded, false,
     kUnbounded, false, 0.0},
    {L"periodsPerWindow", L"frame length in periods of minPitch", 0, true, kUnbounded, false, 3.0},
    {L"candidates", L"candidates a frame, the unvoiced one included", 2, false, kUnbounded, true, 15.0},
    {L"silence", L"peak below which a frame counts as silent, relative to the signal's", 0, false, kUnbounded,
     false, 0.03},
    {L"voicing", L"correlation a voiced candidate needs", 0, false, kUnbounded, false, 0.45},
    {L"octaveCost", L"preference for higher candidates, per octave", 0, false, kUnbounded, false, 0.01},
    {L"octaveJumpCost", L"cost of a jump between frames, per octave", 0, false, kUnbounded, false, 0.35},
    {L"voicedUnvoicedCost", L"cost of a change between voiced and unvoiced", 0, false, kUnbounded, false,
     0.14},
};

// Hann window and its autocorrelation, the parts that depend only on the frame size.
struct SFrameShape {
    std::vector<double> window, windowCorrelation;
};

struct SCandidate {
    double frequency = 0, strength = 0;
};

} // namespace

std::span<const SParameter> CPitchTracker::Parameters() {
    return kParameters;
}

bool CPitchTracker::Track(std::span<const double> x, double rate, std::vector<double>& f0,
                          std::vector<double>& centreOut) const {
    const double minPitch = m_values[L"minPitch"];
    double maxPitch = m_values[L"maxPitch"];
    double dt = m_values[L"timeStep"];
    const double periods = m_values[L"periodsPerWindow"];
    const long long maxCandidates = static_cast<long long>(m_values[L"candidates"]);
    const double silence = m_values[L"silence"];
    const double voicing = m_values[L"voicing"];
    const double octaveCost = m_values[L"octaveCost"];
    const double octaveJumpCost = m_values[L"octaveJumpCost"];
    const double voicedUnvoicedCost = m_values[L"voicedUnvoicedCost"];
    if (!(rate > 0) || !(maxPitch > minPitch)) return false;
    maxPitch = std::min(maxPitch, 0.5 * rate);
    if (!(dt > 0)) dt = 0.25 * periods / minPitch;
    const int n = int(x.size());
    const int half = int(std::lround(rate * periods / minPitch / 2));
    const int nWindow = 2 * half;
    if (half < 2 || nWindow > n) return false;
    const int maxLag = std::min(int(rate / minPitch) + 1, half - 1);
    const int minLag = std::max(1, int(rate / maxPitch) - 1);
    // Frames at least a sample apart.
    const double hop = std::max(dt * rate, 1.0);
    const int frames = int((n - nWindow) / hop) + 1;

    numeric::RealFft fft(numeric::FftOrderFor(static_cast<std::size_t>(2 * nWindow)));
    const std::size_t nfft = fft.Size(), bins = nfft / 2 + 1;
    std::vector<double> packed(nfft + 2), power(bins), corr(nfft);
    // Autocorrelation of n values through the power spectrum of the zero-padded frame.
    auto autocorrelate = [&](const double* in) {
        std::fill(packed.begin(), packed.end(), 0.0);
        numeric::Copy(in, packed.data(), std::size_t(nWindow));
        fft.Forward(packed.data(), packed.data());
        numeric::PowerSpectrum(packed.data(), power.data(), bins);
        std::fill(packed.begin(), packed.end(), 0.0);
        for (std::size_t k = 0; k < bins; ++k) packed[2 * k] = power[k];
        fft.Inverse(packed.data(), corr.data());
    };
    SFrameShape shape;
    shape.window.resize(static_cast<std::size_t>(nWindow));
    for (int i = 0; i < nWindow; ++i) {
        shape.window[std::size_t(i)] = 0.5 * (1 - std::cos(2 * std::numbers::pi * i / (nWindow - 1)));
    }
    autocorrelate(shape.window.data());
    shape.windowCorrelation.assign(corr.begin(), corr.begin() + maxLag + 2);
    for (double& v : shape.windowCorrelation) v /= corr[0];

    double mean = 0;
    for (double v : x) mean += v;
    mean /= n;
    double globalPeak = 0;
    for (double v : x) globalPeak = std::max(globalPeak, std::fabs(v - mean));

    std::vector<std::vector<SCandidate>> candidates(static_cast<std::size_t>(frames));
    std::vector<double> intensity(std::size_t(frames), 0.0), centre(static_cast<std::size_t>(frames));
    std::vector<double> buffer(static_cast<std::size_t>(nWindow)), r(std::size_t(maxLag) + 2);
    for (int f = 0; f < frames; ++f) {
        const int start = int(std::lround(f * hop));
        centre[std::size_t(f)] = start + half;
        auto& list = candidates[std::size_t(f)];
        list.push_back({}); // the unvoiced candidate
        double localMean = 0;
        for (int j = 0; j < nWindow; ++j) localMean += x[std::size_t(start + j)];
        localMean /= nWindow;
        double localPeak = 0;
        for (int j = 0; j < nWindow; ++j) {
            buffer[std::size_t(j)] = (x[std::size_t(start + j)] - localMean) * shape.window[std::size_t(j)];
            localPeak = std::max(localPeak, std::fabs(buffer[std::size_t(j)]));
        }
        if (localPeak == 0 || globalPeak == 0) continue;
        intensity[std::size_t(f)] = std::min(1.0, localPeak / globalPeak);
        autocorrelate(buffer.data());
        for (int k = 0; k <= maxLag + 1; ++k)
            r[std::size_t(k)] = corr[std::size_t(k)] / corr[0] / shape.windowCorrelation[std::size_t(k)];
        for (int i = minLag; i < maxLag; ++i) {
            const double ri = r[std::size_t(i)], rl = r[std::size_t(i) - 1], rr = r[std::size_t(i) + 1];
            if (!(ri > 0.5 * voicing && ri > rl && ri >= rr)) continue;
            const double dr = 0.5 * (rr - rl), d2r = 2 * ri - rl - rr;
            SCandidate c{rate / (i + dr / d2r), ri + 0.5 * dr * dr / d2r};
            if (c.strength > 1) c.strength = 1 / c.strength;
            auto rank = [&](const SCandidate& k) {
                return k.strength - octaveCost * std::log2(minPitch / k.frequency);
            };
            if (static_cast<long long>(list.size()) < maxCandidates) {
                list.push_back(c);
                continue;
            }
            auto weakest =
                std::min_element(list.begin() + 1, list.end(),
                                 [&](const SCandidate& a, const SCandidate& b) { return rank(a) < rank(b); });
            if (rank(c) > rank(*weakest)) *weakest = c;
        }
    }

    // The cheapest path: strengths of the candidates minus the costs of the transitions.
    auto unvoiced = [&](double frequency) { return frequency <= 0 || frequency > maxPitch; };
    std::vector<std::vector<double>> score(static_cast<std::size_t>(frames));
    std::vector<std::vector<int>> back(static_cast<std::size_t>(frames));
    for (int f = 0; f < frames; ++f) {
        const auto& list = candidates[std::size_t(f)];
        const double unvoicedStrength =
            silence <= 0 ? voicing
                         : voicing + std::max(0.0, 2 - intensity[std::size_t(f)] / (silence / (1 + voicing)));
        score[std::size_t(f)].resize(list.size());
        back[std::size_t(f)].assign(list.size(), 0);
        for (std::size_t j = 0; j < list.size(); ++j) {
            const double fj = list[j].frequency;
            const double strength =
                unvoiced(fj) ? unvoicedStrength : list[j].strength - octaveCost * std::log2(maxPitch / fj);
            if (f == 0) {
                score[0][j] = strength;
                continue;
            }
            const auto& previous = candidates[std::size_t(f) - 1];
            double best = -std::numeric_limits<double>::infinity();
            for (std::size_t k = 0; k < previous.size(); ++k) {
                const double fk = previous[k].frequency;
                const bool uk = unvoiced(fk), uj = unvoiced(fj);
                const double cost = uk && uj   ? 0.0
                                    : uk || uj ? voicedUnvoicedCost
                                               : octaveJumpCost * std::fabs(std::log2(fk / fj));
                const double value = score[std::size_t(f) - 1][k] - cost + strength;
                if (value > best) {
                    best = value;
                    back[std::size_t(f)][j] = int(k);
                }
            }
            score[std::size_t(f)][j] = best;
        }
    }
    const auto& last = score.back();
    int chosen = int(std::max_element(last.begin(), last.end()) - last.begin());
    f0.assign(std::size_t(frames), 0.0);
    centreOut.assign(std::size_t(frames), 0.0);
    for (int f = frames - 1; f >= 0; --f) {
        const double frequency = candidates[std::size_t(f)][std::size_t(chosen)].frequency;
        f0[std::size_t(f)] = unvoiced(frequency) ? 0.0 : frequency;
        centreOut[std::size_t(f)] = centre[std::size_t(f)];
        chosen = back[std::size_t(f)][std::size_t(chosen)];
    }
    return true;
}

} // namespace numeric
