// Clustering and Gaussian mixtures. Data come as a table holds them: one observation per
// row, one feature per column; a vector is one feature.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

#include "expr/ex_functions_internal.h"
#include "numeric/linalg.h"

using namespace exfn;

namespace {

struct Data {
    int n = 0, d = 0;
    std::vector<double> x; // row-major
    const double* Row(int i) const { return x.data() + std::size_t(i) * d; }
};

bool ReadData(int argc, Matrix* args[], int i, Data& data) {
    if (!Given(argc, args, i) || args[i]->Rows() < 2) return false;
    const Matrix& m = *args[i];
    data.n = m.Rows();
    data.d = m.Cols();
    data.x.resize(m.Size());
    for (int r = 0; r < data.n; ++r) {
        for (int c = 0; c < data.d; ++c) data.x[std::size_t(r) * data.d + c] = m(r, c);
    }
    return true;
}

// A mixture of k Gaussians in d dimensions, with diagonal or full covariances (each full one
// d by d, row-major).
struct Mixture {
    int k = 0, d = 0;
    bool diagonal = true;
    std::vector<double> mean, cov, weight;
    // Derived by Prepare: inverse covariances (full) and the log of each component's weight
    // times its normalisation.
    std::vector<double> inverse, logScale;

    std::size_t CovSize() const { return diagonal ? std::size_t(d) : std::size_t(d) * d; }

    bool Prepare() {
        logScale.assign(std::size_t(k), 0.0);
        inverse.assign(cov.size(), 0.0);
        for (int c = 0; c < k; ++c) {
            const double* s = cov.data() + c * CovSize();
            double logDet = 0;
            if (diagonal) {
                for (int j = 0; j < d; ++j) {
                    if (!(s[j] > 0)) return false;
                    logDet += std::log(s[j]);
                    inverse[c * CovSize() + j] = 1.0 / s[j];
                }
            } else {
                double det;
                // The LU kernels take column-major blocks; a symmetric matrix is the same both ways.
                if (!numeric::LuDeterminant(s, d, det) || !(det > 0)) return false;
                logDet = std::log(det);
                std::copy_n(s, CovSize(), inverse.begin() + std::ptrdiff_t(c * CovSize()));
                if (!numeric::LuInvert(inverse.data() + c * CovSize(), d)) return false;
            }
            if (!(weight[std::size_t(c)] > 0)) return false;
            logScale[std::size_t(c)] =
                std::log(weight[std::size_t(c)]) - 0.5 * (d * std::log(2 * std::numbers::pi) + logDet);
        }
        return true;
    }

    double LogJoint(const double* x, int c) const {
        const double* mu = mean.data() + std::size_t(c) * d;
        const double* inv = inverse.data() + c * CovSize();
        double q = 0;
        if (diagonal) {
            for (int j = 0; j < d; ++j) q += (x[j] - mu[j]) * (x[j] - mu[j]) * inv[j];
        } else {
            for (int a = 0; a < d; ++a) {
                for (int b = 0; b < d; ++b) q += (x[a] - mu[a]) * inv[a * d + b] * (x[b] - mu[b]);
            }
        }
        return logScale[std::size_t(c)] - 0.5 * q;
    }

    // Posterior of each component per row (row-major n by k); the answer is the log
    // likelihood of each row in `rows` and their sum.
    double Expect(const Data& data, std::vector<double>& post, std::vector<double>* rows = nullptr) const {
        post.resize(std::size_t(data.n) * k);
        if (rows) rows->resize(static_cast<std::size_t>(data.n));
        double total = 0;
        for (int i = 0; i < data.n; ++i) {
            double* p = post.data() + std::size_t(i) * k;
            double top = -std::numeric_limits<double>::infinity();
            for (int c = 0; c < k; ++c) top = std::max(top, p[c] = LogJoint(data.Row(i), c));
            double sum = 0;
            for (int c = 0; c < k; ++c) sum += p[c] = std::exp(p[c] - top);
            for (int c = 0; c < k; ++c) p[c] /= sum;
            const double rowLikelihood = top + std::log(sum);
            if (rows) (*rows)[std::size_t(i)] = rowLikelihood;
            total += rowLikelihood;
        }
        return total;
    }

