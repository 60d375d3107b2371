#include "numeric/frequency_scales.h"

#include <cmath>

double HzToBark(double f) {
    if (f <= 0) return 0;
    return 13.0 * std::atan(0.00076 * f) + 3.5 * std::atan(1.7777777777777777e-8 * f * f);
}

double BarkToHz(double z) {
    if (z <= 0) return 0;
    double low = 0, high = 25000, mid = 0;
    for (int round = 0; round < 24; ++round) {
        mid = 0.5 * (low + high);
        const double value = HzToBark(mid);
        if (std::fabs(value - z) < 1e-5) break;
        (value < z ? low : high) = mid;
    }
    return mid;
}
