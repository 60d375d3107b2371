// Helpers and declarations shared by the files of the function library. Only the
// library's own files include this; the evaluator sees the table of ex_functions.h.
#pragma once

#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

#include "expr/ex_functions.h"
#include "numeric/frequency_scales.h"

// Every library function has the one signature of ExFunction.
#define EXFN(name)                                                                                           \
    bool Fn##name([[maybe_unused]] int argc, [[maybe_unused]] Matrix* args[], [[maybe_unused]] Matrix& result)

namespace exfn {

// Argument i when it was passed and holds a value.
inline bool Given(int argc, Matrix* const args[], int i) {
    return i < argc && args[i] != nullptr && !args[i]->IsEmpty();
}

// An integer read of a number truncates toward zero; non-finite numbers and those
// beyond the int range are no integer at all.
bool ToInteger(double x, long long& value);

// A required scalar (exactly 1 by 1).
bool ScalarArg(int argc, Matrix* const args[], int i, double& value);
// A required integer scalar.
bool IntegerArg(int argc, Matrix* const args[], int i, long long& value);
// An optional number: the fallback when it is missing or not a scalar.
double OptionalScalar(int argc, Matrix* const args[], int i, double fallback);
// An optional integer: the fallback when it is missing, not a scalar or no integer.
long long OptionalInteger(int argc, Matrix* const args[], int i, long long fallback);

// A result of rows by cols from column-major data (normalised like every Matrix).
Matrix ColumnMajor(int rows, int cols, const std::vector<double>& data);
// A column of values: a scalar for one, empty for none.
Matrix Values(const std::vector<double>& values);

// The elements of a value in flat order, as a vector.
std::vector<double> Flat(const Matrix& m);

// A set of k points of d coordinates, read from a value that a table holds as k rows by d
// columns. A single point arrives as a column of d (there is no row vector), so a value of
// d elements and one column is read as that point when d > 1.
bool PointRows(const Matrix& m, int d, int& k, std::vector<double>& rowMajor);

// Per bin b, the count (or with `sumValues` the sum) of the values x with
// lower[b] <= x < upper[b]. Bins may overlap; sorted adjacent bins take a binary search.
std::vector<double> BinValues(std::span<const double> values, const std::vector<double>& lower,
                              const std::vector<double>& upper, bool sumValues);

// Direct form II transposed filter with coefficients b and a (a[0] already 1) over n samples;
// `state` holds max(nb, na) - 1 values and carries the filter from block to block.
void FilterBlock(const std::vector<double>& b, const std::vector<double>& a, const double* x, double* y,
                 std::size_t n, double* state);

// Autocorrelation method of linear prediction (Levinson-Durbin). a receives 1, a1 .. ap for the
// prediction error e[n] = x[n] + sum a_k x[n - k]; rc the reflection coefficients; the answer
// is the remaining error energy, negative when the signal has no energy.
double Levinson(const double* r, int order, std::vector<double>& a, std::vector<double>* rc);

// Roots of the polynomial c[0] + c[1] z + ... + c[n] z^n (Laguerre's method with deflation
// and polishing). False when it does not converge.
bool PolynomialRoots(const std::vector<double>& c, std::vector<double>& re, std::vector<double>& im);

} // namespace exfn

// Elementwise and scales.
EXFN(Sin);
EXFN(Cos);
EXFN(Tan);
EXFN(ASin);
EXFN(ACos);
EXFN(ATan);
EXFN(Exp);
EXFN(Absv);
EXFN(Floor);
EXFN(Round);
EXFN(Sign);
EXFN(SinX);
EXFN(SinC);
EXFN(Int);
EXFN(Ln);
EXFN(Ld);
EXFN(Log);
EXFN(Sqrt);
EXFN(Pi);
EXFN(E);
EXFN(Hz2Bark);
EXFN(Bark2Hz);
EXFN(Hz2Mel);
EXFN(Mel2Hz);
EXFN(Hz2ERB);
EXFN(ERB2Hz);
EXFN(Hz2Cent);
EXFN(Cent2Hz);
EXFN(Lin2Log);
EXFN(Log2Lin);
EXFN(dB);
EXFN(limit);
EXFN(limitlow);
EXFN(limithigh);

// Shape, reduction and linear algebra.
EXFN(NCol);
EXFN(NRow);
EXFN(Min);
EXFN(Max);
EXFN(IMin);
EXFN(IMax);
EXFN(Sum);
EXFN(WSum);
EXFN(Avr);
EXFN(Var);
EXFN(StdDev);
EXFN(Corr);
EXFN(CorrFun);
EXFN(Det);
EXFN(QDet);
EXFN(Trn);
EXFN(Mul);
EXFN(Inv);
EXFN(HTH);
EXFN(SVD);
EXFN(Dist);

// Construction.
EXFN(Fill);
EXFN(Init);
EXFN(VSubC);
EXFN(VSubN);
EXFN(VVGet);
EXFN(VVSet);
EXFN(VV);
EXFN(VVCat);
EXFN(VMCol);
EXFN(VMRow);
EXFN(Interp);
EXFN(Rand);
EXFN(GRand);
EXFN(Sample);
EXFN(Select);
EXFN(Sort);
EXFN(Median);
EXFN(Hist);

// Complex columns.
EXFN(CR2P);
EXFN(CP2R);
EXFN(CR2Len);
EXFN(CR2Phi);
EXFN(CSet);
EXFN(CGet);
EXFN(Conj);
EXFN(CDot);
EXFN(CTrn);
EXFN(CMul);
EXFN(CMulV);

// Windows, transforms, prediction and filters.
EXFN(Window);
EXFN(WHanning);
EXFN(WHamming);
EXFN(WBartlett);
EXFN(WTapRect);
EXFN(WNutTall);
EXFN(WFlatTop);
EXFN(WBlackman);
EXFN(WKaiser);
EXFN(WGauss);
EXFN(FFT);
EXFN(IFFT);
EXFN(DFT);
EXFN(Cepstrum);
EXFN(DCT);
EXFN(LPC);
EXFN(IIR1);
EXFN(IIR2);
EXFN(FIR1);
EXFN(FIR2);
EXFN(RASTA);

// Curves: crossings, peaks, interpolation, smoothing, differences, polynomials.
EXFN(ZCross);
EXFN(IPeak);
EXFN(QInterp);
EXFN(Smooth);
EXFN(YDiff);
EXFN(YInt);
EXFN(RPoly);
EXFN(RPolyReg);
EXFN(SPPEAKS);
EXFN(PGTEST);

// Speech analysis and hearing models.
EXFN(FORMANTS);
EXFN(F0AC);
EXFN(ZFFunc1);
EXFN(ASeg1);
EXFN(MBBM1);
EXFN(MBBM2);
EXFN(MBBM3);

// Rotation orders.
EXFN(Ticks2F1);
EXFN(ASp2OSp);
EXFN(Sig2OSp);
EXFN(OTrack1);

// Clustering and mixtures.
EXFN(EM);
EXFN(Density);
EXFN(ModClust);
EXFN(HAClust);