    // New parameters from the posteriors. A component that has lost all its weight keeps its
    // old parameters; variances stay at least minVar.
    void Maximise(const Data& data, const std::vector<double>& post, double minVar) {
        for (int c = 0; c < k; ++c) {
            double nc = 0;
            for (int i = 0; i < data.n; ++i) nc += post[std::size_t(i) * k + c];
            if (nc < 1e-10) continue;
            weight[std::size_t(c)] = nc / data.n;
            double* mu = mean.data() + std::size_t(c) * d;
            std::fill(mu, mu + d, 0.0);
            for (int i = 0; i < data.n; ++i) {
                for (int j = 0; j < d; ++j) mu[j] += post[std::size_t(i) * k + c] * data.Row(i)[j];
            }
            for (int j = 0; j < d; ++j) mu[j] /= nc;
            double* s = cov.data() + c * CovSize();
            std::fill(s, s + CovSize(), 0.0);
            for (int i = 0; i < data.n; ++i) {
                const double w = post[std::size_t(i) * k + c];
                const double* x = data.Row(i);
                for (int a = 0; a < d; ++a) {
                    if (diagonal) {
                        s[a] += w * (x[a] - mu[a]) * (x[a] - mu[a]);
                    } else {
                        for (int b = 0; b < d; ++b) s[a * d + b] += w * (x[a] - mu[a]) * (x[b] - mu[b]);
                    }
                }
            }
            for (std::size_t j = 0; j < CovSize(); ++j) s[j] /= nc;
            for (int a = 0; a < d; ++a) {
                double& v = diagonal ? s[a] : s[a * d + a];
                v = std::max(v, minVar);
            }
        }
    }
};

// The data's own spread, the starting covariance of every component.
std::vector<double> DataCovariance(const Data& data, bool diagonal, double minVar) {
    std::vector<double> mean(std::size_t(data.d), 0.0);
    for (int i = 0; i < data.n; ++i) {
        for (int j = 0; j < data.d; ++j) mean[std::size_t(j)] += data.Row(i)[j] / data.n;
    }
    const std::size_t size = diagonal ? std::size_t(data.d) : std::size_t(data.d) * data.d;
    std::vector<double> s(size, 0.0);
    for (int i = 0; i < data.n; ++i) {
        const double* x = data.Row(i);
        for (int a = 0; a < data.d; ++a) {
            for (int b = diagonal ? a : 0; b < (diagonal ? a + 1 : data.d); ++b) {
                s[diagonal ? std::size_t(a) : std::size_t(a) * data.d + b] +=
                    (x[a] - mean[std::size_t(a)]) * (x[b] - mean[std::size_t(b)]) / data.n;
            }
        }
    }
    for (int a = 0; a < data.d; ++a) {
        double& v = diagonal ? s[std::size_t(a)] : s[std::size_t(a) * data.d + a];
        v = std::max(v, minVar);
    }
    return s;
}

// Covariances of a mixture from an argument: k rows of d variances (diagonal), or k blocks
// of d rows by d columns one below the other (full).
bool ReadCovariances(const Matrix& m, Mixture& g) {
    int rows;
    std::vector<double> values;
    if (!PointRows(m, g.d, rows, values) || rows != (g.diagonal ? g.k : g.k * g.d)) return false;
    g.cov = std::move(values);
    return true;
}

bool ReadWeights(const Matrix& m, Mixture& g) {
    if (m.IsEmpty() || int(m.Size()) != g.k) return false;
    g.weight = Flat(m);
    const double sum = std::accumulate(g.weight.begin(), g.weight.end(), 0.0);
    if (!(sum > 0)) return false;
    for (double& w : g.weight) w /= sum;
    return std::all_of(g.weight.begin(), g.weight.end(), [](double w) { return w > 0; });
}

// Runs EM from the mixture's parameters. The answer is the number of updates made; the last
// expectation (with the final parameters) is left in post, its log likelihood in likelihood.
// It stops when an update gains less than `threshold` in log likelihood per row.
int RunEm(Mixture& g, const Data& data, double minVar, long long maxIt, double threshold,
          std::vector<double>& post, double& likelihood) {
    int updates = 0;
    double previous = -std::numeric_limits<double>::infinity();
    likelihood = g.Expect(data, post);
    while (updates < maxIt && (likelihood - previous) / data.n >= threshold) {
        g.Maximise(data, post, minVar);
        ++updates;
        if (!g.Prepare()) return -1;
        previous = likelihood;
        likelihood = g.Expect(data, post);
    }
    return updates;
}

std::vector<double> Membership(const std::vector<double>& post, int n, int k) {
    std::vector<double> member(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        const double* p = post.data() + std::size_t(i) * k;
        member[std::size_t(i)] = double(std::max_element(p, p + k) - p);
    }
    return member;
}

void Write(Matrix* slot, Matrix value) {
    if (!slot) return;
    *slot = std::move(value);
    slot->SetChanged();
}

} // namespace

