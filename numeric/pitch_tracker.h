// The autocorrelation pitch tracker: Hann-windowed frames of
// periodsPerWindow / minPitch seconds every timeStep seconds, each frame's
// autocorrelation divided by the window's, its peaks (refined by a parabola)
// as candidates beside the unvoiced one, and the cheapest path through the
// candidates of all frames. One unit for the evaluator function F0AC and the
// SPU atom of the same name: both set the declared parameters and call Track.
#pragma once

#include <span>
#include <vector>

#include "numeric/parameters.h"

namespace numeric {

class CPitchTracker {
public:
    // minPitch, maxPitch, timeStep, periodsPerWindow, candidates, silence,
    // voicing, octaveCost, octaveJumpCost, voicedUnvoicedCost: in this order
    // the optional arguments of F0AC.
    static std::span<const SParameter> Parameters();

    CPitchTracker() : m_values(Parameters()) {}
    CParameters& Values() { return m_values; }
    const CParameters& Values() const { return m_values; }

    // One entry a frame in `f0` (Hz, 0 where unvoiced) and `centre` (the
    // frame's middle sample). False when the values do not fit together or
    // the signal (maxPitch not above minPitch, a frame longer than x).
    bool Track(std::span<const double> x, double rate, std::vector<double>& f0,
               std::vector<double>& centre) const;

private:
    CParameters m_values;
};

} // namespace numeric
