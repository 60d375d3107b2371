#include <gtest/gtest.h>

#include <clocale>
#include <cmath>

#include "expr/numeric_args.h"

namespace {

// The value of a text that must evaluate; NaN (and a test failure) when it does not.
double Num(TextView text) {
    double v = 0;
    int error = -1;
    const bool ok = EvalNumber(text, v, &error);
    EXPECT_TRUE(ok) << "text \"" << ToUtf8(text) << "\" failed with code " << error;
    return ok ? v : std::nan("");
}

// The code of a text that must fail.
int NumError(TextView text) {
    double v = 12345;
    int error = -1;
    EXPECT_FALSE(EvalNumber(text, v, &error)) << ToUtf8(text);
    EXPECT_EQ(v, 12345) << "a failure must leave the value alone";
    return error;
}

int IntError(TextView text) {
    long long v = 12345;
    int error = -1;
    EXPECT_FALSE(EvalInteger(text, v, &error)) << ToUtf8(text);
    EXPECT_EQ(v, 12345);
    return error;
}

long long Int(TextView text) {
    long long v = 0;
    int error = -1;
    EXPECT_TRUE(EvalInteger(text, v, &error)) << ToUtf8(text) << " code " << error;
    return v;
}

} // namespace

TEST(NumericArgs, IntegersAreWholeAndNameless) {
    EXPECT_EQ(Int(L"2*3"), 6);
    EXPECT_EQ(Int(L"-7"), -7);
    EXPECT_EQ(Int(L"10/4*2"), 5); // a fraction on the way is fine, only the result counts
    EXPECT_EQ(Int(L"0xFFFFFFFF"), 4294967295LL);
    EXPECT_EQ(IntError(L"2.5"), 154);
    EXPECT_EQ(IntError(L"1/0"), 154); // infinity has no whole number
    EXPECT_EQ(IntError(L"0/0"), 154);
    EXPECT_EQ(IntError(L"1e30"), 154);
    EXPECT_EQ(IntError(L"pi"), 32);
    EXPECT_EQ(IntError(L"int(2)"), 32);
    EXPECT_EQ(IntError(L"2+e"), 32);
}

TEST(NumericArgs, EdgeCasesOfTheLanguage) {
    EXPECT_EQ(NumError(L"2 pi"), 0); // text left over fails without a code
    EXPECT_EQ(Num(L"0xFF"), 255);
    EXPECT_EQ(Num(L"0XfF"), 255);
    EXPECT_EQ(Num(L"0x80000000"), 2147483648.0);
    EXPECT_EQ(Num(L"!0"), 4294967295.0);
    EXPECT_EQ(Num(L"!4294967295"), 0);
    EXPECT_EQ(Num(L"!-1"), 0); // -1 truncated to 32 bits is all ones
    EXPECT_EQ(Num(L"5&3"), 1);
    EXPECT_EQ(Num(L"5|3"), 7);
    EXPECT_EQ(Num(L"-1&255"), 255);
    EXPECT_EQ(Num(L"5.9&3.9"), 1); // both sides truncated first
    EXPECT_EQ(Num(L"7%4"), 3);
    EXPECT_EQ(Num(L"-7%4"), -3); // fmod keeps the sign of the dividend
    EXPECT_EQ(NumError(L""), 34);
    EXPECT_EQ(NumError(L" \t "), 34); // nothing but blanks is nothing
    EXPECT_EQ(NumError(L"2+"), 34);
    EXPECT_EQ(NumError(TextView()), 238);
    EXPECT_EQ(IntError(TextView()), 238);
}