// EM(data, means, member, sigma, weights, apost, minVar, maxIt, threshold, diagonal): fits a
// Gaussian mixture by expectation-maximisation, starting from the k rows of `means`; sigma
// and weights are starting values when they have the right shape (k rows of d variances, or
// k blocks of d by d covariances when `diagonal` is 0; k weights), else the data's spread and
// equal weights. It stops after maxIt updates or when one gains less than `threshold` in log
// likelihood per row. means, sigma and weights receive the fit, member the most likely
// component of each row, apost the posteriors (a row per observation, a column per
// component). Result: (updates, log likelihood).
EXFN(EM) {
    Data data;
    Mixture g;
    if (!ReadData(argc, args, 0, data) || !Given(argc, args, 1)) return false;
    g.d = data.d;
    if (!PointRows(*args[1], g.d, g.k, g.mean) || g.k > data.n) return false;
    const double minVar = OptionalScalar(argc, args, 6, 1e-6);
    const long long maxIt = OptionalInteger(argc, args, 7, 100);
    const double threshold = OptionalScalar(argc, args, 8, 1e-6);
    g.diagonal = OptionalInteger(argc, args, 9, 1) != 0;
    if (minVar < 0 || maxIt < 0) return false;
    if (!ReadCovariances(*args[3], g)) {
        const std::vector<double> s = DataCovariance(data, g.diagonal, minVar);
        g.cov.clear();
        for (int c = 0; c < g.k; ++c) g.cov.insert(g.cov.end(), s.begin(), s.end());
    }
    if (!ReadWeights(*args[4], g)) g.weight.assign(std::size_t(g.k), 1.0 / g.k);
    std::vector<double> post;
    double likelihood;
    if (!g.Prepare()) return false;
    const int updates = RunEm(g, data, minVar, maxIt, threshold, post, likelihood);
    if (updates < 0) return false;
    const int covRows = g.diagonal ? g.k : g.k * g.d;
    std::vector<double> meanCols(g.mean.size()), covCols(g.cov.size()), postCols(post.size());
    for (int r = 0; r < g.k; ++r) {
        for (int c = 0; c < g.d; ++c) meanCols[std::size_t(c) * g.k + r] = g.mean[std::size_t(r) * g.d + c];
    }
    for (int r = 0; r < covRows; ++r) {
        for (int c = 0; c < g.d; ++c) covCols[std::size_t(c) * covRows + r] = g.cov[std::size_t(r) * g.d + c];
    }
    for (int i = 0; i < data.n; ++i) {
        for (int c = 0; c < g.k; ++c) postCols[std::size_t(c) * data.n + i] = post[std::size_t(i) * g.k + c];
    }
    Write(args[1], ColumnMajor(g.k, g.d, meanCols));
    Write(args[2], Values(Membership(post, data.n, g.k)));
    Write(args[3], ColumnMajor(covRows, g.d, covCols));
    Write(args[4], Values(g.weight));
    Write(args[5], ColumnMajor(data.n, g.k, postCols));
    result = Values({double(updates), likelihood});
    return true;
}

