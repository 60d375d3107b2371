#include "numeric/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>
#include <vector>

using numeric::LcgGenerator;

// Expected values below were worked out from next = (25173 state + 13849) mod 65536 and
// value = 2 (state / 65536 - 0.5); e.g. from state 0 the first state is 13849 and the
// first value 2 (13849 / 65536 - 0.5) = -0.577362060546875.

TEST(LcgGenerator, SequenceFromStateZero) {
    LcgGenerator generator;
    EXPECT_EQ(generator.Step(), 13849u);
    EXPECT_EQ(generator.Step(), 48742u);
    EXPECT_EQ(generator.Step(), 31223u);
    generator.SetState(0);
    EXPECT_EQ(generator.NextSigned(), -0.577362060546875);
    EXPECT_EQ(generator.NextSigned(), 0.48748779296875);
    EXPECT_EQ(generator.NextSigned(), -0.047149658203125);
    EXPECT_EQ(generator.NextSigned(), -0.4757080078125);
    generator.SetState(0);
    EXPECT_EQ(generator.NextUnit(), 13849.0 / 65536.0);
}

TEST(LcgGenerator, SeedArgumentRule) {
    LcgGenerator generator;
    // fmod(5, 2.1778) = 0.6444; times 30092.75415556984 is 19391.77..., so the state is 19391.
    numeric::SeedFromArgument(generator, 5.0);
    EXPECT_EQ(generator.State(), 19391u);
    EXPECT_EQ(generator.NextSigned(), -0.0428466796875);
    EXPECT_EQ(generator.NextSigned(), -0.156829833984375);
    EXPECT_EQ(generator.NextSigned(), 0.54522705078125);

    // Large seeds wrap through the remainder: fmod(1e9, 2.1778) gives state 63537.
    numeric::SeedFromArgument(generator, 1e9);
    EXPECT_EQ(generator.State(), 63537u);

    // Zero, negative and NaN seeds leave the state where it was.
    generator.SetState(1234);
    for (double seed : {0.0, -3.0, std::nan("")}) {
        numeric::SeedFromArgument(generator, seed);
        EXPECT_EQ(generator.State(), 1234u);
    }
    numeric::SeedFromArgument(generator, INFINITY);
    EXPECT_LT(generator.State(), 65536u);
}

TEST(EvaluatorRandom, SameSeedRepeatsAndRandAndGRandHaveTheirOwnStates) {
    numeric::SeedFromArgument(numeric::RandGenerator(), 5.0);
    const double a[] = {numeric::RandValue(), numeric::RandValue(), numeric::RandValue()};
    EXPECT_EQ(a[0], -0.0428466796875);

    // GRand with mean 1, sigma 0.5 from seed 1.5 (state 45139): 1 plus the twelve values
    // times 0.5.
    numeric::SeedFromArgument(numeric::GRandGenerator(), 1.5);
    EXPECT_EQ(numeric::GRandGenerator().State(), 45139u);
    EXPECT_DOUBLE_EQ(numeric::GRandValue(1.0, 0.5), 1.551544189453125);
    // A sigma that is not above 0 means 1: the same draws as with sigma 1.
    numeric::SeedFromArgument(numeric::GRandGenerator(), 1.5);
    const double withOne = numeric::GRandValue(0.0, 1.0);
    numeric::SeedFromArgument(numeric::GRandGenerator(), 1.5);
    EXPECT_EQ(numeric::GRandValue(0.0, -2.0), withOne);
    EXPECT_DOUBLE_EQ(withOne, 2.0 * 0.551544189453125);

    // Drawing from GRand did not move Rand: seeding again repeats the same three.
    numeric::SeedFromArgument(numeric::RandGenerator(), 5.0);
    EXPECT_EQ(numeric::RandValue(), a[0]);
    EXPECT_EQ(numeric::RandValue(), a[1]);
    EXPECT_EQ(numeric::RandValue(), a[2]);
}

TEST(EvaluatorRandom, GRandSpreadIsTwiceSigma) {
    numeric::SeedFromArgument(numeric::GRandGenerator(), 0.7);
    const int count = 20000;
    double sum = 0, squares = 0;
    for (int i = 0; i < count; ++i) {
        const double v = numeric::GRandValue(3.0, 1.5);
        sum += v;
        squares += v * v;
    }
    const double mean = sum / count;
    const double sd = std::sqrt(squares / count - mean * mean);
    EXPECT_NEAR(mean, 3.0, 0.1);
    EXPECT_NEAR(sd, 3.0, 0.15);
}

TEST(NumberArgumentRandom, SetLRanSeedsFromTheFractionThenSteps) {
    // SETLRAN(0.5): state 32768, one step to 46617.
    EXPECT_EQ(numeric::SetLRanNumber(0.5), 46617.0 / 65536.0);
    EXPECT_EQ(numeric::LRanNumber(), 15974.0 / 65536.0);
    EXPECT_EQ(numeric::RandNumber(), 0.952850341796875);

    // Only the fraction counts.
    EXPECT_EQ(numeric::SetLRanNumber(7.5), 46617.0 / 65536.0);

    // Seeding the number arguments' generator leaves the evaluator's Rand alone.
    numeric::SeedFromArgument(numeric::RandGenerator(), 5.0);
    numeric::SetLRanNumber(0.25);
    EXPECT_EQ(numeric::RandValue(), -0.0428466796875);

    // Without a positive argument the clock seeds; the value stays in range.
    for (double x : {0.0, -1.0}) {
        const double v = numeric::SetLRanNumber(x);
        EXPECT_GE(v, 0.0);
        EXPECT_LT(v, 1.0);
    }
}

TEST(LcgGenerator, ParallelDrawsInterleaveWithoutLosingSteps) {
    LcgGenerator shared;
    LcgGenerator reference;
    const int perThread = 20000;
    auto draw = [&shared] {
        for (int i = 0; i < perThread; ++i) shared.Step();
    };
    std::thread a(draw), b(draw);
    a.join();
    b.join();
    for (int i = 0; i < 2 * perThread; ++i) reference.Step();
    EXPECT_EQ(shared.State(), reference.State());
}

TEST(SignalRandom, SeededSequencesRepeatAndHaveTheirDistribution) {
    numeric::SignalRandom a(42), b(42);
    std::vector<double> x(50000), y(50000);
    a.FillGaussian(x.data(), x.size(), 2.0, 0.5);
    b.FillGaussian(y.data(), y.size(), 2.0, 0.5);
    EXPECT_EQ(x, y);
    double sum = 0, squares = 0;
    for (double v : x) {
        sum += v;
        squares += v * v;
    }
    const double mean = sum / double(x.size());
    EXPECT_NEAR(mean, 2.0, 0.02);
    EXPECT_NEAR(std::sqrt(squares / double(x.size()) - mean * mean), 0.5, 0.02);

    a.FillUniform(x.data(), x.size(), -1.0, 3.0);
    double low = 10, high = -10;
    sum = 0;
    for (double v : x) {
        low = std::min(low, v);
        high = std::max(high, v);
        sum += v;
    }
    EXPECT_GE(low, -1.0);
    EXPECT_LT(high, 3.0);
    EXPECT_NEAR(sum / double(x.size()), 1.0, 0.03);

    // Degenerate parameters give the constant instead of undefined behaviour.
    EXPECT_EQ(a.Gaussian(1.5, 0.0), 1.5);
    EXPECT_EQ(a.Uniform(2.0, 2.0), 2.0);
}
