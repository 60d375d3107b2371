#include "numeric/fft.h"

#include <fftw3.h>

#include <cmath>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <stdexcept>
#include <utility>

namespace numeric {

struct FftPlans {
    fftw_plan aligned = nullptr;
    fftw_plan unaligned = nullptr;

    // The aligned plan may use SIMD code that needs the buffers to have the alignment of
    // the arrays it was made on (which came from fftw_malloc).
    fftw_plan For(const double* in, const double* out) const noexcept {
        const bool isAligned = fftw_alignment_of(const_cast<double*>(in)) == 0 &&
                               fftw_alignment_of(const_cast<double*>(out)) == 0;
        return isAligned ? aligned : unaligned;
    }
};

namespace {

enum class Kind { RealForward, RealInverse, ComplexForward, ComplexInverse, CosineForward, CosineInverse };

// Doubles that the input and the output array of a plan of this kind and size need.
std::pair<std::size_t, std::size_t> ArraySizes(Kind kind, std::size_t n) {
    switch (kind) {
    case Kind::RealForward:
        return {n, 2 * (n / 2 + 1)};
    case Kind::RealInverse:
        return {2 * (n / 2 + 1), n};
    case Kind::ComplexForward:
    case Kind::ComplexInverse:
        return {2 * n, 2 * n};
    case Kind::CosineForward:
    case Kind::CosineInverse:
        break;
    }
    return {n, n};
}

fftw_plan MakePlan(Kind kind, std::size_t n, double* in, double* out, unsigned flags) {
    const int size = static_cast<int>(n);
    auto* complexIn = reinterpret_cast<fftw_complex*>(in);
    auto* complexOut = reinterpret_cast<fftw_complex*>(out);
    switch (kind) {
    case Kind::RealForward:
        return fftw_plan_dft_r2c_1d(size, in, complexOut, flags);
    case Kind::RealInverse:
        return fftw_plan_dft_c2r_1d(size, complexIn, out, flags);
    case Kind::ComplexForward:
        return fftw_plan_dft_1d(size, complexIn, complexOut, FFTW_FORWARD, flags);
    case Kind::ComplexInverse:
        return fftw_plan_dft_1d(size, complexIn, complexOut, FFTW_BACKWARD, flags);
    case Kind::CosineForward:
        return fftw_plan_r2r_1d(size, in, out, FFTW_REDFT10, flags);
    case Kind::CosineInverse:
        return fftw_plan_r2r_1d(size, in, out, FFTW_REDFT01, flags);
    }
    return nullptr;
}

class PlanCache {
public:
    FftPlans* Get(Kind kind, std::size_t n) {
        std::lock_guard lock(m_mutex);
        auto [it, inserted] = m_plans.try_emplace({kind, n});
        if (!inserted) return &it->second;
        const auto [inSize, outSize] = ArraySizes(kind, n);
        double* in = fftw_alloc_real(inSize);
        double* out = fftw_alloc_real(outSize);
        FftPlans& plans = it->second;
        if (in && out) {
            plans.aligned = MakePlan(kind, n, in, out, FFTW_ESTIMATE);
            plans.unaligned = MakePlan(kind, n, in, out, FFTW_ESTIMATE | FFTW_UNALIGNED);
        }
        fftw_free(in);
        fftw_free(out);
        if (!plans.aligned || !plans.unaligned) {
            if (plans.aligned) fftw_destroy_plan(plans.aligned);
            if (plans.unaligned) fftw_destroy_plan(plans.unaligned);
            m_plans.erase(it);
            throw std::bad_alloc();
        }
        return &plans;
    }

private:
    std::mutex m_mutex;
    // Node-based, so the addresses handed out stay valid while entries are added.
    std::map<std::pair<Kind, std::size_t>, FftPlans> m_plans;
};

// Plans live as long as the process: made on first use, never destroyed, so that no
// object can outlive the plan it executes.
FftPlans* Plans(Kind kind, std::size_t n) {
    static PlanCache* cache = new PlanCache;
    return cache->Get(kind, n);
}

double* AllocateWork(std::size_t n) {
    double* work = fftw_alloc_real(n);
    if (!work) throw std::bad_alloc();
    return work;
}

void CheckSize(std::size_t n) {
    // FFTW takes the size as an int.
    if (n == 0 || n > (std::size_t(1) << 30)) throw std::invalid_argument("transform size out of range");
}

bool Overlap(const double* a, std::size_t aSize, const double* b, std::size_t bSize) noexcept {
    return a < b + bSize && b < a + aSize;
}

// The source itself, or a copy of it in `work` when it overlaps the destination.
const double* Separate(const double* in, std::size_t inSize, const double* out, std::size_t outSize,
                       double* work) noexcept {
    if (!Overlap(in, inSize, out, outSize)) return in;
    std::memcpy(work, in, inSize * sizeof(double));
    return work;
}

} // namespace

int FftOrderFor(std::size_t n) noexcept {
    int order = 0;
    while ((std::size_t(1) << order) < n) ++order;
    return order;
}

// ---- RealDft

RealDft::RealDft(std::size_t n) : m_n(n) {
    CheckSize(n);
    m_forward = Plans(Kind::RealForward, n);
    m_inverse = Plans(Kind::RealInverse, n);
    m_work = AllocateWork(n + 2);
}

RealDft::RealDft(RealDft&& other) noexcept {
    *this = std::move(other);
}

RealDft& RealDft::operator=(RealDft&& other) noexcept {
    std::swap(m_n, other.m_n);
    std::swap(m_forward, other.m_forward);
    std::swap(m_inverse, other.m_inverse);
    std::swap(m_work, other.m_work);
    return *this;
}

RealDft::~RealDft() {
    fftw_free(m_work);
}

void RealDft::Forward(const double* in, double* packed) noexcept {
    const double* source = Separate(in, m_n, packed, m_n + 2, m_work);
    auto* out = reinterpret_cast<fftw_complex*>(packed);
    fftw_execute_dft_r2c(m_forward->For(source, packed), const_cast<double*>(source), out);
    // FFTW writes 2 (n/2 + 1) values, one place short of n + 2 for odd n.
    if (m_n % 2 == 1) packed[m_n + 1] = 0.0;
}

void RealDft::Inverse(const double* packed, double* out) noexcept {
    // The complex-to-real transform destroys its input, so it always runs on a copy.
    const std::size_t used = 2 * (m_n / 2 + 1);
    std::memcpy(m_work, packed, used * sizeof(double));
    auto* in = reinterpret_cast<fftw_complex*>(m_work);
    fftw_execute_dft_c2r(m_inverse->For(m_work, out), in, out);
    const double scale = 1.0 / double(m_n);
    for (std::size_t i = 0; i < m_n; ++i) out[i] *= scale;
}

RealFft::RealFft(int order)
    : RealDft(order >= 0 && order <= 30 ? std::size_t(1) << order : 0), m_order(order) {}

// ---- ComplexDft

ComplexDft::ComplexDft(std::size_t n) : m_n(n) {
    CheckSize(n);
    m_forward = Plans(Kind::ComplexForward, n);
    m_inverse = Plans(Kind::ComplexInverse, n);
    m_work = AllocateWork(2 * n);
}

ComplexDft::ComplexDft(ComplexDft&& other) noexcept {
    *this = std::move(other);
}

ComplexDft& ComplexDft::operator=(ComplexDft&& other) noexcept {
    std::swap(m_n, other.m_n);
    std::swap(m_forward, other.m_forward);
    std::swap(m_inverse, other.m_inverse);
    std::swap(m_work, other.m_work);
    return *this;
}

ComplexDft::~ComplexDft() {
    fftw_free(m_work);
}

void ComplexDft::Run(FftPlans* plans, const double* in, double* out) noexcept {
    const double* source = Separate(in, 2 * m_n, out, 2 * m_n, m_work);
    fftw_execute_dft(plans->For(source, out), reinterpret_cast<fftw_complex*>(const_cast<double*>(source)),
                     reinterpret_cast<fftw_complex*>(out));
}

void ComplexDft::Forward(const double* in, double* out) noexcept {
    Run(m_forward, in, out);
}

void ComplexDft::Inverse(const double* in, double* out) noexcept {
    Run(m_inverse, in, out);
    const double scale = 1.0 / double(m_n);
    for (std::size_t i = 0; i < 2 * m_n; ++i) out[i] *= scale;
}

// ---- Dct

Dct::Dct(std::size_t n) : m_n(n) {
    CheckSize(n);
    m_forward = Plans(Kind::CosineForward, n);
    m_inverse = Plans(Kind::CosineInverse, n);
    m_work = AllocateWork(n);
}

Dct::Dct(Dct&& other) noexcept {
    *this = std::move(other);
}

Dct& Dct::operator=(Dct&& other) noexcept {
    std::swap(m_n, other.m_n);
    std::swap(m_forward, other.m_forward);
    std::swap(m_inverse, other.m_inverse);
    std::swap(m_work, other.m_work);
    return *this;
}

Dct::~Dct() {
    fftw_free(m_work);
}

void Dct::Forward(const double* in, double* out) noexcept {
    // FFTW's REDFT10 is the unnormalised 2 sum x[j] cos(...).
    const double* source = Separate(in, m_n, out, m_n, m_work);
    fftw_execute_r2r(m_forward->For(source, out), const_cast<double*>(source), out);
    out[0] *= std::sqrt(1.0 / (4.0 * double(m_n)));
    const double scale = std::sqrt(1.0 / (2.0 * double(m_n)));
    for (std::size_t k = 1; k < m_n; ++k) out[k] *= scale;
}

void Dct::Inverse(const double* in, double* out) noexcept {
    // REDFT01 computes X[0] + 2 sum X[k] cos(...); the orthonormal weights go in first.
    m_work[0] = in[0] * std::sqrt(1.0 / double(m_n));
    const double scale = 1.0 / std::sqrt(2.0 * double(m_n));
    for (std::size_t k = 1; k < m_n; ++k) m_work[k] = in[k] * scale;
    fftw_execute_r2r(m_inverse->For(m_work, out), m_work, out);
}

} // namespace numeric