// Density(data, means, sigma, weights, apost, diagonal, divByLength [, minVar, perRow]): the
// log likelihood of the data under a mixture in EM's layout, divided by the row count when
// divByLength is not 0; perRow not 0 gives it per row instead. Variances below minVar
// (default 0) are raised to it. apost receives the posteriors.
EXFN(Density) {
    Data data;
    Mixture g;
    if (!ReadData(argc, args, 0, data) || !Given(argc, args, 1) || !Given(argc, args, 2) ||
        !Given(argc, args, 3))
        return false;
    g.d = data.d;
    g.diagonal = OptionalInteger(argc, args, 5, 1) != 0;
    if (!PointRows(*args[1], g.d, g.k, g.mean) || !ReadCovariances(*args[2], g) || !ReadWeights(*args[3], g))
        return false;
    const bool perLength = OptionalInteger(argc, args, 6, 0) != 0;
    const double minVar = OptionalScalar(argc, args, 7, 0.0);
    const bool perRow = OptionalInteger(argc, args, 8, 0) != 0;
    for (int c = 0; c < g.k; ++c) {
        for (int a = 0; a < g.d; ++a) {
            double& v =
                g.diagonal ? g.cov[std::size_t(c) * g.d + a] : g.cov[std::size_t(c * g.d + a) * g.d + a];
            v = std::max(v, minVar);
        }
    }
    if (!g.Prepare()) return false;
    std::vector<double> post, rows;
    const double total = g.Expect(data, post, &rows);
    std::vector<double> postCols(post.size());
    for (int i = 0; i < data.n; ++i) {
        for (int c = 0; c < g.k; ++c) postCols[std::size_t(c) * data.n + i] = post[std::size_t(i) * g.k + c];
    }
    Write(args[4], ColumnMajor(data.n, g.k, postCols));
    if (perRow) {
        result = Values(rows);
    } else {
        result.SetScalar(perLength ? total / data.n : total);
    }
    return true;
}

// ModClust(data, minK, maxK [, bic, maxIt, minVar]): model-based clustering. For every k
// from minK to maxK a diagonal mixture is fitted by EM from k rows spread far apart (the row
// nearest the mean, then each time the row farthest from those chosen), and the k with the
// best Bayesian information criterion 2 L - p ln n wins. Result: the component of each row
// under the winner; bic receives the criterion of every k.
EXFN(ModClust) {
    Data data;
    long long minK, maxK;
    if (!ReadData(argc, args, 0, data) || !IntegerArg(argc, args, 1, minK) ||
        !IntegerArg(argc, args, 2, maxK) || minK < 1 || maxK < minK || maxK > data.n)
        return false;
    const long long maxIt = OptionalInteger(argc, args, 4, 100);
    const double minVar = OptionalScalar(argc, args, 5, 1e-6);
    if (maxIt < 0 || minVar < 0) return false;
    std::vector<double> centre(std::size_t(data.d), 0.0);
    for (int i = 0; i < data.n; ++i) {
        for (int j = 0; j < data.d; ++j) centre[std::size_t(j)] += data.Row(i)[j] / data.n;
    }
    auto distance = [&](const double* a, const double* b) {
        double s = 0;
        for (int j = 0; j < data.d; ++j) s += (a[j] - b[j]) * (a[j] - b[j]);
        return s;
    };
    std::vector<int> seeds;
    std::vector<double> nearest(std::size_t(data.n), std::numeric_limits<double>::infinity());
    for (long long k = 0; k < maxK; ++k) {
        int pick = 0;
        for (int i = 1; i < data.n; ++i) {
            const bool better =
                k == 0 ? distance(data.Row(i), centre.data()) < distance(data.Row(pick), centre.data())
                       : nearest[std::size_t(i)] > nearest[std::size_t(pick)];
            if (better) pick = i;
        }
        seeds.push_back(pick);
        for (int i = 0; i < data.n; ++i) {
            nearest[std::size_t(i)] =
                std::min(nearest[std::size_t(i)], distance(data.Row(i), data.Row(pick)));
        }
    }
    std::vector<double> bics, best;
    double bestBic = -std::numeric_limits<double>::infinity();
    const std::vector<double> spread = DataCovariance(data, true, minVar);
    for (long long k = minK; k <= maxK; ++k) {
        Mixture g;
        g.k = int(k);
        g.d = data.d;
        for (long long c = 0; c < k; ++c) {
            const double* row = data.Row(seeds[std::size_t(c)]);
            g.mean.insert(g.mean.end(), row, row + data.d);
            g.cov.insert(g.cov.end(), spread.begin(), spread.end());
        }
        g.weight.assign(std::size_t(k), 1.0 / double(k));
        std::vector<double> post;
        double likelihood;
        if (!g.Prepare() || RunEm(g, data, minVar, maxIt, 1e-6, post, likelihood) < 0) return false;
        const double parameters = double(k) * 2 * data.d + double(k - 1);
        const double bic = 2 * likelihood - parameters * std::log(double(data.n));
        bics.push_back(bic);
        if (bic > bestBic) {
            bestBic = bic;
            best = Membership(post, data.n, g.k);
        }
    }
    if (argc > 3) Write(args[3], Values(bics));
    result = Values(best);
    return true;
}

