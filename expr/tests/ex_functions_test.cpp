// The function table and the general functions: element-wise, scales, reductions, linear
// algebra, construction, random numbers and complex columns.
#include <cmath>
#include <map>
#include <numbers>
#include <set>

#include "expr/tests/ex_functions_fixture.h"

using namespace fntest;

TEST(ExFunctionTable, HoldsEveryNameOnceSortedAndFindsThemInAnyCase) {
    size_t count = 0;
    const SExFunction* table = ExFunctions(count);
    ASSERT_EQ(count, 135u);
    std::set<Text> seen;
    for (size_t i = 0; i < count; ++i) {
        const Text name = table[i].name;
        EXPECT_TRUE(seen.insert(UpperCase(name)).second) << ToUtf8(name) << " twice";
        if (i > 0) {
            EXPECT_LT(CompareNoCase(table[i - 1].name, name), 0) << ToUtf8(name);
        }
        EXPECT_EQ(FindExFunction(name), &table[i]);
        EXPECT_EQ(FindExFunction(UpperCase(name)), &table[i]);
        EXPECT_EQ(FindExFunction(LowerCase(name)), &table[i]);
        EXPECT_NE(table[i].function, nullptr);
    }
    EXPECT_EQ(FindExFunction(L"Si"), nullptr);
    EXPECT_EQ(FindExFunction(L"Sinus"), nullptr);
    EXPECT_EQ(FindExFunction(L""), nullptr);
}

TEST(ExFunctionTable, ArgumentCountsAndAliases) {
    const std::map<Text, std::pair<int, int>> counts = {
        {L"Pi", {0, 0}},      {L"E", {0, 0}},        {L"Sin", {1, 1}},       {L"Int", {1, 2}},
        {L"Log", {1, 2}},     {L"Min", {1, -1}},     {L"Max", {1, -1}},      {L"WSum", {4, 7}},
        {L"CorrFun", {1, 4}}, {L"Mul", {2, 2}},      {L"Fill", {1, 3}},      {L"VSubC", {3, 5}},
        {L"VVGet", {1, 4}},   {L"VVSet", {2, 5}},    {L"Rand", {0, 3}},      {L"GRand", {0, 5}},
        {L"Sample", {2, 2}},  {L"Select", {4, 4}},   {L"Sort", {2, 3}},      {L"Hist", {2, 4}},
        {L"limit", {3, 3}},   {L"limitlow", {2, 2}}, {L"CSet", {2, 2}},      {L"Window", {2, 4}},
        {L"WKaiser", {1, 3}}, {L"FFT", {1, 2}},      {L"IFFT", {1, 1}},      {L"Cepstrum", {1, 3}},
        {L"DCT", {1, 3}},     {L"IPeak", {1, 6}},    {L"QInterp", {3, 4}},   {L"Smooth", {1, 4}},
        {L"ZCross", {1, 4}},  {L"Ticks2F1", {3, 5}}, {L"ASp2OSp", {3, 6}},   {L"Sig2OSp", {3, 6}},
        {L"OTrack1", {4, 6}}, {L"ZFFunc1", {4, 6}},  {L"ASeg1", {4, -1}},    {L"EM", {10, 10}},
        {L"Density", {7, 9}}, {L"RASTA", {1, 2}},    {L"FORMANTS", {5, -1}}, {L"F0AC", {2, -1}},
        {L"MBBM1", {0, -1}},  {L"MBBM2", {0, -1}},   {L"MBBM3", {0, -1}},    {L"PGTEST", {0, -1}},
        {L"Hz2Cent", {1, 3}}, {L"dB", {1, 3}},
    };
    for (const auto& [name, range] : counts) {
        const SExFunction* f = FindExFunction(name);
        ASSERT_NE(f, nullptr) << ToUtf8(name);
        EXPECT_EQ(f->minArgs, range.first) << ToUtf8(name);
        EXPECT_EQ(f->maxArgs, range.second) << ToUtf8(name);
    }
    for (auto [alias, name] : {std::pair{L"Cols", L"NCol"},
                               {L"Rows", L"NRow"},
                               {L"Avg", L"Avr"},
                               {L"Dev", L"StdDev"},
                               {L"Abs", L"Det"}}) {
        EXPECT_EQ(FindExFunction(alias)->function, FindExFunction(name)->function) << ToUtf8(alias);
    }
    EXPECT_EQ(FindExFunction(L"LPC")->outputArgs, 0b1100u);
    EXPECT_EQ(FindExFunction(L"EM")->outputArgs, 0b111110u);
    EXPECT_EQ(FindExFunction(L"SVD")->outputArgs, 0b110u);
    EXPECT_EQ(FindExFunction(L"Sin")->outputArgs, 0u);
}

