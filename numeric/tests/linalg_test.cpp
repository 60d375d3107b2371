#include "numeric/linalg.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>
#include <vector>

namespace {

// Column-major product of two n by n matrices.
std::vector<double> Product(const std::vector<double>& a, const std::vector<double>& b, int n) {
    std::vector<double> c(std::size_t(n * n), 0.0);
    for (int j = 0; j < n; ++j)
        for (int k = 0; k < n; ++k)
            for (int i = 0; i < n; ++i)
                c[std::size_t(j * n + i)] += a[std::size_t(k * n + i)] * b[std::size_t(j * n + k)];
    return c;
}

void ExpectIdentity(const std::vector<double>& m, int n, double tolerance) {
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i)
            EXPECT_NEAR(m[std::size_t(j * n + i)], i == j ? 1.0 : 0.0, tolerance) << i << "," << j;
}

} // namespace

TEST(LuInvert, RandomWellConditionedMatrixTimesItsInverseIsTheIdentity) {
    constexpr int n = 5;
    std::mt19937 engine(11);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    std::vector<double> a(n * n);
    for (double& v : a) v = uniform(engine);
    // A dominant diagonal keeps the condition number small, so 1e-10 is a fair bound.
    for (int i = 0; i < n; ++i) a[std::size_t(i * n + i)] += 6.0;

    std::vector<double> inverse(a);
    ASSERT_TRUE(numeric::LuInvert(inverse.data(), n));
    ExpectIdentity(Product(a, inverse, n), n, 1e-10);
    ExpectIdentity(Product(inverse, a, n), n, 1e-10);
}

TEST(LuInvert, SingularMatricesFailAndStayUnchanged) {
    // The second row is twice the first, which elimination cancels exactly.
    std::vector<double> singular = {1, 2, 5, 2, 4, 0, 3, 6, 1};
    const std::vector<double> before = singular;
    EXPECT_FALSE(numeric::LuInvert(singular.data(), 3));
    EXPECT_EQ(singular, before);
    double det = 1.0;
    ASSERT_TRUE(numeric::LuDeterminant(singular.data(), 3, det));
    EXPECT_EQ(det, 0.0);

    std::vector<double> zeroColumn = {1, 2, 3, 0, 0, 0, 4, 5, 7};
    EXPECT_FALSE(numeric::LuInvert(zeroColumn.data(), 3));
}

TEST(LuDeterminant, PivotingKeepsTheSign) {
    // A row swap of the identity has determinant -1; LU must count its interchange.
    const std::vector<double> swap = {0, 1, 0, 1, 0, 0, 0, 0, 1};
    double det = 0.0;
    ASSERT_TRUE(numeric::LuDeterminant(swap.data(), 3, det));
    EXPECT_DOUBLE_EQ(det, -1.0);

    // Column-major [[2,0,1],[1,3,2],[1,1,2]]: 2*(6-2) + 1*(1-3) = 6.
    const std::vector<double> m = {2, 1, 1, 0, 3, 1, 1, 2, 2};
    ASSERT_TRUE(numeric::LuDeterminant(m.data(), 3, det));
    EXPECT_NEAR(det, 6.0, 1e-13);

    const std::vector<double> diagonal = {2, 0, 0, 0, 0, -3, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 4};
    ASSERT_TRUE(numeric::LuDeterminant(diagonal.data(), 4, det));
    EXPECT_DOUBLE_EQ(det, -12.0);
}

TEST(ClosedForms, TwoByTwo) {
    // Column-major [[4,7],[2,6]], determinant 10.
    std::vector<double> a = {4, 2, 7, 6};
    EXPECT_EQ(numeric::Determinant2x2(a.data()), 10.0);
    ASSERT_TRUE(numeric::Invert2x2(a.data()));
    EXPECT_DOUBLE_EQ(a[0], 0.6);
    EXPECT_DOUBLE_EQ(a[1], -0.2);
    EXPECT_DOUBLE_EQ(a[2], -0.7);
    EXPECT_DOUBLE_EQ(a[3], 0.4);

    std::vector<double> singular = {1, 2, 2, 4};
    EXPECT_FALSE(numeric::Invert2x2(singular.data()));
    EXPECT_EQ(singular, (std::vector<double>{1, 2, 2, 4}));
}

TEST(HermitianEigen, KnownTwoByTwoReadsOnlyTheUpperTriangle) {
    // [[2, 1-i], [1+i, 3]]: trace 5, determinant 6 - |1-i|^2 = 4, so eigenvalues 1 and 4.
    // The lower element carries nonsense to show that it is not read.
    const std::vector<double> a = {2, 0, 99, -99, 1, -1, 3, 0};
    double values[2];
    std::vector<double> vectors(8);
    ASSERT_TRUE(numeric::HermitianEigen(a.data(), 2, values, vectors.data()));
    EXPECT_NEAR(values[0], 1.0, 1e-13);
    EXPECT_NEAR(values[1], 4.0, 1e-13);

    // A v = lambda v for each eigenvector, with the true Hermitian matrix.
    using C = std::complex<double>;
    const C m[2][2] = {{C(2, 0), C(1, -1)}, {C(1, 1), C(3, 0)}};
    for (int k = 0; k < 2; ++k) {
        const C v0(vectors[std::size_t(4 * k)], vectors[std::size_t(4 * k + 1)]);
        const C v1(vectors[std::size_t(4 * k + 2)], vectors[std::size_t(4 * k + 3)]);
        EXPECT_NEAR(std::norm(v0) + std::norm(v1), 1.0, 1e-13);
        EXPECT_NEAR(std::abs(m[0][0] * v0 + m[0][1] * v1 - values[k] * v0), 0.0, 1e-13);
        EXPECT_NEAR(std::abs(m[1][0] * v0 + m[1][1] * v1 - values[k] * v1), 0.0, 1e-13);
    }

    double only[2];
    ASSERT_TRUE(numeric::HermitianEigen(a.data(), 2, only));
    EXPECT_NEAR(only[0], 1.0, 1e-13);
    EXPECT_NEAR(only[1], 4.0, 1e-13);
}

TEST(HermitianEigen, DiagonalWithImaginaryCouplingOfThree) {
    // [[1, i, 0], [-i, 1, 0], [0, 0, 5]]: the upper block has eigenvalues 0 and 2.
    const std::vector<double> a = {1, 0, 0, -1, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0, 0, 0, 5, 0};
    double values[3];
    ASSERT_TRUE(numeric::HermitianEigen(a.data(), 3, values));
    EXPECT_NEAR(values[0], 0.0, 1e-13);
    EXPECT_NEAR(values[1], 2.0, 1e-13);
    EXPECT_NEAR(values[2], 5.0, 1e-13);
}

TEST(SymmetricEigen, KnownValuesAndVectors) {
    const std::vector<double> a = {2, 1, 1, 2};
    double values[2];
    std::vector<double> vectors(4);
    ASSERT_TRUE(numeric::SymmetricEigen(a.data(), 2, values, vectors.data()));
    EXPECT_NEAR(values[0], 1.0, 1e-14);
    EXPECT_NEAR(values[1], 3.0, 1e-14);
    // The eigenvector of 3 is (1, 1)/sqrt(2) up to sign.
    EXPECT_NEAR(std::fabs(vectors[2]), std::sqrt(0.5), 1e-14);
    EXPECT_NEAR(vectors[2], vectors[3], 1e-14);
    EXPECT_FALSE(numeric::SymmetricEigen(a.data(), 0, values));
}
