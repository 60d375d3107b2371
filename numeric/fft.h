// Fourier and cosine transforms on FFTW (double precision).
//
// A transform object is made once per size at prepare time and then used for every frame:
// it holds what the transform needs (its plans and a work buffer), so a frame costs no
// allocation. One object serves one thread at a time. The FFTW plans behind the objects
// are made once per size and kind, kept for the life of the process and shared by all
// objects: planning is serialised by one lock in this module (the FFTW planner is not
// thread-safe, so nothing else in the program may plan), while executing a shared plan on
// the caller's buffers needs no lock.
//
// Plans are made with FFTW_ESTIMATE, so that making one is cheap and deterministic and
// never touches data. Each size has a plan for 16-byte-aligned buffers (SIMD) and one
// made with FFTW_UNALIGNED; a call picks by the alignment of the buffers it gets, so any
// buffer works.
//
// Buffers may be the same array (in place) or separate ones; partly overlapping buffers
// are handled too, through the object's work buffer.
//
// Scaling: forward transforms are unscaled sums, X[k] = sum x[j] e^(-2 pi i jk / n);
// inverse transforms divide by n, so that Inverse(Forward(x)) gives x back.
//
// Constructors throw std::invalid_argument for a size of 0 or an order outside 0 .. 30,
// and std::bad_alloc; the transform calls throw nothing.
#pragma once

#include <cstddef>

namespace numeric {

struct FftPlans;

// The smallest order whose power of two is at least n (0 for n of 0 or 1).
int FftOrderFor(std::size_t n) noexcept;

// Real transform of any length n into the packed form: the bins 0 .. n/2 with real and
// imaginary part interleaved, packed[2k] = Re X[k], packed[2k+1] = Im X[k]. The imaginary
// parts of bin 0 and of the Nyquist bin (even n) are 0. The packed form always has n + 2
// places; for odd n (and n = 1) the last place, which no bin uses, is written as 0.
class RealDft {
public:
    explicit RealDft(std::size_t n);
    RealDft(RealDft&& other) noexcept;
    RealDft& operator=(RealDft&& other) noexcept;
    RealDft(const RealDft&) = delete;
    RealDft& operator=(const RealDft&) = delete;
    ~RealDft();

    std::size_t Size() const noexcept { return m_n; }
    std::size_t PackedSize() const noexcept { return m_n + 2; }

    // n real values -> n + 2 packed values.
    void Forward(const double* in, double* packed) noexcept;
    // n + 2 packed values -> n real values, divided by n. The spectrum is taken as that of a
    // real signal: the imaginary parts of bin 0 and the Nyquist bin are ignored.
    void Inverse(const double* packed, double* out) noexcept;

private:
    std::size_t m_n = 0;
    FftPlans* m_forward = nullptr;
    FftPlans* m_inverse = nullptr;
    double* m_work = nullptr;
};

// The real transform of size 2^order, the form of the evaluator's FFT and of the spectral
// atoms.
class RealFft : public RealDft {
public:
    explicit RealFft(int order);
    int Order() const noexcept { return m_order; }

private:
    int m_order;
};

// Complex transform of any length n on interleaved data (2n doubles).
class ComplexDft {
public:
    explicit ComplexDft(std::size_t n);
    ComplexDft(ComplexDft&& other) noexcept;
    ComplexDft& operator=(ComplexDft&& other) noexcept;
    ComplexDft(const ComplexDft&) = delete;
    ComplexDft& operator=(const ComplexDft&) = delete;
    ~ComplexDft();

    std::size_t Size() const noexcept { return m_n; }
    void Forward(const double* in, double* out) noexcept;
    // e^(+2 pi i jk / n), divided by n.
    void Inverse(const double* in, double* out) noexcept;

private:
    void Run(FftPlans* plans, const double* in, double* out) noexcept;

    std::size_t m_n = 0;
    FftPlans* m_forward = nullptr;
    FftPlans* m_inverse = nullptr;
    double* m_work = nullptr;
};

// Discrete cosine transform of size n, DCT-II in its orthonormal form:
//   y[0] = sqrt(1/n) sum x[j],  y[k] = sqrt(2/n) sum x[j] cos(pi k (j + 1/2) / n).
// Its inverse is the orthonormal DCT-III, so Inverse(Forward(x)) gives x back and the
// transform keeps the sum of squares.
class Dct {
public:
    explicit Dct(std::size_t n);
    Dct(Dct&& other) noexcept;
    Dct& operator=(Dct&& other) noexcept;
    Dct(const Dct&) = delete;
    Dct& operator=(const Dct&) = delete;
    ~Dct();

    std::size_t Size() const noexcept { return m_n; }
    void Forward(const double* in, double* out) noexcept;
    void Inverse(const double* in, double* out) noexcept;

private:
    std::size_t m_n = 0;
    FftPlans* m_forward = nullptr;
    FftPlans* m_inverse = nullptr;
    double* m_work = nullptr;
};

} // namespace numeric