// Every function on a handful of ordinary argument kits: nothing crashes, a success always
// leaves a value (FFT of short columns is the one documented exception), and only the slots
// the table marks as outputs may come back changed.
TEST(ExFunctionTable, EveryFunctionKeepsToItsOutputsAndSignalsFailureByFalse) {
    size_t count = 0;
    const SExFunction* table = ExFunctions(count);
    std::vector<double> ramp;
    for (int i = 1; i <= 16; ++i) ramp.push_back(i);
    const std::vector<std::vector<Matrix>> kits = {
        {S(3)},
        {V(ramp)},
        {M(4, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13})},
        {V({0.5, -1, 2, 0.25, 3, -2, 1, 0})},
    };
    for (size_t i = 0; i < count; ++i) {
        const SExFunction& f = table[i];
        const int max = f.maxArgs < 0 ? f.minArgs + 4 : f.maxArgs;
        for (int argc = f.minArgs; argc <= max; ++argc) {
            for (const auto& kit : kits) {
                std::vector<Matrix> args;
                for (int a = 0; a < argc; ++a) args.push_back(a == 0 ? kit[0] : S(a + 1));
                std::vector<Matrix*> slots;
                for (Matrix& m : args) slots.push_back(&m);
                Matrix result;
                const bool ok = f.function(argc, slots.data(), result);
                if (ok && !EqualNoCase(f.name, L"FFT")) {
                    EXPECT_FALSE(result.IsEmpty()) << ToUtf8(f.name);
                }
                for (int a = 0; a < argc; ++a) {
                    if (args[a].Changed()) {
                        EXPECT_TRUE(f.outputArgs >> a & 1) << ToUtf8(f.name) << " argument " << a;
                    }
                }
            }
        }
    }
}

TEST(ExFunctionElementwise, RoundingKeepsItsHalfUpTruncation) {
    ExpectNear(E(Call(L"Round", {V({2.5, -2.5, -0.7, -1.5, 1.49})})), {3, -2, 0, -1, 1}, 0);
    ExpectNear(E(Call(L"Int", {V({-2.7, 2.7, -2.5})})), {-2, 2, -2}, 0);
    ExpectNear(E(Call(L"Int", {V({-2.7, 2.7, -2.5}), S(1)})), {-2, 3, -2}, 0);
    ExpectNear(E(Call(L"Int", {V({-2.7, 2.7, -2.5}), S(2)})), {-3, 2, -3}, 0);
    EXPECT_EQ(Scalar(L"Floor", {S(-0.5)}), -1);
}

TEST(ExFunctionElementwise, ShapeIsKeptAndPointFunctionsHoldTheirLimits) {
    const Matrix m = Call(L"Absv", {M(2, 3, {-1, 2, -3, 4, -5, 6})});
    EXPECT_EQ(m.Rows(), 2);
    EXPECT_EQ(m.Cols(), 3);
    EXPECT_EQ(m(1, 2), 6);
    EXPECT_EQ(m(0, 2), 3);
    ExpectNear(E(Call(L"Sign", {V({0, -0.1, 5})})), {1, -1, 1}, 0);
    EXPECT_EQ(Scalar(L"SinX", {S(0)}), 1);
    EXPECT_NEAR(Scalar(L"SinC", {S(std::numbers::pi / 2)}), 2 / std::numbers::pi, 1e-15);
    EXPECT_NEAR(Scalar(L"ATan", {S(1)}), std::numbers::pi / 4, 1e-15);
    EXPECT_EQ(Scalar(L"Pi"), 2 * std::asin(1.0));
    EXPECT_EQ(Scalar(L"E"), std::exp(1.0));
}

TEST(ExFunctionElementwise, LogarithmsFloorTheirInputAndCheckTheBase) {
    EXPECT_NEAR(Scalar(L"Log", {S(0)}), -307.6526555685888, 1e-9);
    EXPECT_NEAR(Scalar(L"Log", {S(-5)}), -307.6526555685888, 1e-9);
    EXPECT_NEAR(Scalar(L"Ln", {S(0)}), std::log(2.2250738585072014e-308), 1e-9);
    EXPECT_NEAR(Scalar(L"Ld", {S(8)}), 3, 1e-15);
    EXPECT_NEAR(Scalar(L"Log", {S(81), S(3)}), 4, 1e-14);
    EXPECT_NEAR(Scalar(L"Log", {S(1000)}), 3, 1e-15);
    EXPECT_TRUE(Fails(L"Log", {S(2), S(1)}));
    EXPECT_TRUE(Fails(L"Log", {S(2), S(0.5)}));
    EXPECT_TRUE(Fails(L"Log", {S(2), V({2, 3})}));
}

TEST(ExFunctionElementwise, SqrtIsThePowerOperatorWithItsGuard) {
    EXPECT_EQ(Scalar(L"Sqrt", {S(6.25)}), 2.5);
    // A short column takes the guarded power: a negative base truncates 0.5 to 0.
    EXPECT_EQ(Scalar(L"Sqrt", {S(-4)}), 1);
    std::vector<double> tenRows(10, 4.0);
    tenRows[3] = -4;
    const auto longColumn = E(Call(L"Sqrt", {V(tenRows)}));
    EXPECT_EQ(longColumn[0], 2);
    EXPECT_TRUE(std::isnan(longColumn[3]));
}

