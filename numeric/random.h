// Random numbers.
//
// The language's own generators are one 16-bit linear congruential generator,
//     next = (25173 state + 13849) mod 65536,
// with three process-wide states: one for the evaluator's Rand, one for its GRand and one
// for RAND, LRAN and SETLRAN of the number arguments. Macros rely on the exact sequences
// after a seed, so these are kept bit for bit. Each state starts at 0. The states are shared
// by all shells without a lock in the language's sense: two shells drawing at the same time
// interleave their sequences (each step is atomic, so no draw is lost or doubled).
//
// Signal generators (noise atoms, wave generator) use SignalRandom instead, a Mersenne
// twister with its own state per user.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <random>

namespace numeric {

class LcgGenerator {
public:
    static constexpr std::uint32_t kModulus = 65536;

    explicit LcgGenerator(std::uint32_t state = 0) noexcept : m_state(state % kModulus) {}
    LcgGenerator(const LcgGenerator&) = delete;
    LcgGenerator& operator=(const LcgGenerator&) = delete;

    std::uint32_t State() const noexcept { return m_state.load(std::memory_order_relaxed); }
    void SetState(std::uint32_t state) noexcept {
        m_state.store(state % kModulus, std::memory_order_relaxed);
    }

    // Advances the state and answers the new one (0 .. 65535).
    std::uint32_t Step() noexcept;
    // Advances and answers 2 (state / 65536 - 0.5), in -1 .. 1.
    double NextSigned() noexcept { return 2.0 * (double(Step()) / kModulus - 0.5); }
    // Advances and answers state / 65536, in 0 .. 1.
    double NextUnit() noexcept { return double(Step()) / kModulus; }

private:
    std::atomic<std::uint32_t> m_state;
};

// The evaluator's Rand and GRand.
LcgGenerator& RandGenerator() noexcept;
LcgGenerator& GRandGenerator() noexcept;
// A seed argument of Rand or GRand: above 0 it sets the state to the integer part of
// fmod(seed, 2.1778) * 30092.75415556984; 0, negative or NaN leave the state alone.
void SeedFromArgument(LcgGenerator& generator, double seed) noexcept;
// One element of Rand: uniform in -1 .. 1.
double RandValue() noexcept;
// One element of GRand: mean plus 12 terms 2 (state / 65536 - 0.5) sigma, where a sigma
// that is not above 0 stands for the default 1. The sum of twelve such terms has a
// standard deviation of 2 sigma, which the language keeps.
double GRandValue(double mean, double sigma) noexcept;

// RAND, LRAN and SETLRAN of the number arguments.
LcgGenerator& NumberArgumentGenerator() noexcept;
// RAND: uniform in -1 .. 1.
double RandNumber() noexcept;
// LRAN: uniform in 0 .. 1.
double LRanNumber() noexcept;
// SETLRAN(x): x above 0 seeds with |fmod(x, 1)| * 65536, anything else with the clock; then
// one step, answered as by LRAN.
double SetLRanNumber(double x) noexcept;

// Uniform and Gaussian numbers for signals. Not shared: one object per user (thread).
class SignalRandom {
public:
    // Seeded from the system's random device.
    SignalRandom();
    explicit SignalRandom(std::uint32_t seed) : m_engine(seed) {}

    // Uniform in [low, high); `low` itself when the range is empty. A sigma that is not
    // positive gives the mean.
    double Uniform(double low, double high);
    double Gaussian(double mean, double sigma);
    void FillUniform(double* dst, std::size_t n, double low, double high);
    void FillGaussian(double* dst, std::size_t n, double mean, double sigma);

private:
    std::mt19937 m_engine;
};

} // namespace numeric