// HAClust(data, k [, method]): agglomerative hierarchical clustering of the rows down to k
// clusters, by Lance-Williams updates of Euclidean distances: method 0 single, 1 complete,
// 2 average linkage (the default), 3 Ward (on squared distances). Result: the cluster of each
// row, numbered 0, 1, ... in the order in which the rows first show them.
EXFN(HAClust) {
    Data data;
    long long k;
    if (!ReadData(argc, args, 0, data) || !IntegerArg(argc, args, 1, k) || k < 1 || k > data.n) return false;
    const long long method = OptionalInteger(argc, args, 2, 2);
    if (method < 0 || method > 3) return false;
    const int n = data.n;
    std::vector<double> dist(std::size_t(n) * n, 0.0);
    for (int i = 0; i < n; ++i) {
        for (int j = i + 1; j < n; ++j) {
            double s = 0;
            for (int c = 0; c < data.d; ++c)
                s += (data.Row(i)[c] - data.Row(j)[c]) * (data.Row(i)[c] - data.Row(j)[c]);
            dist[std::size_t(i) * n + j] = dist[std::size_t(j) * n + i] = method == 3 ? s : std::sqrt(s);
        }
    }
    std::vector<int> owner(static_cast<std::size_t>(n)), size(std::size_t(n), 1);
    std::iota(owner.begin(), owner.end(), 0);
    std::vector<bool> alive(std::size_t(n), true);
    auto D = [&](int a, int b) -> double& { return dist[std::size_t(a) * n + b]; };
    for (int clusters = n; clusters > k; --clusters) {
        int bi = -1, bj = -1;
        for (int i = 0; i < n; ++i) {
            if (!alive[std::size_t(i)]) continue;
            for (int j = i + 1; j < n; ++j) {
                if (alive[std::size_t(j)] && (bi < 0 || D(i, j) < D(bi, bj))) {
                    bi = i;
                    bj = j;
                }
            }
        }
        const double ni = size[std::size_t(bi)], nj = size[std::size_t(bj)], dij = D(bi, bj);
        for (int m = 0; m < n; ++m) {
            if (!alive[std::size_t(m)] || m == bi || m == bj) continue;
            const double dm_i = D(m, bi), dm_j = D(m, bj), nm = size[std::size_t(m)];
            double v;
            switch (method) {
            case 0:
                v = std::min(dm_i, dm_j);
                break;
            case 1:
                v = std::max(dm_i, dm_j);
                break;
            case 2:
                v = (ni * dm_i + nj * dm_j) / (ni + nj);
                break;
            default:
                v = ((nm + ni) * dm_i + (nm + nj) * dm_j - nm * dij) / (nm + ni + nj);
                break;
            }
            D(m, bi) = D(bi, m) = v;
        }
        alive[std::size_t(bj)] = false;
        size[std::size_t(bi)] += size[std::size_t(bj)];
        for (int& o : owner) {
            if (o == bj) o = bi;
        }
    }
    std::vector<int> label(std::size_t(n), -1);
    std::vector<double> out(static_cast<std::size_t>(n));
    int next = 0;
    for (int i = 0; i < n; ++i) {
        int& l = label[std::size_t(owner[std::size_t(i)])];
        if (l < 0) l = next++;
        out[std::size_t(i)] = l;
    }
    result = Values(out);
    return true;
}