TEST(ExFunctionScales, LimitsRoundTripsAndTheInexactErbPair) {
    EXPECT_EQ(Scalar(L"Hz2Bark", {S(0)}), 0);
    EXPECT_EQ(Scalar(L"Hz2Mel", {S(-1)}), 0);
    EXPECT_EQ(Scalar(L"Hz2Cent", {S(0)}), -1000000);
    EXPECT_EQ(Scalar(L"Cent2Hz", {S(-1000000)}), 0);
    EXPECT_EQ(Scalar(L"Bark2Hz", {S(-2)}), 0);
    EXPECT_NEAR(Scalar(L"Hz2Mel", {S(1000)}), 1000, 0.05); // the mel scale's anchor
    EXPECT_NEAR(Scalar(L"Mel2Hz", {S(Scalar(L"Hz2Mel", {S(1234)}))}), 1234, 1e-9);
    EXPECT_NEAR(Scalar(L"Bark2Hz", {S(Scalar(L"Hz2Bark", {S(1000)}))}), 1000, 0.01);
    EXPECT_NEAR(Scalar(L"Hz2Bark", {S(1000)}), 8.51, 0.005); // Zwicker's table: 1 kHz lies at 8.5 Bark
    const double erb = Scalar(L"Hz2ERB", {S(1000)});
    EXPECT_NEAR(erb, 14.16, 0.005);
    // The inverse uses 0.06 where 1 / 16.7 would undo the forward scale: no round trip.
    EXPECT_GT(std::fabs(Scalar(L"ERB2Hz", {S(erb)}) - 1000), 1.0);
}

TEST(ExFunctionScales, CentAndLevelScalesWithTheirParameters) {
    EXPECT_NEAR(Scalar(L"Hz2Cent", {S(880)}), 1200, 1e-9);
    EXPECT_NEAR(Scalar(L"Hz2Cent", {S(200), S(100), S(5)}), 1205, 1e-9);
    // A parameter that is not a scalar falls back to its default.
    EXPECT_NEAR(Scalar(L"Hz2Cent", {S(880), V({1, 2})}), 1200, 1e-9);
    EXPECT_EQ(Scalar(L"Hz2Cent", {S(100), S(-1)}), -1000000);
    EXPECT_NEAR(Scalar(L"Cent2Hz", {S(1200)}), 880, 1e-9);
    EXPECT_NEAR(Scalar(L"Cent2Hz", {S(1205), S(100), S(5)}), 200, 1e-9);
    EXPECT_NEAR(Scalar(L"Lin2Log", {S(10)}), 20, 1e-12);
    EXPECT_NEAR(Scalar(L"Lin2Log", {S(100), S(10), S(10)}), 10, 1e-12);
    EXPECT_EQ(Scalar(L"Lin2Log", {S(0)}), -1000000);
    EXPECT_EQ(Scalar(L"Lin2Log", {S(5), S(1), S(0)}), -1000000);
    EXPECT_NEAR(Scalar(L"Log2Lin", {S(20)}), 10, 1e-12);
    EXPECT_NEAR(Scalar(L"dB", {S(6), S(2), S(20)}), 2 * std::pow(10.0, 0.3), 1e-12);
    EXPECT_EQ(Scalar(L"dB", {S(-1000000)}), 0);
    EXPECT_EQ(Scalar(L"Log2Lin", {S(3), S(-1)}), 0);
}

TEST(ExFunctionElementwise, LimitClampsByScalarsOrPerElementBounds) {
    ExpectNear(E(Call(L"limit", {V({-2, 0.5, 7}), S(0), S(1)})), {0, 0.5, 1}, 0);
    ExpectNear(E(Call(L"limit", {V({-2, 0.5, 7}), V({-3, 1, 0}), S(5)})), {-2, 1, 5}, 0);
    ExpectNear(E(Call(L"limitlow", {V({-2, 0.5, 7}), S(0)})), {0, 0.5, 7}, 0);
    ExpectNear(E(Call(L"limithigh", {V({-2, 0.5, 7}), S(0)})), {-2, 0, 0}, 0);
    EXPECT_TRUE(Fails(L"limit", {V({1, 2, 3}), V({1, 2}), S(5)}));
}

