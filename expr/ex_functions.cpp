// The function table of expressions and the helpers its families share.
#include <algorithm>
#include <climits>
#include <cstdint>

#include "expr/ex_functions_internal.h"
#include "shell/rc_codes.h"

namespace {

constexpr uint64_t Arg(int i) {
    return uint64_t{1} << i;
}

// Sorted by name without case, so that a lookup is a binary search; the static_assert below
// keeps it so.
constexpr SExFunction kFunctions[] = {
    {L"Abs", FnDet, 1, 1, 0},
    {L"Absv", FnAbsv, 1, 1, 0},
    {L"ACos", FnACos, 1, 1, 0},
    {L"ASeg1", FnASeg1, 4, -1, 0},
    {L"ASin", FnASin, 1, 1, 0},
    {L"ASp2OSp", FnASp2OSp, 3, 6, 0},
    {L"ATan", FnATan, 1, 1, 0},
    {L"Avg", FnAvr, 1, 2, 0},
    {L"Avr", FnAvr, 1, 2, 0},
    {L"Bark2Hz", FnBark2Hz, 1, 1, 0},
    {L"CDot", FnCDot, 2, 2, 0},
    {L"Cent2Hz", FnCent2Hz, 1, 3, 0},
    {L"Cepstrum", FnCepstrum, 1, 3, 0},
    {L"CGet", FnCGet, 1, 2, 0},
    {L"CMul", FnCMul, 2, 2, 0},
    {L"CMulV", FnCMulV, 2, 2, 0},
    {L"Cols", FnNCol, 1, 1, 0},
    {L"Conj", FnConj, 1, 1, 0},
    {L"Corr", FnCorr, 1, 2, 0},
    {L"CorrFun", FnCorrFun, 1, 4, 0},
    {L"Cos", FnCos, 1, 1, 0},
    {L"CP2R", FnCP2R, 1, 1, 0},
    {L"CR2Len", FnCR2Len, 1, 1, 0},
    {L"CR2P", FnCR2P, 1, 1, 0},
    {L"CR2Phi", FnCR2Phi, 1, 1, 0},
    {L"CSet", FnCSet, 2, 2, 0},
    {L"CTrn", FnCTrn, 1, 1, 0},
    {L"dB", FndB, 1, 3, 0},
    {L"DCT", FnDCT, 1, 3, 0},
    {L"Density", FnDensity, 7, 9, Arg(4)},
    {L"Det", FnDet, 1, 1, 0},
    {L"Dev", FnStdDev, 1, 1, 0},
    {L"DFT", FnDFT, 1, 2, 0},
    {L"Dist", FnDist, 1, 2, 0},
    {L"E", FnE, 0, 0, 0},
    {L"EM", FnEM, 10, 10, Arg(1) | Arg(2) | Arg(3) | Arg(4) | Arg(5)},
    {L"ERB2Hz", FnERB2Hz, 1, 1, 0},
    {L"Exp", FnExp, 1, 1, 0},
    {L"F0AC", FnF0AC, 2, -1, 0},
    {L"FFT", FnFFT, 1, 2, 0},
    {L"Fill", FnFill, 1, 3, 0},
    {L"FIR1", FnFIR1, 2, 3, Arg(2)},
    {L"FIR2", FnFIR2, 2, 3, Arg(2)},
    {L"Floor", FnFloor, 1, 1, 0},
    {L"FORMANTS", FnFORMANTS, 5, -1, 0},
    {L"GRand", FnGRand, 0, 5, 0},
    {L"HAClust", FnHAClust, 2, 3, 0},
    {L"Hist", FnHist, 2, 4, 0},
    {L"HTH", FnHTH, 1, 2, 0},
    {L"Hz2Bark", FnHz2Bark, 1, 1, 0},
    {L"Hz2Cent", FnHz2Cent, 1, 3, 0},
    {L"Hz2ERB", FnHz2ERB, 1, 1, 0},
    {L"Hz2Mel", FnHz2Mel, 1, 1, 0},
    {L"IFFT", FnIFFT, 1, 1, 0},
    {L"IIR1", FnIIR1, 3, 4, Arg(3)},
    {L"IIR2", FnIIR2, 2, 3, Arg(2)},
    {L"IMax", FnIMax, 1, 1, 0},
    {L"IMin", FnIMin, 1, 1, 0},
    {L"Init", FnInit, 1, 3, 0},
    {L"Int", FnInt, 1, 2, 0},
    {L"Interp", FnInterp, 2, 4, 0},
    {L"Inv", FnInv, 1, 1, 0},
    {L"IPeak", FnIPeak, 1, 6, 0},
    {L"Ld", FnLd, 1, 1, 0},
    {L"limit", Fnlimit, 3, 3, 0},
    {L"limithigh", Fnlimithigh, 2, 2, 0},
    {L"limitlow", Fnlimitlow, 2, 2, 0},
    {L"Lin2Log", FnLin2Log, 1, 3, 0},
    {L"Ln", FnLn, 1, 1, 0},
    {L"Log", FnLog, 1, 2, 0},
    {L"Log2Lin", FnLog2Lin, 1, 3, 0},
    {L"LPC", FnLPC, 2, 4, Arg(2) | Arg(3)},
    {L"Max", FnMax, 1, -1, 0},
    {L"MBBM1", FnMBBM1, 0, -1, 0},
    {L"MBBM2", FnMBBM2, 0, -1, 0},
    {L"MBBM3", FnMBBM3, 0, -1, 0},
    {L"Median", FnMedian, 1, 2, 0},
    {L"Mel2Hz", FnMel2Hz, 1, 1, 0},
    {L"Min", FnMin, 1, -1, 0},
    {L"ModClust", FnModClust, 3, 6, Arg(3)},
    {L"Mul", FnMul, 2, 2, 0},
    {L"NCol", FnNCol, 1, 1, 0},
    {L"NRow", FnNRow, 1, 1, 0},
    {L"OTrack1", FnOTrack1, 4, 6, 0},
    {L"PGTEST", FnPGTEST, 0, -1, 0},
    {L"Pi", FnPi, 0, 0, 0},
    {L"QDet", FnQDet, 1, 1, 0},
    {L"QInterp", FnQInterp, 3, 4, 0},
    {L"Rand", FnRand, 0, 3, 0},
    {L"RASTA", FnRASTA, 1, 2, 0},
    {L"Round", FnRound, 1, 1, 0},
    {L"Rows", FnNRow, 1, 1, 0},
    {L"RPoly", FnRPoly, 2, 2, 0},
    {L"RPolyReg", FnRPolyReg, 2, 3, 0},
    {L"Sample", FnSample, 2, 2, 0},
    {L"Select", FnSelect, 4, 4, 0},
    {L"Sig2OSp", FnSig2OSp, 3, 6, 0},
    {L"Sign", FnSign, 1, 1, 0},
    {L"Sin", FnSin, 1, 1, 0},
    {L"SinC", FnSinC, 1, 1, 0},
    {L"SinX", FnSinX, 1, 1, 0},
    {L"Smooth", FnSmooth, 1, 4, 0},
    {L"Sort", FnSort, 2, 3, 0},
    {L"SPPEAKS", FnSPPEAKS, 1, 4, 0},
    {L"Sqrt", FnSqrt, 1, 1, 0},
    {L"StdDev", FnStdDev, 1, 1, 0},
    {L"Sum", FnSum, 1, 2, 0},
    {L"SVD", FnSVD, 1, 3, Arg(1) | Arg(2)},
    {L"Tan", FnTan, 1, 1, 0},
    {L"Ticks2F1", FnTicks2F1, 3, 5, 0},
    {L"Trn", FnTrn, 1, 1, 0},
    {L"Var", FnVar, 1, 2, 0},
    {L"VMCol", FnVMCol, 2, -1, 0},
    {L"VMRow", FnVMRow, 2, -1, 0},
    {L"VSubC", FnVSubC, 3, 5, 0},
    {L"VSubN", FnVSubN, 1, 3, 0},
    {L"VV", FnVV, 2, -1, 0},
    {L"VVCat", FnVVCat, 2, -1, 0},
    {L"VVGet", FnVVGet, 1, 4, 0},
    {L"VVSet", FnVVSet, 2, 5, 0},
    {L"WBartlett", FnWBartlett, 1, 3, 0},
    {L"WBlackman", FnWBlackman, 1, 3, 0},
    {L"WFlatTop", FnWFlatTop, 1, 3, 0},
    {L"WGauss", FnWGauss, 1, 3, 0},
    {L"WHamming", FnWHamming, 1, 3, 0},
    {L"WHanning", FnWHanning, 1, 3, 0},
    {L"Window", FnWindow, 2, 4, 0},
    {L"WKaiser", FnWKaiser, 1, 3, 0},
    {L"WNutTall", FnWNutTall, 1, 3, 0},
    {L"WSum", FnWSum, 4, 7, 0},
    {L"WTapRect", FnWTapRect, 1, 3, 0},
    {L"YDiff", FnYDiff, 1, 2, 0},
    {L"YInt", FnYInt, 1, 2, 0},
    {L"ZCross", FnZCross, 1, 4, 0},
    {L"ZFFunc1", FnZFFunc1, 4, 6, 0},
};

constexpr wchar_t AsciiUpper(wchar_t c) {
    return c >= L'a' && c <= L'z' ? wchar_t(c - L'a' + L'A') : c;
}

constexpr int AsciiCompareNoCase(const wchar_t* a, const wchar_t* b) {
    for (;; ++a, ++b) {
        const wchar_t x = AsciiUpper(*a), y = AsciiUpper(*b);
        if (x != y) return x < y ? -1 : 1;
        if (x == 0) return 0;
    }
}

constexpr bool StrictlySorted() {
    for (std::size_t i = 1; i < std::size(kFunctions); ++i) {
        if (AsciiCompareNoCase(kFunctions[i - 1].name, kFunctions[i].name) >= 0) return false;
    }
    return true;
}
static_assert(StrictlySorted(), "the function table must stay sorted by name, without case, and unique");

} // namespace

