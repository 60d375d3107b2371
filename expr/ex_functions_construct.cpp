// Functions that build values: sequences, parts of vectors, concatenations, random numbers,
// sorting and counting.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <unordered_set>

#include "expr/ex_functions_internal.h"
#include "numeric/random.h"
#include "numeric/vector_kernels.h"

using namespace exfn;

namespace {

// A count of rows or columns: an integer of at least 1.
bool CountArg(int argc, Matrix* args[], int i, long long fallback, long long& value) {
    value = OptionalInteger(argc, args, i, fallback);
    return value >= 1;
}

// Sorting puts NaN last in both directions, which also keeps the order strict and weak.
bool Before(double a, double b, bool descending) {
    if (std::isnan(a)) return false;
    if (std::isnan(b)) return true;
    return descending ? a > b : a < b;
}

// Of a scalar or vector argument: one value per element, length 1 for a scalar.
bool ScalarOrVector(const Matrix& m) {
    return !m.IsEmpty() && m.Cols() == 1;
}

} // namespace

EXFN(Fill) {
    if (!Given(argc, args, 0)) return false;
    long long n = static_cast<long long>(args[0]->Size());
    if (args[0]->IsScalar() && (!IntegerArg(argc, args, 0, n) || n < 1)) return false;
    const double start = OptionalScalar(argc, args, 1, 0.0);
    const double step = OptionalScalar(argc, args, 2, 0.0);
    std::vector<double> out(static_cast<std::size_t>(n));
    for (long long i = 0; i < n; ++i) out[std::size_t(i)] = start + double(i) * step;
    result = Values(out);
    return true;
}

EXFN(Init) {
    long long rows, cols;
    if (!IntegerArg(argc, args, 0, rows) || rows < 1 || !CountArg(argc, args, 1, 1, cols)) return false;
    result = Matrix(int(rows), int(cols), OptionalScalar(argc, args, 2, 0.0));
    return true;
}

// VSubC(v, mode, x [, y, what]): the elements of v below x (mode 0), at or above x (mode 1),
// or from x up to below y (mode 2), in their order; `what` 1 gives their indices instead.
// Nothing selected fails.
EXFN(VSubC) {
    long long mode;
    double x;
    if (!Given(argc, args, 0) || !IntegerArg(argc, args, 1, mode) || !ScalarArg(argc, args, 2, x) ||
        mode < 0 || mode > 2)
        return false;
    double y = 0;
    if (mode == 2 && !ScalarArg(argc, args, 3, y)) return false;
    const bool indices = OptionalInteger(argc, args, 4, 0) == 1;
    const auto v = args[0]->Elements();
    std::vector<double> out;
    for (std::size_t i = 0; i < v.size(); ++i) {
        const bool take = mode == 0 ? v[i] < x : mode == 1 ? v[i] >= x : (x <= v[i] && v[i] < y);
        if (take) out.push_back(indices ? double(i) : v[i]);
    }
    if (out.empty()) return false;
    result = Values(out);
    return true;
}

EXFN(VSubN) {
    if (!Given(argc, args, 0)) return false;
    const Matrix& m = *args[0];
    const long long first = OptionalInteger(argc, args, 1, 0);
    if (first < 0 || first >= m.Rows()) return false;
    const long long count = OptionalInteger(argc, args, 2, m.Rows() - first);
    if (count < 2 || first + count > m.Rows()) return false;
    std::vector<double> out(std::size_t(count) * m.Cols());
    for (int c = 0; c < m.Cols(); ++c) {
        std::copy_n(m.Column(c) + first, count, out.begin() + std::ptrdiff_t(c) * count);
    }
    result = ColumnMajor(int(count), m.Cols(), out);
    return true;
}

// Indices of VVGet and VVSet: from `first` every `step`-th, `count` of them. Without a count,
// as many as lie inside the vector. An index outside it fails.
static bool SelectIndices(int argc, Matrix* args[], int at, std::size_t size, long long fallbackCount,
                          std::vector<std::size_t>& indices) {
    const long long first = OptionalInteger(argc, args, at, 0);
    const long long step = OptionalInteger(argc, args, at + 1, 1);
    const long long n = static_cast<long long>(size);
    if (step == 0 || first < 0 || first >= n) return false;
    const long long fit = step > 0 ? (n - 1 - first) / step + 1 : first / -step + 1;
    const long long count = OptionalInteger(argc, args, at + 2, fallbackCount > 0 ? fallbackCount : fit);
    if (count < 1 || count > fit) return false;
    indices.resize(static_cast<std::size_t>(count));
    for (long long i = 0; i < count; ++i) indices[std::size_t(i)] = std::size_t(first + i * step);
    return true;
}