TEST(ExFunctionReduction, ShapesExtremesAndSums) {
    const Matrix m = M(4, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    EXPECT_EQ(Scalar(L"NCol", {m}), 3);
    EXPECT_EQ(Scalar(L"Rows", {m}), 4);
    EXPECT_EQ(Scalar(L"NRow", {Call(L"Init", {S(1), S(3)})}), 3); // there is no row vector
    EXPECT_EQ(Scalar(L"Min", {S(1)}), 1);
    EXPECT_EQ(Scalar(L"Max", {S(1)}), 1);
    EXPECT_EQ(Scalar(L"IMin", {S(1)}), 0);
    EXPECT_EQ(Scalar(L"Max", {m, S(20), V({-1, 3})}), 20);
    EXPECT_EQ(Scalar(L"Min", {m, S(20), V({-1, 3})}), -1);
    EXPECT_EQ(Scalar(L"IMax", {V({1, 5, 2, 5})}), 1);
    EXPECT_EQ(Scalar(L"IMin", {m}), 0);
    EXPECT_EQ(Scalar(L"IMax", {m}), 11); // flat index, column by column
    EXPECT_EQ(Scalar(L"Sum", {m}), 78);
    // Sum per bin: values from 1 up to below 4, and from 4 up to below 10.
    ExpectNear(E(Call(L"Sum", {m, V({1, 4, 10})})), {6, 39}, 0);
    ExpectNear(E(Call(L"Sum", {m, M(2, 2, {0, 3, 10, 100})})), {3, 33}, 0);
    EXPECT_TRUE(Fails(L"Sum", {m, S(3)}));
}

TEST(ExFunctionReduction, WeightedSumsSlideTheirKernel) {
    const Matrix x = V({1, 2, 3, 4, 5, 6});
    ExpectNear(E(Call(L"WSum", {x, V({1, 1}), S(0), S(2)})), {3, 7, 11}, 1e-15);
    ExpectNear(E(Call(L"WSum", {x, V({1, 3}), S(1), S(2), S(1)})), {2.75, 4.75}, 1e-15);
    EXPECT_NEAR(Scalar(L"WSum", {x, V({1, 1}), S(3), S(1), S(0), S(1)}), std::sqrt(2.5), 1e-15);
    ExpectNear(E(Call(L"WSum", {x, S(2), S(2), S(5), S(0), S(2), S(0.5)})), {1, 36}, 1e-15);
    EXPECT_TRUE(Fails(L"WSum", {x, V({1, 1}), S(4), S(1)}));
    EXPECT_TRUE(Fails(L"WSum", {x, V({1, -1}), S(1), S(1)}));
    EXPECT_TRUE(Fails(L"WSum", {x, V({1, 1}), S(0), S(1), S(0), S(6)}));
}

TEST(ExFunctionStatistics, MeansVariancesAndCorrelation) {
    const Matrix m = M(3, 2, {1, 10, 2, 20, 6, 60});
    EXPECT_EQ(Scalar(L"Avr", {m}), 16.5);
    EXPECT_EQ(Scalar(L"Avg", {m, S(1)}), 30);
    EXPECT_TRUE(Fails(L"Avr", {m, S(2)}));
    EXPECT_TRUE(Fails(L"Var", {S(4)}));
    EXPECT_NEAR(Scalar(L"Var", {V({1, 2, 3, 4})}), 5.0 / 3, 1e-15);
    EXPECT_NEAR(Scalar(L"Var", {V({1, 2, 3, 4}), V({2, 4, 6, 8})}), 10.0 / 3, 1e-15);
    EXPECT_TRUE(Fails(L"Var", {V({1, 2, 3}), V({1, 2})}));
    EXPECT_EQ(Scalar(L"StdDev", {S(1)}), 0);
    EXPECT_NEAR(Scalar(L"Dev", {V({1, 2, 3, 4})}), std::sqrt(5.0 / 3), 1e-15);
    EXPECT_NEAR(Scalar(L"Corr", {V({1, 2, 3}), V({-2, -4, -6})}), -1, 1e-15);
    const Matrix c = Call(L"Corr", {M(4, 3, {1, 2, 0, 2, 4, 1, 3, 6, 0, 4, 8, 1})});
    ASSERT_EQ(c.Rows(), 3);
    EXPECT_NEAR(c(0, 1), 1, 1e-15);
    EXPECT_NEAR(c(2, 2), 1, 1e-15);
    EXPECT_NEAR(c(0, 2), c(2, 0), 0);
    EXPECT_NEAR(c(0, 2), Scalar(L"Corr", {V({1, 2, 3, 4}), V({0, 1, 0, 1})}), 1e-15);
    EXPECT_TRUE(Fails(L"Corr", {V({1, 2, 3}), V({5, 5, 5})}));
}

TEST(ExFunctionStatistics, CorrelationFunctionLagsAndScaling) {
    const Matrix x = V({1, 2, 3, 4});
    ExpectNear(E(Call(L"CorrFun", {x})), {30, 20}, 0);
    ExpectNear(E(Call(L"CorrFun", {x, S(4)})), {30, 20, 11, 4}, 0);
    ExpectNear(E(Call(L"CorrFun", {x, S(3), S(1)})), {7.5, 5, 2.75}, 1e-15);
    ExpectNear(E(Call(L"CorrFun", {x, S(3), S(2)})), {7.5, 20.0 / 3, 5.5}, 1e-15);
    // Lag k pairs x[i] with y[i + k].
    ExpectNear(E(Call(L"CorrFun", {x, V({0, 1, 0, 0}), S(2)})), {2, 1}, 0);
    EXPECT_TRUE(Fails(L"CorrFun", {x, S(5)}));
    EXPECT_TRUE(Fails(L"CorrFun", {x, S(0)}));
    EXPECT_TRUE(Fails(L"CorrFun", {x, V({1, 2})}));
}

TEST(ExFunctionLinearAlgebra, DeterminantsTransposeProductAndInverse) {
    const Matrix a = M(3, 3, {2, 0, 1, 1, 3, 2, 1, 1, 2});
    EXPECT_NEAR(Scalar(L"Det", {a}), 6, 1e-12);
    EXPECT_NEAR(Scalar(L"QDet", {a}), 6, 1e-12);
    EXPECT_NEAR(Scalar(L"QDet", {M(2, 2, {1, 2, 3, 4})}), -2, 1e-12);
    EXPECT_EQ(Scalar(L"Abs", {S(-3)}), 3);
    EXPECT_EQ(Scalar(L"Abs", {V({3, 4})}), 5);
    EXPECT_TRUE(Fails(L"QDet", {S(2)}));
    EXPECT_TRUE(Fails(L"QDet", {M(2, 3, {1, 2, 3, 4, 5, 6})}));
    EXPECT_TRUE(Fails(L"Det", {M(2, 3, {1, 2, 3, 4, 5, 6})}));
    const Matrix t = Call(L"Trn", {M(2, 3, {1, 2, 3, 4, 5, 6})});
    ASSERT_EQ(t.Rows(), 3);
    EXPECT_EQ(t(2, 1), 6);
    const Matrix identity = Call(L"Mul", {a, Call(L"Inv", {a})});
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(identity(r, c), r == c, 1e-12);
    }
    EXPECT_EQ(Scalar(L"Mul", {V({1, 2}), V({3, 4})}), 11);
    EXPECT_TRUE(Fails(L"Mul", {V({1, 2}), a}));
    EXPECT_TRUE(Fails(L"Inv", {M(2, 2, {1, 2, 2, 4})}));
}