const SExFunction* FindExFunction(TextView name) {
    const auto* end = std::end(kFunctions);
    const auto* it =
        std::lower_bound(std::begin(kFunctions), end, name,
                         [](const SExFunction& f, TextView key) { return CompareNoCase(f.name, key) < 0; });
    return it != end && EqualNoCase(it->name, name) ? it : nullptr;
}

const SExFunction* ExFunctions(size_t& count) {
    count = std::size(kFunctions);
    return kFunctions;
}

namespace exfn {

bool ToInteger(double x, long long& value) {
    if (!std::isfinite(x)) return false;
    const double t = std::trunc(x);
    if (t < double(INT_MIN) || t > double(INT_MAX)) return false;
    value = static_cast<long long>(t);
    return true;
}

bool ScalarArg(int argc, Matrix* const args[], int i, double& value) {
    if (!Given(argc, args, i) || !args[i]->IsScalar()) return false;
    value = args[i]->Scalar();
    return true;
}

bool IntegerArg(int argc, Matrix* const args[], int i, long long& value) {
    double x;
    return ScalarArg(argc, args, i, x) && ToInteger(x, value);
}

double OptionalScalar(int argc, Matrix* const args[], int i, double fallback) {
    double x;
    return ScalarArg(argc, args, i, x) ? x : fallback;
}

long long OptionalInteger(int argc, Matrix* const args[], int i, long long fallback) {
    long long v;
    return IntegerArg(argc, args, i, v) ? v : fallback;
}

Matrix ColumnMajor(int rows, int cols, const std::vector<double>& data) {
    if (rows < 1 || cols < 1) return Matrix();
    return Matrix::FromColumnMajor(rows, cols, data.data());
}

Matrix Values(const std::vector<double>& values) {
    return Matrix::FromVector(values);
}

std::vector<double> Flat(const Matrix& m) {
    const auto e = m.Elements();
    return std::vector<double>(e.begin(), e.end());
}

bool PointRows(const Matrix& m, int d, int& k, std::vector<double>& rowMajor) {
    if (m.IsEmpty() || d < 1) return false;
    if (m.Cols() == d) {
        k = m.Rows();
        rowMajor.resize(std::size_t(k) * d);
        for (int r = 0; r < k; ++r) {
            for (int c = 0; c < d; ++c) rowMajor[std::size_t(r) * d + c] = m(r, c);
        }
        return true;
    }
    if (d > 1 && m.Cols() == 1 && m.Rows() == d) {
        k = 1;
        rowMajor = Flat(m);
        return true;
    }
    return false;
}

std::vector<double> BinValues(std::span<const double> values, const std::vector<double>& lower,
                              const std::vector<double>& upper, bool sumValues) {
    std::vector<double> out(lower.size(), 0.0);
    bool adjacent = true;
    for (std::size_t b = 0; b < lower.size() && adjacent; ++b) {
        adjacent = lower[b] < upper[b] && (b + 1 == lower.size() || upper[b] == lower[b + 1]);
    }
    for (double x : values) {
        if (adjacent) {
            const auto it = std::upper_bound(lower.begin(), lower.end(), x);
            if (it == lower.begin()) continue;
            const std::size_t b = std::size_t(it - lower.begin()) - 1;
            if (x < upper[b]) out[b] += sumValues ? x : 1.0;
            continue;
        }
        for (std::size_t b = 0; b < out.size(); ++b) {
            if (lower[b] <= x && x < upper[b]) out[b] += sumValues ? x : 1.0;
        }
    }
    return out;
}

} // namespace exfn