EXFN(VVGet) {
    if (!Given(argc, args, 0)) return false;
    std::vector<std::size_t> idx;
    if (!SelectIndices(argc, args, 1, args[0]->Size(), 0, idx)) {
        result.Clear();
        return false;
    }
    const double* v = args[0]->Data();
    std::vector<double> out(idx.size());
    for (std::size_t i = 0; i < idx.size(); ++i) out[i] = v[idx[i]];
    result = Values(out);
    return true;
}

// VVSet(v, value [, first [, step [, count]]]): a scalar value goes into every selected place,
// a vector's elements into the places in turn (its length is the default count).
EXFN(VVSet) {
    if (!Given(argc, args, 0) || !Given(argc, args, 1) || !ScalarOrVector(*args[1])) return false;
    const Matrix& value = *args[1];
    const long long given = value.IsScalar() ? 0 : value.Rows();
    std::vector<std::size_t> idx;
    if (!SelectIndices(argc, args, 2, args[0]->Size(), given, idx)) return false;
    if (given > 0 && static_cast<long long>(idx.size()) > given) return false;
    Matrix out(*args[0]);
    double* d = out.Data();
    for (std::size_t i = 0; i < idx.size(); ++i)
        d[idx[i]] = value.IsScalar() ? value.Scalar() : value(int(i));
    result = std::move(out);
    return true;
}

EXFN(VV) {
    std::vector<double> out;
    for (int i = 0; i < argc; ++i) {
        if (!Given(argc, args, i) || !ScalarOrVector(*args[i])) return false;
        const auto e = args[i]->Elements();
        out.insert(out.end(), e.begin(), e.end());
    }
    result = Values(out);
    return true;
}

// Scalars among vectors repeat in every round, so VVCat(v, 0) makes complex items of a real v.
EXFN(VVCat) {
    int length = 1;
    for (int i = 0; i < argc; ++i) {
        if (!Given(argc, args, i) || !ScalarOrVector(*args[i])) return false;
        const int rows = args[i]->Rows();
        if (rows > 1) {
            if (length > 1 && rows != length) return false;
            length = rows;
        }
    }
    std::vector<double> out;
    out.reserve(std::size_t(length) * argc);
    for (int k = 0; k < length; ++k) {
        for (int i = 0; i < argc; ++i) out.push_back(args[i]->IsScalar() ? args[i]->Scalar() : (*args[i])(k));
    }
    result = Values(out);
    return true;
}

// Side by side: every argument brings its columns, all of one row count.
EXFN(VMCol) {
    std::vector<double> out;
    int rows = 0, cols = 0;
    for (int i = 0; i < argc; ++i) {
        if (!Given(argc, args, i)) return false;
        if (i > 0 && args[i]->Rows() != rows) return false;
        rows = args[i]->Rows();
        cols += args[i]->Cols();
        const auto e = args[i]->Elements();
        out.insert(out.end(), e.begin(), e.end());
    }
    result = ColumnMajor(rows, cols, out);
    return true;
}

// On top of each other: a matrix brings its rows, and a vector (which has no row form) counts
// as one row of its elements, so VMRow(a, b) of two vectors gives 2 rows.
EXFN(VMRow) {
    int cols = 0, rows = 0;
    for (int i = 0; i < argc; ++i) {
        if (!Given(argc, args, i)) return false;
        const int c = args[i]->IsMatrix() ? args[i]->Cols() : int(args[i]->Size());
        if (i > 0 && c != cols) return false;
        cols = c;
        rows += args[i]->IsMatrix() ? args[i]->Rows() : 1;
    }
    std::vector<double> out(std::size_t(rows) * cols);
    int row = 0;
    for (int i = 0; i < argc; ++i) {
        const Matrix& m = *args[i];
        const int r = m.IsMatrix() ? m.Rows() : 1;
        for (int k = 0; k < r; ++k, ++row) {
            for (int c = 0; c < cols; ++c) {
                out[std::size_t(c) * rows + row] = m.IsMatrix() ? m(k, c) : m.Data()[c];
            }
        }
    }
    result = ColumnMajor(rows, cols, out);
    return true;
}