TEST(NumericArgs, PrecedenceAndGrouping) {
    EXPECT_EQ(Num(L"2+3*4"), 14);
    EXPECT_EQ(Num(L"2*3+4"), 10);
    EXPECT_EQ(Num(L"10-4-3"), 3);
    EXPECT_EQ(Num(L"64/4/2"), 8);
    EXPECT_EQ(Num(L"2*3^2"), 18);
    EXPECT_EQ(Num(L"2^3^2"), 64); // ^ groups to the left
    EXPECT_EQ(Num(L"-2^2"), 4);   // the sign binds before the power
    EXPECT_EQ(Num(L"2^-1"), 0.5);
    EXPECT_EQ(Num(L"(2+3)*4"), 20);
    EXPECT_EQ(Num(L"((1))"), 1);
    EXPECT_EQ(Num(L"1+6&3"), 3);  // & shares the level of *, so 1+(6&3)
    EXPECT_EQ(Num(L"2*6|1"), 13); // and groups left with it: (2*6)|1
    EXPECT_EQ(Num(L"--3"), 3);
    EXPECT_EQ(Num(L"3--3"), 6);
    EXPECT_EQ(Num(L"-(2+3)"), -5);
    EXPECT_EQ(Num(L"!0&255"), 255);
    EXPECT_TRUE(std::isinf(Num(L"1/0"))); // no guard: the floating-point rules apply
    EXPECT_TRUE(std::isnan(Num(L"0/0")));
}

TEST(NumericArgs, NumberForms) {
    EXPECT_EQ(Num(L".5"), 0.5);
    EXPECT_EQ(Num(L"1.25e2"), 125);
    EXPECT_EQ(Num(L"5."), 5);
    EXPECT_EQ(NumError(L"."), 32);
    EXPECT_EQ(NumError(L"+1"), 32); // no unary plus
    EXPECT_EQ(NumError(L"1,5"), 0);
    EXPECT_EQ(NumError(L"0xZ"), 0);
}

TEST(NumericArgs, BlanksAreNormalisedToOne) {
    EXPECT_EQ(Num(L"  2 \t*\t\t 3  "), 6);
    EXPECT_EQ(Num(L"\t( 1 + 2 ) * 3\t"), 9);
    EXPECT_EQ(Num(L"- 4"), -4);
    EXPECT_EQ(Num(L"sqrt ( 16 )"), 4);
    EXPECT_EQ(Num(L"abs(\t-2 )"), 2);
    EXPECT_EQ(NumError(L"1 2"), 0);
    EXPECT_EQ(NumError(L"(1 2)"), 28);
}

TEST(NumericArgs, ConstantsAndFunctionNames) {
    EXPECT_DOUBLE_EQ(Num(L"pi"), M_PI);
    EXPECT_DOUBLE_EQ(Num(L"PI*2"), 2 * M_PI);
    EXPECT_DOUBLE_EQ(Num(L"e"), M_E);
    EXPECT_DOUBLE_EQ(Num(L"E^2"), M_E * M_E);
    EXPECT_DOUBLE_EQ(Num(L"sin(pi/2)"), 1);
    EXPECT_DOUBLE_EQ(Num(L"cos(0)"), 1);
    EXPECT_DOUBLE_EQ(Num(L"tan(pi/4)"), std::tan(M_PI / 4));
    EXPECT_DOUBLE_EQ(Num(L"asin(1)"), M_PI / 2);
    EXPECT_DOUBLE_EQ(Num(L"acos(-1)"), M_PI);
    EXPECT_DOUBLE_EQ(Num(L"atan(1)"), M_PI / 4);
    EXPECT_DOUBLE_EQ(Num(L"exp(1)"), M_E);
    EXPECT_DOUBLE_EQ(Num(L"log(1000)"), 3); // base 10
    EXPECT_DOUBLE_EQ(Num(L"ln(e)"), 1);
    EXPECT_TRUE(std::isinf(Num(L"log(0)")));
    EXPECT_DOUBLE_EQ(Num(L"Sqrt(2)^2"), 2);
    EXPECT_EQ(Num(L"abs(-3)"), 3);
    EXPECT_EQ(Num(L"int(-2.7)"), -2);
    EXPECT_EQ(Num(L"round(2.5)"), 3);
    EXPECT_EQ(Num(L"round(-2.5)"), -2);
    EXPECT_EQ(Num(L"floor(-2.5)"), -3);
    EXPECT_DOUBLE_EQ(Num(L"db(20)"), 10);
    EXPECT_DOUBLE_EQ(Num(L"db(-6)"), std::pow(10, -0.3));
    EXPECT_DOUBLE_EQ(Num(L"sinx(pi/2)"), 2 / M_PI);
    EXPECT_DOUBLE_EQ(Num(L"sinc(1)"), std::sin(1.0));
    EXPECT_EQ(Num(L"sinc(0)"), 1);
    EXPECT_EQ(Num(L"sign(-0.1)"), -1);
    EXPECT_EQ(Num(L"sign(0)"), 1);
    EXPECT_EQ(Num(L"bit(0)"), 1);
    EXPECT_EQ(Num(L"bit(31)"), 2147483648.0);
    EXPECT_EQ(Num(L"bit(32)"), 0);
    EXPECT_EQ(Num(L"bit(-1)"), 0);
    EXPECT_EQ(Num(L"hz2bark(0)"), 0);
    EXPECT_NEAR(Num(L"HZ2BARK(1000)"), 13 * std::atan(0.76) + 3.5 * std::atan(0.017777777777777777), 1e-12);
    EXPECT_EQ(Num(L"bark2hz(-1)"), 0);
    EXPECT_NEAR(Num(L"bark2hz(hz2bark(1000))"), 1000, 0.01);
}

