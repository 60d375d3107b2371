#include "numeric/random.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace numeric {

std::uint32_t LcgGenerator::Step() noexcept {
    std::uint32_t current = m_state.load(std::memory_order_relaxed);
    std::uint32_t next;
    do {
        next = (25173u * current + 13849u) % kModulus;
    } while (!m_state.compare_exchange_weak(current, next, std::memory_order_relaxed));
    return next;
}

LcgGenerator& RandGenerator() noexcept {
    static LcgGenerator generator;
    return generator;
}

LcgGenerator& GRandGenerator() noexcept {
    static LcgGenerator generator;
    return generator;
}

LcgGenerator& NumberArgumentGenerator() noexcept {
    static LcgGenerator generator;
    return generator;
}

void SeedFromArgument(LcgGenerator& generator, double seed) noexcept {
    if (!(seed > 0.0)) return;
    // An infinite seed has no remainder; casting the NaN would be undefined.
    if (std::isinf(seed)) seed = 0.0;
    // 2.1778 * 30092.75415556984 is just below 65536, so every seed lands inside the range.
    generator.SetState(static_cast<std::uint32_t>(std::fmod(seed, 2.1778) * 30092.75415556984));
}

double RandValue() noexcept {
    return RandGenerator().NextSigned();
}

double GRandValue(double mean, double sigma) noexcept {
    if (!(sigma > 0.0)) sigma = 1.0;
    LcgGenerator& generator = GRandGenerator();
    double value = mean;
    for (int i = 0; i < 12; ++i) value += generator.NextSigned() * sigma;
    return value;
}

double RandNumber() noexcept {
    return NumberArgumentGenerator().NextSigned();
}

double LRanNumber() noexcept {
    return NumberArgumentGenerator().NextUnit();
}

double SetLRanNumber(double x) noexcept {
    LcgGenerator& generator = NumberArgumentGenerator();
    if (x > 0.0) {
        const double fraction = std::isinf(x) ? 0.0 : std::fabs(std::fmod(x, 1.0));
        generator.SetState(static_cast<std::uint32_t>(fraction * LcgGenerator::kModulus));
    } else {
        const auto ticks = std::chrono::system_clock::now().time_since_epoch().count();
        generator.SetState(static_cast<std::uint32_t>(ticks));
    }
    return generator.NextUnit();
}

SignalRandom::SignalRandom() : m_engine(std::random_device{}()) {}

// The standard distributions have undefined behaviour for an empty range or a sigma that
// is not positive; a macro can ask for either, and gets the constant.
double SignalRandom::Uniform(double low, double high) {
    if (!(low < high)) return low;
    return std::uniform_real_distribution<double>(low, high)(m_engine);
}

double SignalRandom::Gaussian(double mean, double sigma) {
    if (!(sigma > 0.0)) return mean;
    return std::normal_distribution<double>(mean, sigma)(m_engine);
}

void SignalRandom::FillUniform(double* dst, std::size_t n, double low, double high) {
    if (!(low < high)) {
        std::fill(dst, dst + n, low);
        return;
    }
    std::uniform_real_distribution<double> distribution(low, high);
    for (std::size_t i = 0; i < n; ++i) dst[i] = distribution(m_engine);
}

void SignalRandom::FillGaussian(double* dst, std::size_t n, double mean, double sigma) {
    if (!(sigma > 0.0)) {
        std::fill(dst, dst + n, mean);
        return;
    }
    std::normal_distribution<double> distribution(mean, sigma);
    for (std::size_t i = 0; i < n; ++i) dst[i] = distribution(m_engine);
}

} // namespace numeric