TEST(ExFunctionLinearAlgebra, GramMatrixWithAndWithoutWeights) {
    const Matrix h = M(3, 2, {1, 2, 3, 4, 5, 6});
    const Matrix g = Call(L"HTH", {h});
    ExpectNear(E(g), {35, 44, 44, 56}, 1e-12);
    const Matrix w = Call(L"HTH", {h, V({1, 0, 2})});
    ExpectNear(E(w), {51, 62, 62, 76}, 1e-12);
    EXPECT_EQ(Scalar(L"HTH", {V({3, 4})}), 25);
    EXPECT_TRUE(Fails(L"HTH", {h, V({1, 2})}));
}

TEST(ExFunctionLinearAlgebra, SingularValuesAndVectorsRebuildTheMatrix) {
    EXPECT_EQ(Scalar(L"SVD", {S(-2)}), 2);
    ExpectNear(E(Call(L"SVD", {M(2, 2, {3, 0, 4, 5})})), {3 * std::sqrt(5.0), std::sqrt(5.0)}, 1e-12);
    for (const Matrix& a : {M(3, 2, {1, 2, 3, 4, 5, 7}), M(2, 3, {1, 2, 3, 4, 5, 7})}) {
        std::vector<Matrix> args = {a, S(0), S(0)};
        Matrix s;
        ASSERT_TRUE(Invoke(L"SVD", args, s));
        const Matrix &u = args[1], &v = args[2];
        EXPECT_TRUE(u.Changed());
        EXPECT_TRUE(v.Changed());
        ASSERT_EQ(s.Rows(), 2);
        EXPECT_GT(s(0), s(1));
        ASSERT_EQ(u.Rows(), a.Rows());
        ASSERT_EQ(v.Rows(), a.Cols());
        for (int r = 0; r < a.Rows(); ++r) {
            for (int c = 0; c < a.Cols(); ++c) {
                double sum = 0;
                for (int k = 0; k < 2; ++k) sum += u(r, k) * s(k) * v(c, k);
                EXPECT_NEAR(sum, a(r, c), 1e-12);
            }
        }
    }
}

TEST(ExFunctionLinearAlgebra, DistancesBetweenPoints) {
    EXPECT_EQ(Scalar(L"Dist", {S(2), S(-3)}), 5);
    EXPECT_EQ(Scalar(L"Dist", {V({0, 0}), V({3, 4})}), 5);
    const Matrix pairs = Call(L"Dist", {M(3, 2, {0, 0, 3, 4, 6, 8})});
    ASSERT_EQ(pairs.Rows(), 3);
    EXPECT_EQ(pairs(0, 2), 10);
    EXPECT_EQ(pairs(1, 1), 0);
    const Matrix cross = Call(L"Dist", {M(2, 2, {0, 0, 1, 1}), M(3, 2, {0, 1, 1, 0, 4, 5})});
    ASSERT_EQ(cross.Rows(), 2);
    ASSERT_EQ(cross.Cols(), 3);
    EXPECT_EQ(cross(1, 2), 5);
    EXPECT_TRUE(Fails(L"Dist", {V({1, 2}), V({1, 2, 3})}));
}