// Interp(v, n [, first, last]): the section from index `first` to `last` (default the whole
// vector) resampled to n points; each column of a matrix alike.
EXFN(Interp) {
    long long n;
    if (!Given(argc, args, 0) || args[0]->Rows() < 2 || !IntegerArg(argc, args, 1, n) || n < 2) return false;
    const Matrix& v = *args[0];
    const double first = OptionalScalar(argc, args, 2, 0.0);
    const double last = OptionalScalar(argc, args, 3, v.Rows() - 1.0);
    if (first < 0 || last < 0 || first > v.Rows() - 1 || last > v.Rows() - 1 || first == last) return false;
    const double step = (last - first) / double(n - 1);
    std::vector<double> out(std::size_t(n) * v.Cols());
    for (int c = 0; c < v.Cols(); ++c) {
        const double* col = v.Column(c);
        for (long long i = 0; i < n; ++i) {
            const double pos = i == n - 1 ? last : first + double(i) * step;
            const int k = std::min(int(pos), v.Rows() - 2);
            const double frac = pos - k;
            out[std::size_t(c) * n + i] = frac == 0 ? col[k] : col[k] + frac * (col[k + 1] - col[k]);
        }
    }
    result = ColumnMajor(int(n), v.Cols(), out);
    return true;
}

EXFN(Rand) {
    long long rows, cols;
    if (!CountArg(argc, args, 1, 1, rows) || !CountArg(argc, args, 2, 1, cols)) return false;
    numeric::SeedFromArgument(numeric::RandGenerator(), OptionalScalar(argc, args, 0, 0.0));
    Matrix out(static_cast<int>(rows), static_cast<int>(cols));
    for (double& x : out.Elements()) x = numeric::RandValue();
    result = std::move(out);
    return true;
}

EXFN(GRand) {
    long long rows, cols;
    if (!CountArg(argc, args, 3, 1, rows) || !CountArg(argc, args, 4, 1, cols)) return false;
    const double mean = OptionalScalar(argc, args, 0, 0.0);
    const double sigma = OptionalScalar(argc, args, 1, 1.0);
    numeric::SeedFromArgument(numeric::GRandGenerator(), OptionalScalar(argc, args, 2, 0.0));
    Matrix out(static_cast<int>(rows), static_cast<int>(cols));
    for (double& x : out.Elements()) x = numeric::GRandValue(mean, sigma);
    result = std::move(out);
    return true;
}

// k different places of 0 .. n-1 in the order drawn. The draws come from a generator of the
// calling thread, not from Rand's, so that Sample never moves a macro's Rand sequence.
EXFN(Sample) {
    long long n, k;
    if (!IntegerArg(argc, args, 0, n) || !IntegerArg(argc, args, 1, k) || n < 1 || k < 1 || k > n)
        return false;
    thread_local numeric::SignalRandom random;
    std::vector<double> out;
    out.reserve(static_cast<std::size_t>(k));
    if (k * 16 >= n) {
        std::vector<unsigned char> used(std::size_t(n), 0);
        while (static_cast<long long>(out.size()) < k) {
            const auto place = std::min(n - 1, static_cast<long long>(random.Uniform(0, double(n))));
            if (used[std::size_t(place)]) continue;
            used[std::size_t(place)] = 1;
            out.push_back(double(place));
        }
    } else {
        std::unordered_set<long long> used;
        while (static_cast<long long>(out.size()) < k) {
            const auto place = std::min(n - 1, static_cast<long long>(random.Uniform(0, double(n))));
            if (used.insert(place).second) out.push_back(double(place));
        }
    }
    result = Values(out);
    return true;
}