TEST(NumericArgs, FunctionNamesAndArgumentCounts) {
    EXPECT_EQ(NumError(L"sine(1)"), 32); // matched in full length only
    EXPECT_EQ(NumError(L"si(1)"), 32);
    EXPECT_EQ(NumError(L"pie"), 32);
    EXPECT_EQ(NumError(L"sin"), 2);
    EXPECT_EQ(NumError(L"sin()"), 2);
    EXPECT_EQ(NumError(L"rand(1)"), 3);
    EXPECT_EQ(NumError(L"sin(1,2)"), 28);
    EXPECT_EQ(NumError(L"sin(1"), 28);
    EXPECT_EQ(NumError(L"(1+2"), 28);
    EXPECT_EQ(NumError(L"sin(1+)"), 32); // an operand cannot start with ")"
    EXPECT_EQ(NumError(L"sin(1+"), 34);
    EXPECT_EQ(NumError(L"2*)"), 32);
}

TEST(NumericArgs, GeneratorSequenceAfterASeed) {
    // SETLRAN(0.5) seeds 32768; each draw steps (25173 s + 13849) mod 65536 first.
    const double first = Num(L"setlran(0.5)");
    unsigned s = (25173u * 32768u + 13849u) % 65536u;
    EXPECT_EQ(first, s / 65536.0);
    s = (25173u * s + 13849u) % 65536u;
    EXPECT_EQ(Num(L"lran"), s / 65536.0);
    s = (25173u * s + 13849u) % 65536u;
    EXPECT_EQ(Num(L"RAND()"), 2 * (s / 65536.0 - 0.5));
    // Only the fraction of the seed counts, in absolute value.
    EXPECT_EQ(Num(L"setlran(3.5)"), first);
    for (int i = 0; i < 100; ++i) {
        const double r = Num(L"rand");
        EXPECT_GE(r, -1);
        EXPECT_LT(r, 1);
        const double l = Num(L"lran()");
        EXPECT_GE(l, 0);
        EXPECT_LT(l, 1);
    }
    const double clock = Num(L"setlran(0)"); // from the clock: only its range is known
    EXPECT_GE(clock, 0);
    EXPECT_LT(clock, 1);
}

TEST(NumericArgs, DeepNestingFailsInsteadOfOverflowing) {
    EXPECT_EQ(NumError(Text(100000, L'(')), 211);
    EXPECT_EQ(NumError(Text(100000, L'-') + L"1"), 211);
    EXPECT_EQ(Num(Text(50, L'(') + L"7" + Text(50, L')')), 7);
}

// A comma decimal mark in the process locale must not change how numbers read.
TEST(NumericArgs, NumbersIgnoreTheProcessLocale) {
    const char* set = nullptr;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "de_DE"})
        if ((set = std::setlocale(LC_ALL, name))) break;
    if (!set) GTEST_SKIP() << "no locale with a comma decimal mark is installed";
    EXPECT_EQ(Num(L"1.5*2"), 3);
    EXPECT_EQ(Num(L".25"), 0.25);
    EXPECT_EQ(NumError(L"1,5"), 0);
    std::setlocale(LC_ALL, "C");
}