TEST(ExFunctionConstruction, FillAndInit) {
    ExpectNear(E(Call(L"Fill", {S(3)})), {0, 0, 0}, 0);
    ExpectNear(E(Call(L"Fill", {S(3), S(1), S(2)})), {1, 3, 5}, 0);
    ExpectNear(E(Call(L"Fill", {V({9, 9, 9, 9}), S(1), S(1)})), {1, 2, 3, 4}, 0);
    EXPECT_EQ(Scalar(L"Fill", {S(1.9), S(7)}), 7);
    EXPECT_TRUE(Fails(L"Fill", {S(0)}));
    const Matrix m = Call(L"Init", {S(2), S(3), S(7)});
    EXPECT_EQ(m.Rows(), 2);
    EXPECT_EQ(m.Cols(), 3);
    EXPECT_EQ(Scalar(L"Sum", {m}), 42);
    EXPECT_TRUE(Fails(L"Init", {S(0)}));
    EXPECT_TRUE(Fails(L"Init", {S(2), S(-1)}));
}

TEST(ExFunctionConstruction, PartsOfVectors) {
    const Matrix v = V({5, -1, 3, 8, 0});
    ExpectNear(E(Call(L"VSubC", {v, S(0), S(3)})), {-1, 0}, 0);
    ExpectNear(E(Call(L"VSubC", {v, S(1), S(3)})), {5, 3, 8}, 0);
    ExpectNear(E(Call(L"VSubC", {v, S(2), S(0), S(5)})), {3, 0}, 0);
    ExpectNear(E(Call(L"VSubC", {v, S(2), S(0), S(5), S(1)})), {2, 4}, 0);
    EXPECT_TRUE(Fails(L"VSubC", {v, S(0), S(-5)}));
    EXPECT_TRUE(Fails(L"VSubC", {v, S(3), S(0)}));
    const Matrix n = Call(L"VSubN", {M(4, 2, {1, 10, 2, 20, 3, 30, 4, 40}), S(1), S(2)});
    ASSERT_EQ(n.Rows(), 2);
    EXPECT_EQ(n(1, 1), 30);
    EXPECT_TRUE(Fails(L"VSubN", {v, S(1), S(1)}));
    EXPECT_TRUE(Fails(L"VSubN", {v, S(4)}));
    ExpectNear(E(Call(L"VVGet", {v, S(1), S(2)})), {-1, 8}, 0);
    ExpectNear(E(Call(L"VVGet", {v, S(4), S(-2)})), {0, 3, 5}, 0);
    ExpectNear(E(Call(L"VVGet", {v, S(1), S(1), S(2)})), {-1, 3}, 0);
    std::vector<Matrix> outside = {v, S(3), S(1), S(3)};
    Matrix emptied = S(1);
    EXPECT_FALSE(Invoke(L"VVGet", outside, emptied));
    EXPECT_TRUE(emptied.IsEmpty());
    EXPECT_TRUE(Fails(L"VVGet", {v, S(0), S(0)}));
    ExpectNear(E(Call(L"VVSet", {v, S(9), S(0), S(2)})), {9, -1, 9, 8, 9}, 0);
    ExpectNear(E(Call(L"VVSet", {v, V({7, 6}), S(3)})), {5, -1, 3, 7, 6}, 0);
    EXPECT_TRUE(Fails(L"VVSet", {v, V({7, 6}), S(4)}));
}

TEST(ExFunctionConstruction, AppendInterleaveAndStack) {
    ExpectNear(E(Call(L"VV", {S(1), V({2, 3}), S(4)})), {1, 2, 3, 4}, 0);
    EXPECT_TRUE(Fails(L"VV", {S(1), M(2, 2, {1, 2, 3, 4})}));
    ExpectNear(E(Call(L"VVCat", {V({1, 2, 3}), V({10, 20, 30})})), {1, 10, 2, 20, 3, 30}, 0);
    ExpectNear(E(Call(L"VVCat", {V({1, 2}), S(0)})), {1, 0, 2, 0}, 0);
    EXPECT_TRUE(Fails(L"VVCat", {V({1, 2}), V({1, 2, 3})}));
    const Matrix cols = Call(L"VMCol", {M(2, 2, {1, 2, 3, 4}), V({5, 6})});
    ASSERT_EQ(cols.Cols(), 3);
    EXPECT_EQ(cols(1, 2), 6);
    EXPECT_TRUE(Fails(L"VMCol", {V({1, 2}), V({1, 2, 3})}));
    const Matrix rows = Call(L"VMRow", {V({1, 2, 3}), M(2, 3, {4, 5, 6, 7, 8, 9})});
    ASSERT_EQ(rows.Rows(), 3);
    ASSERT_EQ(rows.Cols(), 3);
    EXPECT_EQ(rows(0, 2), 3);
    EXPECT_EQ(rows(2, 0), 7);
    ExpectNear(E(Call(L"VMRow", {S(1), S(2)})), {1, 2}, 0);
    EXPECT_TRUE(Fails(L"VMRow", {V({1, 2}), V({1, 2, 3})}));
}

TEST(ExFunctionConstruction, InterpolationKeepsTheEnds) {
    ExpectNear(E(Call(L"Interp", {V({0, 10, 20}), S(5)})), {0, 5, 10, 15, 20}, 1e-12);
    ExpectNear(E(Call(L"Interp", {V({0, 3, 1, 7}), S(3)})), {0, 2, 7}, 1e-12);
    ExpectNear(E(Call(L"Interp", {V({0, 10, 20, 30}), S(3), S(1), S(2)})), {10, 15, 20}, 1e-12);
    EXPECT_TRUE(Fails(L"Interp", {V({0, 1}), S(1)}));
    EXPECT_TRUE(Fails(L"Interp", {V({0, 1}), S(3), S(0), S(4)}));
}