EXFN(Select) {
    for (int i = 0; i < 4; ++i) {
        if (!Given(argc, args, i)) return false;
    }
    const Matrix& x = *args[0];
    for (int i = 1; i < 4; ++i) {
        if (!args[i]->IsScalar() && args[i]->Size() != x.Size()) return false;
    }
    auto at = [](const Matrix& m, std::size_t i) { return m.IsScalar() ? m.Scalar() : m.Data()[i]; };
    Matrix out(x);
    double* d = out.Data();
    for (std::size_t i = 0; i < out.Size(); ++i)
        d[i] = d[i] <= at(*args[1], i) ? at(*args[2], i) : at(*args[3], i);
    result = std::move(out);
    return true;
}

// Sort(mode, a [, key]). Bit 1 clear: each column is sorted, or with a key the rows move
// together by the values of column `key`. Bit 1 set: the same across: each row is sorted, or
// the columns move together by the values of row `key`. Bit 0 sorts descending.
EXFN(Sort) {
    long long mode;
    if (!IntegerArg(argc, args, 0, mode) || mode < 0 || mode > 3 || !Given(argc, args, 1)) return false;
    const Matrix& a = *args[1];
    const bool descending = mode & 1, across = mode & 2;
    const int lines = across ? a.Rows() : a.Cols();  // lines sorted independently
    const int length = across ? a.Cols() : a.Rows(); // elements of each line
    auto at = [&](int line, int k) -> double { return across ? a(line, k) : a(k, line); };
    Matrix out(a);
    auto put = [&](int line, int k, double v) { (across ? out(line, k) : out(k, line)) = v; };
    long long key = -1;
    if (argc > 2 && (!IntegerArg(argc, args, 2, key) || key < 0 || key >= lines)) return false;
    std::vector<int> order(static_cast<std::size_t>(length));
    for (int line = 0; line < lines; ++line) {
        const int by = key >= 0 ? int(key) : line;
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(),
                         [&](int x, int y) { return Before(at(by, x), at(by, y), descending); });
        if (key >= 0) {
            for (int l = 0; l < lines; ++l) {
                for (int k = 0; k < length; ++k) put(l, k, at(l, order[std::size_t(k)]));
            }
            break;
        }
        for (int k = 0; k < length; ++k) put(line, k, at(line, order[std::size_t(k)]));
    }
    result = std::move(out);
    return true;
}

// Median(x [, p]): the sorted elements read at p (0 to 1) with linear interpolation between
// neighbours, so that an even count gives the mean of the middle pair.
EXFN(Median) {
    if (!Given(argc, args, 0)) return false;
    const double p = OptionalScalar(argc, args, 1, 0.5);
    if (!(p >= 0 && p <= 1)) return false;
    std::vector<double> v = Flat(*args[0]);
    std::sort(v.begin(), v.end(), [](double a, double b) { return Before(a, b, false); });
    const double pos = p * double(v.size() - 1);
    const std::size_t k = std::min(std::size_t(pos), v.size() - 1);
    const double frac = pos - double(k);
    result.SetScalar(frac == 0 ? v[k] : v[k] + frac * (v[k + 1] - v[k]));
    return true;
}

EXFN(Hist) {
    if (!Given(argc, args, 0)) return false;
    std::vector<double> lower, upper;
    if (argc == 2) {
        if (!Given(argc, args, 1) || !args[1]->IsVector()) return false;
        const auto e = args[1]->Elements();
        lower.assign(e.begin(), e.end() - 1);
        upper.assign(e.begin() + 1, e.end());
    } else if (argc == 3) {
        if (!Given(argc, args, 1) || !Given(argc, args, 2) || !ScalarOrVector(*args[1]) ||
            args[1]->Rows() != args[2]->Rows() || args[2]->Cols() != 1)
            return false;
        lower = Flat(*args[1]);
        upper = Flat(*args[2]);
    } else {
        double low, high;
        long long n;
        if (!ScalarArg(argc, args, 1, low) || !ScalarArg(argc, args, 2, high) ||
            !IntegerArg(argc, args, 3, n) || n < 1 || !(low < high))
            return false;
        for (long long i = 0; i < n; ++i) {
            lower.push_back(low + (high - low) * double(i) / double(n));
            upper.push_back(i == n - 1 ? high : low + (high - low) * double(i + 1) / double(n));
        }
    }
    const std::vector<double> counts = BinValues(args[0]->Elements(), lower, upper, false);
    result = Values(counts);
    return true;
}
