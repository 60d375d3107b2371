// Element-wise functions, logarithms, constants and the frequency and level scales. Every
// result has the shape of the first argument.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "expr/ex_functions_internal.h"
#include "numeric/vector_kernels.h"

using namespace exfn;

namespace {

// Zero and negative input to a logarithm is raised to this, so that it gives a large
// negative number instead of a failure.
constexpr double kLogFloor = 2.2250738585072014e-308;
// The level scales' stand-in for minus infinity.
constexpr double kLogMinimum = -1e6;

template <class F> bool Map(int argc, Matrix* args[], Matrix& result, F f) {
    if (!Given(argc, args, 0)) return false;
    Matrix out(*args[0]);
    for (double& x : out.Elements()) x = f(x);
    result = std::move(out);
    return true;
}

double Round(double x) {
    // Half a unit up and then toward zero: -0.7 gives 0 and -2.5 gives -2. Macros rely on it.
    return std::trunc(x + 0.5);
}

double SinX(double x) {
    return x == 0.0 ? 1.0 : std::sin(x) / x;
}

double Hz2Bark(double f) {
    return HzToBark(f);
}

double Bark2Hz(double z) {
    return BarkToHz(z);
}

double Hz2Mel(double f) {
    return f <= 0 ? 0 : 2595.0 * std::log10(1.0 + f / 700.0);
}
double Mel2Hz(double m) {
    return m <= 0 ? 0 : 700.0 * (std::pow(10.0, m / 2595.0) - 1.0);
}
double Hz2ERB(double f) {
    return f <= 0 ? 0 : 16.7 * std::log10(1.0 + f / 165.4);
}
// 0.06 is not 1/16.7: the pair does not invert exactly, and stored values depend on that.
double ERB2Hz(double e) {
    return e <= 0 ? 0 : 165.4 * (std::pow(10.0, 0.06 * e) - 1.0);
}

// ln of every element after raising it to the floor, divided by `divisor` unless it is 1.
bool Logarithm(const Matrix& x, double divisor, Matrix& result) {
    if (x.IsEmpty()) return false;
    Matrix out(x);
    numeric::ThresholdLow(out.Data(), kLogFloor, out.Data(), out.Size());
    numeric::Ln(out.Data(), out.Data(), out.Size());
    if (divisor != 1.0) numeric::DivideConstant(out.Data(), divisor, out.Data(), out.Size());
    result = std::move(out);
    return true;
}

// A bound of limit: a scalar for every element, or one value per element.
bool Bound(const Matrix& x, const Matrix& bound, std::vector<double>& values) {
    if (bound.IsScalar()) {
        values.assign(x.Size(), bound.Scalar());
        return true;
    }
    if (bound.Size() != x.Size()) return false;
    values = Flat(bound);
    return true;
}

bool Clamp(const Matrix& x, const Matrix* low, const Matrix* high, Matrix& result) {
    if (x.IsEmpty()) return false;
    std::vector<double> lo, hi;
    if (low && !Bound(x, *low, lo)) return false;
    if (high && !Bound(x, *high, hi)) return false;
    Matrix out(x);
    double* data = out.Data();
    for (std::size_t i = 0; i < out.Size(); ++i) {
        if (low && data[i] < lo[i]) data[i] = lo[i];
        if (high && data[i] > hi[i]) data[i] = hi[i];
    }
    result = std::move(out);
    return true;
}

} // namespace

EXFN(Sin) {
    return Map(argc, args, result, [](double x) { return std::sin(x); });
}
EXFN(Cos) {
    return Map(argc, args, result, [](double x) { return std::cos(x); });
}
EXFN(Tan) {
    return Map(argc, args, result, [](double x) { return std::tan(x); });
}
EXFN(ASin) {
    return Map(argc, args, result, [](double x) { return std::asin(x); });
}
EXFN(ACos) {
    return Map(argc, args, result, [](double x) { return std::acos(x); });
}
EXFN(ATan) {
    return Map(argc, args, result, [](double x) { return std::atan(x); });
}
EXFN(Exp) {
    return Map(argc, args, result, [](double x) { return std::exp(x); });
}
EXFN(Absv) {
    return Map(argc, args, result, [](double x) { return std::fabs(x); });
}
EXFN(Floor) {
    return Map(argc, args, result, [](double x) { return std::floor(x); });
}
EXFN(Round) {
    return Map(argc, args, result, Round);
}
EXFN(Sign) {
    return Map(argc, args, result, [](double x) { return x >= 0 ? 1.0 : -1.0; });
}
EXFN(SinX) {
    return Map(argc, args, result, SinX);
}
EXFN(SinC) {
    return Map(argc, args, result, SinX);
}
EXFN(Hz2Bark) {
    return Map(argc, args, result, Hz2Bark);
}
EXFN(Bark2Hz) {
    return Map(argc, args, result, Bark2Hz);
}
EXFN(Hz2Mel) {
    return Map(argc, args, result, Hz2Mel);
}
EXFN(Mel2Hz) {
    return Map(argc, args, result, Mel2Hz);
}
EXFN(Hz2ERB) {
    return Map(argc, args, result, Hz2ERB);
}
EXFN(ERB2Hz) {
    return Map(argc, args, result, ERB2Hz);
}