TEST(ExFunctionRandom, RandFollowsItsGeneratorExactly) {
    auto lcg = [](uint32_t s) { return (25173u * s + 13849u) % 65536u; };
    const Matrix first = Call(L"Rand", {S(5), S(3)});
    const Matrix again = Call(L"Rand", {S(5), S(3)});
    ASSERT_EQ(first.Rows(), 3);
    EXPECT_EQ(E(first), E(again));
    uint32_t state = uint32_t(std::fmod(5.0, 2.1778) * 30092.75415556984);
    for (double x : E(first)) {
        state = lcg(state);
        EXPECT_EQ(x, 2 * (state / 65536.0 - 0.5));
    }
    // Without a seed it moves on from where the last call stopped.
    state = lcg(state);
    EXPECT_EQ(Scalar(L"Rand"), 2 * (state / 65536.0 - 0.5));
    EXPECT_NE(Scalar(L"Rand"), Scalar(L"Rand"));
    const Matrix block = Call(L"Rand", {S(0), S(40), S(3)});
    EXPECT_EQ(block.Cols(), 3);
    for (double x : E(block)) {
        EXPECT_GE(x, -1);
        EXPECT_LT(x, 1);
    }
    EXPECT_TRUE(Fails(L"Rand", {S(1), S(0)}));
}

TEST(ExFunctionRandom, GRandSpreadsTwiceItsSigma) {
    auto spread = [](const Matrix& m, double& mean) {
        mean = Scalar(L"Avr", {m});
        return Scalar(L"StdDev", {m});
    };
    double mean;
    EXPECT_NEAR(spread(Call(L"GRand", {S(0), S(1), S(7), S(4000)}), mean), 2.0, 0.1);
    EXPECT_NEAR(mean, 0, 0.1);
    EXPECT_NEAR(spread(Call(L"GRand", {S(10), S(0.5), S(3), S(4000)}), mean), 1.0, 0.05);
    EXPECT_NEAR(mean, 10, 0.05);
    EXPECT_NEAR(spread(Call(L"GRand", {S(0), S(-3), S(9), S(4000)}), mean), 2.0, 0.1);
    EXPECT_EQ(E(Call(L"GRand", {S(1), S(2), S(1.5), S(4)})), E(Call(L"GRand", {S(1), S(2), S(1.5), S(4)})));
}

TEST(ExFunctionRandom, SampleDrawsDifferentPlaces) {
    auto all = E(Call(L"Sample", {S(10), S(10)}));
    std::sort(all.begin(), all.end());
    ExpectNear(all, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 0);
    const auto few = E(Call(L"Sample", {S(100000), S(50)}));
    EXPECT_EQ(std::set<double>(few.begin(), few.end()).size(), 50u);
    EXPECT_TRUE(Fails(L"Sample", {S(5), S(6)}));
    EXPECT_TRUE(Fails(L"Sample", {S(5), S(0)}));
}

TEST(ExFunctionConstruction, SelectSortMedianAndHistogram) {
    ExpectNear(E(Call(L"Select", {V({1, 5, 3}), S(3), S(0), V({7, 8, 9})})), {0, 8, 0}, 0);
    EXPECT_TRUE(Fails(L"Select", {V({1, 5, 3}), V({1, 2}), S(0), S(1)}));
    const Matrix m = M(3, 2, {3, 10, 1, 30, 2, 20});
    ExpectNear(E(Call(L"Sort", {S(0), V({3, 1, 2})})), {1, 2, 3}, 0);
    ExpectNear(E(Call(L"Sort", {S(1), m})), {3, 2, 1, 30, 20, 10}, 0);
    // With a key the rows move together.
    ExpectNear(E(Call(L"Sort", {S(0), m, S(1)})), {3, 2, 1, 10, 20, 30}, 0);
    ExpectNear(E(Call(L"Sort", {S(3), M(2, 3, {1, 3, 2, 9, 7, 8})})), {3, 9, 2, 8, 1, 7}, 0);
    ExpectNear(E(Call(L"Sort", {S(2), M(2, 3, {1, 3, 2, 9, 7, 8}), S(1)})), {3, 7, 2, 8, 1, 9}, 0);
    EXPECT_TRUE(Fails(L"Sort", {S(4), m}));
    EXPECT_TRUE(Fails(L"Sort", {S(0), m, S(2)}));
    EXPECT_EQ(Scalar(L"Median", {V({5, 1, 3})}), 3);
    EXPECT_EQ(Scalar(L"Median", {V({4, 1, 3, 2})}), 2.5);
    EXPECT_EQ(Scalar(L"Median", {V({4, 1, 3, 2}), S(1)}), 4);
    EXPECT_EQ(Scalar(L"Median", {V({4, 1, 3, 2}), S(0)}), 1);
    EXPECT_TRUE(Fails(L"Median", {V({1, 2}), S(1.5)}));
    const Matrix x = V({0, 0.5, 1, 1.5, 2, 2, 3});
    ExpectNear(E(Call(L"Hist", {x, S(0), S(3), S(3)})), {2, 2, 2}, 0);
    ExpectNear(E(Call(L"Hist", {x, V({0, 2, 4})})), {4, 3}, 0);
    ExpectNear(E(Call(L"Hist", {x, V({1, 0}), V({3, 1})})), {4, 2}, 0);
    EXPECT_TRUE(Fails(L"Hist", {x, S(3), S(3), S(2)}));
    EXPECT_TRUE(Fails(L"Hist", {x, S(3)}));
}

