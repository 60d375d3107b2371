// Speed of the numeric kernels that run once per frame in the spectral atoms and per
// expression in the evaluator.
#include "numeric/fft.h"
#include "numeric/matrix.h"
#include "numeric/windows.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace {

std::vector<double> Noise(std::size_t n) {
    std::mt19937 engine(1);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    std::vector<double> x(n);
    for (double& v : x) v = uniform(engine);
    return x;
}

// Forward transforms per second, reported as items; a frame of a SPECTRUM atom.
void BM_RealFftForward(benchmark::State& state) {
    const int order = int(state.range(0));
    numeric::RealFft fft(order);
    const auto x = Noise(fft.Size());
    std::vector<double> packed(fft.PackedSize());
    for (auto _ : state) {
        fft.Forward(x.data(), packed.data());
        benchmark::DoNotOptimize(packed.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RealFftForward)->Arg(9)->Arg(12);

void BM_RealFftRoundTrip(benchmark::State& state) {
    const int order = int(state.range(0));
    numeric::RealFft fft(order);
    auto x = Noise(fft.Size());
    std::vector<double> packed(fft.PackedSize());
    for (auto _ : state) {
        fft.Forward(x.data(), packed.data());
        fft.Inverse(packed.data(), x.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RealFftRoundTrip)->Arg(9)->Arg(12);

// The evaluator's matrix product.
void BM_MatrixMultiply64(benchmark::State& state) {
    const auto values = Noise(64 * 64);
    const Matrix a = Matrix::FromColumnMajor(64, 64, values.data());
    for (auto _ : state) {
        Matrix product = a;
        numeric::Multiply(product, a);
        benchmark::DoNotOptimize(product.Data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_MatrixMultiply64);

// Computing a Hann window into a frame of 4096 points; an atom that keeps its window
// pays only for the multiply.
void BM_WindowHann4096(benchmark::State& state) {
    auto x = Noise(4096);
    const numeric::WindowShape shape{numeric::WindowKind::Hanning};
    for (auto _ : state) {
        numeric::ApplyWindow(shape, x.data(), x.size());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_WindowHann4096);

} // namespace

BENCHMARK_MAIN();