EXFN(Int) {
    switch (OptionalInteger(argc, args, 1, 0)) {
    case 1:
        return Map(argc, args, result, Round);
    case 2:
        return Map(argc, args, result, [](double x) { return std::floor(x); });
    default:
        return Map(argc, args, result, [](double x) { return std::trunc(x); });
    }
}

EXFN(Ln) {
    return Given(argc, args, 0) && Logarithm(*args[0], 1.0, result);
}
EXFN(Ld) {
    return Given(argc, args, 0) && Logarithm(*args[0], std::numbers::ln2, result);
}
EXFN(Log) {
    double base = 10.0;
    if (argc > 1 && (!ScalarArg(argc, args, 1, base) || !(base > 1.0))) return false;
    return Given(argc, args, 0) && Logarithm(*args[0], std::log(base), result);
}

EXFN(Sqrt) {
    // Exactly x ^ 0.5 of the power operator, with its guard on short negative columns.
    if (!Given(argc, args, 0)) return false;
    Matrix out(*args[0]);
    if (!numeric::Power(out, Matrix(0.5))) return false;
    result = std::move(out);
    return true;
}

EXFN(Pi) {
    result.SetScalar(2.0 * std::asin(1.0));
    return true;
}
EXFN(E) {
    result.SetScalar(std::numbers::e);
    return true;
}

EXFN(Hz2Cent) {
    const double ref = OptionalScalar(argc, args, 1, 440.0);
    const double offset = OptionalScalar(argc, args, 2, 0.0);
    return Map(argc, args, result, [=](double f) {
        return f <= 0 || ref <= 0 ? kLogMinimum : 1200.0 * std::log2(f / ref) + offset;
    });
}

EXFN(Cent2Hz) {
    const double ref = OptionalScalar(argc, args, 1, 440.0);
    const double offset = OptionalScalar(argc, args, 2, 0.0);
    return Map(argc, args, result, [=](double c) {
        return c <= kLogMinimum || ref <= 0 ? 0.0 : ref * std::exp2((c - offset) / 1200.0);
    });
}

EXFN(Lin2Log) {
    const double ref = OptionalScalar(argc, args, 1, 1.0);
    const double factor = OptionalScalar(argc, args, 2, 20.0);
    return Map(argc, args, result, [=](double x) {
        return x <= 0 || ref <= 0 || factor <= 0 ? kLogMinimum : factor * std::log10(x / ref);
    });
}

EXFN(Log2Lin) {
    const double ref = OptionalScalar(argc, args, 1, 1.0);
    const double factor = OptionalScalar(argc, args, 2, 20.0);
    return Map(argc, args, result, [=](double x) {
        return x <= kLogMinimum || ref <= 0 || factor <= 0 ? 0.0 : ref * std::pow(10.0, x / factor);
    });
}

EXFN(dB) {
    return FnLog2Lin(argc, args, result);
}

// The bounds of limit may be scalars or hold one value per element.
EXFN(limit) {
    return Given(argc, args, 1) && Given(argc, args, 2) && Given(argc, args, 0) &&
           Clamp(*args[0], args[1], args[2], result);
}
EXFN(limitlow) {
    return Given(argc, args, 0) && Given(argc, args, 1) && Clamp(*args[0], args[1], nullptr, result);
}
EXFN(limithigh) {
    return Given(argc, args, 0) && Given(argc, args, 1) && Clamp(*args[0], nullptr, args[1], result);
}