TEST(ExFunctionComplex, OddColumnsFailTheWholeFamily) {
    const Matrix odd = V({1, 2, 3});
    const Matrix even = V({1, 2, 3, 4});
    for (const wchar_t* name : {L"CR2P", L"CP2R", L"CR2Len", L"CR2Phi", L"CGet", L"Conj", L"CTrn"}) {
        EXPECT_TRUE(Fails(name, {odd})) << ToUtf8(name);
        EXPECT_FALSE(Fails(name, {even})) << ToUtf8(name);
    }
    for (const wchar_t* name : {L"CDot", L"CMul", L"CMulV"}) {
        EXPECT_TRUE(Fails(name, {odd, odd})) << ToUtf8(name);
        EXPECT_TRUE(Fails(name, {even, odd})) << ToUtf8(name);
        EXPECT_FALSE(Fails(name, {even, even})) << ToUtf8(name);
    }
    EXPECT_TRUE(Fails(L"CR2P", {S(1)}));
}

TEST(ExFunctionComplex, PolarFormMagnitudesAndParts) {
    const Matrix z = V({3, 4, 0, -2});
    const Matrix p = Call(L"CR2P", {z});
    ExpectNear(E(p), {5, std::atan2(4, 3), 2, -std::numbers::pi / 2}, 1e-15);
    ExpectNear(E(Call(L"CP2R", {p})), E(z), 1e-14);
    ExpectNear(E(Call(L"CR2Len", {z})), {5, 2}, 1e-15);
    ExpectNear(E(Call(L"CR2Phi", {z})), {std::atan2(4, 3), -std::numbers::pi / 2}, 1e-15);
    // Two rows make one item per column.
    ExpectNear(E(Call(L"CR2Len", {M(2, 3, {3, 0, 1, 4, 2, 0})})), {5, 2, 1}, 1e-15);
    const Matrix c = Call(L"CSet", {M(2, 2, {1, 2, 3, 4}), M(2, 2, {5, 6, 7, 8})});
    ASSERT_EQ(c.Rows(), 4);
    ASSERT_EQ(c.Cols(), 2);
    ExpectNear(E(c), {1, 5, 3, 7, 2, 6, 4, 8}, 0);
    ExpectNear(E(Call(L"CGet", {c})), {1, 3, 2, 4}, 0);
    ExpectNear(E(Call(L"CGet", {c, S(1)})), {5, 7, 6, 8}, 0);
    EXPECT_TRUE(Fails(L"CGet", {c, S(2)}));
    EXPECT_TRUE(Fails(L"CSet", {V({1, 2}), V({1, 2, 3})}));
    ExpectNear(E(Call(L"Conj", {z})), {3, -4, 0, 2}, 0);
}

TEST(ExFunctionComplex, ProductsAndTheConjugateTranspose) {
    const Matrix a = V({1, 2, 3, -1});                   // 1+2i, 3-i
    const Matrix b = V({0, 1, 2, 2});                    // i, 2+2i
    ExpectNear(E(Call(L"CDot", {a, b})), {6, 9}, 1e-15); // conj(a) . b
    ExpectNear(E(Call(L"CMul", {a, b})), {6, 5}, 1e-15); // a . b
    ExpectNear(E(Call(L"CMulV", {a, b})), {-2, 1, 8, 4}, 1e-15);
    ExpectNear(E(Call(L"CMulV", {a, V({0, 1})})), {-2, 1, 1, 3}, 1e-15);
    ExpectNear(E(Call(L"CMul", {V({2, 0}), a})), {2, 4, 6, -2}, 1e-15);
    const Matrix row = Call(L"CTrn", {a});
    ASSERT_EQ(row.Rows(), 2);
    ASSERT_EQ(row.Cols(), 2);
    ExpectNear(E(row), {1, -2, 3, 1}, 0);
    // [[1, i], [2, 1-i]] times [1+i, 2]: [1+3i, 4-2i].
    const Matrix m = M(4, 2, {1, 0, 0, 1, 2, 1, 0, -1});
    const Matrix product = Call(L"CMul", {m, V({1, 1, 2, 0})});
    ExpectNear(E(product), {1, 3, 4, 0}, 1e-15);
    ExpectNear(E(Call(L"CTrn", {m})), {1, 0, 0, -1, 2, 0, 1, 1}, 0);
    EXPECT_TRUE(Fails(L"CMul", {m, V({1, 1, 2, 0, 1, 1})}));
}
