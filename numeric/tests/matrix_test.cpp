#include "numeric/matrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

using numeric::Relation;

namespace {

Matrix Vec(std::vector<double> values) {
    return Matrix::FromVector(values);
}

// rows by cols from values given row by row, as one writes a matrix down.
Matrix Mat(int rows, int cols, std::vector<double> byRows) {
    Matrix m(rows, cols);
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c) m(r, c) = byRows[std::size_t(r * cols + c)];
    return m;
}

void ExpectValues(const Matrix& m, int rows, int cols, std::vector<double> byRows, double tolerance = 0.0) {
    ASSERT_EQ(m.Rows(), rows);
    ASSERT_EQ(m.Cols(), cols);
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c)
            EXPECT_NEAR(m(r, c), byRows[std::size_t(r * cols + c)], tolerance) << "at " << r << "," << c;
}

} // namespace

TEST(MatrixShape, RowVectorsBecomeColumnsAndSidesBelowOneAreEmpty) {
    Matrix row(1, 5, 2.0);
    EXPECT_EQ(row.Rows(), 5);
    EXPECT_EQ(row.Cols(), 1);
    EXPECT_TRUE(row.IsVector());

    const double data[] = {1, 2, 3};
    Matrix fromRow = Matrix::FromColumnMajor(1, 3, data);
    ExpectValues(fromRow, 3, 1, {1, 2, 3});

    const double a[] = {7}, b[] = {8};
    const double* columns[] = {a, b};
    ExpectValues(Matrix::FromColumns(1, 2, columns), 2, 1, {7, 8});

    for (auto [r, c] : std::initializer_list<std::pair<int, int>>{{0, 3}, {3, 0}, {-1, 2}, {2, -5}}) {
        Matrix m(r, c);
        EXPECT_TRUE(m.IsEmpty());
        EXPECT_EQ(m.Rows(), 0);
        EXPECT_EQ(m.Cols(), 0);
        EXPECT_EQ(m.Data(), nullptr);
    }
    EXPECT_TRUE(Matrix::FromVector({}).IsEmpty());
    EXPECT_TRUE(Matrix::FromVector(std::vector<double>{4}).IsScalar());

    Matrix m(3, 2);
    EXPECT_TRUE(m.IsMatrix());
    EXPECT_FALSE(m.IsSquare());
    m.SetShape(1, 6, 1.5);
    ExpectValues(m, 6, 1, {1.5, 1.5, 1.5, 1.5, 1.5, 1.5});
}

TEST(MatrixShape, ScalarLivesInsideTheObject) {
    Matrix m(42.0);
    const auto* begin = reinterpret_cast<const char*>(&m);
    const auto* element = reinterpret_cast<const char*>(m.Data());
    EXPECT_TRUE(element >= begin && element < begin + sizeof(Matrix));
    EXPECT_EQ(m.Scalar(), 42.0);

    Matrix grown(2, 2, 1.0);
    grown.SetScalar(3.0);
    element = reinterpret_cast<const char*>(grown.Data());
    begin = reinterpret_cast<const char*>(&grown);
    EXPECT_TRUE(element >= begin && element < begin + sizeof(Matrix));
    EXPECT_EQ(grown.Scalar(), 3.0);
}

TEST(MatrixShape, ColumnsAreContiguousAndTheFlatWalkGoesDownColumns) {
    Matrix m = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    const double* flat = m.Data();
    EXPECT_EQ(std::vector<double>(flat, flat + 6), (std::vector<double>{1, 4, 2, 5, 3, 6}));
    EXPECT_EQ(m.Column(2)[1], 6.0);
}

TEST(MatrixAccess, ReadsOutsideTheValueGiveZero) {
    Matrix m = Mat(2, 2, {1, 2, 3, 4});
    EXPECT_EQ(m.At(1, 0), 3.0);
    EXPECT_EQ(m.At(2, 0), 0.0);
    EXPECT_EQ(m.At(0, 2), 0.0);
    EXPECT_EQ(m.At(-1, 0), 0.0);
    EXPECT_EQ(m.At(0, -1), 0.0);
    EXPECT_EQ(Matrix().At(0, 0), 0.0);
    EXPECT_EQ(Matrix(5.0).At(0, 1), 0.0);
}

TEST(MatrixOwnership, CopiesAreDeepAndMovesEmptyTheSource) {
    Matrix original = Mat(2, 2, {1, 2, 3, 4});
    Matrix copy = original;
    copy(0, 0) = 99;
    EXPECT_EQ(original(0, 0), 1.0);

    Matrix assigned(7.0);
    assigned = original;
    assigned(1, 1) = -1;
    EXPECT_EQ(original(1, 1), 4.0);

    Matrix moved = std::move(copy);
    EXPECT_EQ(moved(0, 0), 99.0);
    EXPECT_TRUE(copy.IsEmpty()); // NOLINT(bugprone-use-after-move): the moved-from state is defined

    auto heap = std::make_unique<Matrix>(Vec({5, 6, 7}));
    Matrix target(1.0);
    target.TakeOver(std::move(heap));
    ExpectValues(target, 3, 1, {5, 6, 7});
    target.TakeOver(nullptr);
    EXPECT_TRUE(target.IsEmpty());

    Matrix self = Vec({1, 2});
    Matrix& alias = self;
    self = alias;
    ExpectValues(self, 2, 1, {1, 2});
}

TEST(MatrixOwnership, ChangedFlagBelongsToTheSlot) {
    Matrix slot = Vec({1, 2});
    slot.SetChanged();
    Matrix copy = slot;
    EXPECT_FALSE(copy.Changed());
    slot = Vec({3, 4, 5});
    EXPECT_TRUE(slot.Changed());
    slot = Matrix(1.0);
    EXPECT_TRUE(slot.Changed());

    Matrix other = Vec({8, 9});
    slot.Swap(other);
    ExpectValues(slot, 2, 1, {8, 9});
    EXPECT_EQ(other.Scalar(), 1.0);
    EXPECT_TRUE(slot.Changed());
    EXPECT_FALSE(other.Changed());
}

TEST(MatrixTruth, AnyNonZeroElementIncludingNaNIsTrue) {
    EXPECT_FALSE(Vec({0, 0, 0}).IsTrue());
    EXPECT_TRUE(Vec({0, 0, -1e-300}).IsTrue());
    EXPECT_TRUE(Matrix(std::nan("")).IsTrue());
    EXPECT_FALSE(Matrix().IsTrue());
}

TEST(MatrixAddSubtract, ScalarsSpreadOverTheOtherOperand) {
    Matrix a = Vec({1, 2, 3});
    ASSERT_TRUE(numeric::Add(a, Matrix(10.0)));
    ExpectValues(a, 3, 1, {11, 12, 13});

    Matrix s(10.0);
    ASSERT_TRUE(numeric::Subtract(s, Vec({1, 2, 3})));
    ExpectValues(s, 3, 1, {9, 8, 7});

    Matrix m = Mat(2, 2, {1, 2, 3, 4});
    ASSERT_TRUE(numeric::Subtract(m, Mat(2, 2, {1, 1, 1, 1})));
    ExpectValues(m, 2, 2, {0, 1, 2, 3});

    Matrix same = Vec({1, 2});
    ASSERT_TRUE(numeric::Add(same, same));
    ExpectValues(same, 2, 1, {2, 4});
}

TEST(MatrixAddSubtract, MismatchedOrEmptyOperandsFailAndLeaveTheLeftAlone) {
    Matrix a = Vec({1, 2, 3});
    EXPECT_FALSE(numeric::Add(a, Vec({1, 2})));
    EXPECT_FALSE(numeric::Subtract(a, Mat(3, 2, {0, 0, 0, 0, 0, 0})));
    EXPECT_FALSE(numeric::Add(a, Matrix()));
    ExpectValues(a, 3, 1, {1, 2, 3});
    Matrix empty;
    EXPECT_FALSE(numeric::Add(empty, Matrix(1.0)));
    EXPECT_TRUE(empty.IsEmpty());
}

TEST(MatrixMultiply, VectorsGiveTheInnerProductAndMarkedFormsWorkElementwise) {
    Matrix v = Vec({1, 2, 3});
    ASSERT_TRUE(numeric::Multiply(v, Vec({4, 5, 6})));
    ASSERT_TRUE(v.IsScalar());
    EXPECT_EQ(v.Scalar(), 32.0);

    Matrix e = Vec({1, 2, 3});
    ASSERT_TRUE(numeric::MultiplyElements(e, Vec({4, 5, 6})));
    ExpectValues(e, 3, 1, {4, 10, 18});

    Matrix s(2.0);
    ASSERT_TRUE(numeric::Multiply(s, Mat(2, 2, {1, 2, 3, 4})));
    ExpectValues(s, 2, 2, {2, 4, 6, 8});

    // Different shapes under the marker fall back to the linear-algebra form.
    Matrix fallback = Vec({1, 2});
    ASSERT_TRUE(numeric::MultiplyElements(fallback, Matrix(3.0)));
    ExpectValues(fallback, 2, 1, {3, 6});
}

TEST(MatrixMultiply, MatrixProductsFollowTheInnerDimension) {
    Matrix a = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    ASSERT_TRUE(numeric::Multiply(a, Mat(3, 2, {7, 8, 9, 10, 11, 12})));
    ExpectValues(a, 2, 2, {58, 64, 139, 154});

    Matrix mv = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    ASSERT_TRUE(numeric::Multiply(mv, Vec({1, 0, -1})));
    ExpectValues(mv, 2, 1, {-2, -2});

    Matrix vm = Vec({1, 2});
    EXPECT_FALSE(numeric::Multiply(vm, Mat(2, 2, {1, 2, 3, 4})));
    ExpectValues(vm, 2, 1, {1, 2});

    Matrix wrong = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    EXPECT_FALSE(numeric::Multiply(wrong, Mat(2, 2, {1, 2, 3, 4})));
    Matrix lengths = Vec({1, 2});
    EXPECT_FALSE(numeric::Multiply(lengths, Vec({1, 2, 3})));
}

TEST(MatrixDivide, ScalarsAndInverses) {
    Matrix v = Vec({2, 4});
    ASSERT_TRUE(numeric::Divide(v, Matrix(2.0)));
    ExpectValues(v, 2, 1, {1, 2});

    Matrix one(1.0);
    EXPECT_FALSE(numeric::Divide(one, Matrix(0.0)));
    EXPECT_EQ(one.Scalar(), 1.0);

    Matrix s(2.0);
    ASSERT_TRUE(numeric::Divide(s, Mat(2, 2, {4, 7, 2, 6})));
    ExpectValues(s, 2, 2, {1.2, -1.4, -0.4, 0.8}, 1e-15);

    // (a / b) * b gives a back.
    const Matrix b = Mat(3, 3, {2, 1, 0, 1, 3, 1, 0, 1, 4});
    Matrix a = Mat(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 10});
    ASSERT_TRUE(numeric::Divide(a, b));
    ASSERT_TRUE(numeric::Multiply(a, b));
    ExpectValues(a, 3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 10}, 1e-12);

    Matrix singular = Mat(2, 2, {1, 2, 3, 4});
    EXPECT_FALSE(numeric::Divide(singular, Mat(2, 2, {1, 2, 2, 4})));
    Matrix vector = Vec({1, 2});
    EXPECT_FALSE(numeric::Divide(vector, Vec({1, 2})));
    Matrix shapes = Mat(2, 2, {1, 2, 3, 4});
    EXPECT_FALSE(numeric::Divide(shapes, Mat(3, 3, {1, 0, 0, 0, 1, 0, 0, 0, 1})));
}

TEST(MatrixDivide, GuardedQuotientReplacesTinyDivisorsByTheLargestDouble) {
    constexpr double kLargest = std::numeric_limits<double>::max();
    Matrix one(1.0);
    ASSERT_TRUE(numeric::DivideElements(one, Matrix(0.0)));
    EXPECT_EQ(one.Scalar(), kLargest);

    Matrix v = Vec({-6, 6, 6});
    ASSERT_TRUE(numeric::DivideElements(v, Vec({1e-39, -1e-39, -2})));
    ExpectValues(v, 3, 1, {kLargest, kLargest, -3});

    // The guard is strict: the smallest normal float itself divides.
    EXPECT_EQ(numeric::GuardedQuotient(1.0, 1.1754943508222875e-38), 1.0 / 1.1754943508222875e-38);

    Matrix s(12.0);
    ASSERT_TRUE(numeric::DivideElements(s, Vec({3, 0, 4})));
    ExpectValues(s, 3, 1, {4, kLargest, 3});

    Matrix fallback = Vec({2, 4});
    ASSERT_TRUE(numeric::DivideElements(fallback, Matrix(2.0)));
    ExpectValues(fallback, 2, 1, {1, 2});
    Matrix mismatch = Vec({2, 4});
    EXPECT_FALSE(numeric::DivideElements(mismatch, Vec({1, 2, 3})));
}

TEST(MatrixModulus, FloatingRemainderByANonZeroScalar) {
    Matrix v = Vec({7, -7, 7.5});
    ASSERT_TRUE(numeric::Modulus(v, Matrix(3.0)));
    ExpectValues(v, 3, 1, {1, -1, 1.5});
    Matrix z = Vec({1, 2});
    EXPECT_FALSE(numeric::Modulus(z, Matrix(0.0)));
    EXPECT_FALSE(numeric::Modulus(z, Vec({1, 2})));
    ExpectValues(z, 2, 1, {1, 2});
}

TEST(MatrixPower, SpecialExponentsComeFirst) {
    Matrix m = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    ASSERT_TRUE(numeric::Power(m, Matrix(0.0)));
    ExpectValues(m, 2, 3, {1, 1, 1, 1, 1, 1});

    Matrix zero(0.0);
    ASSERT_TRUE(numeric::Power(zero, Matrix(0.0)));
    EXPECT_EQ(zero.Scalar(), 1.0);
    Matrix guardedZero(0.0);
    ASSERT_TRUE(numeric::PowerElements(guardedZero, Matrix(0.0)));
    EXPECT_EQ(guardedZero.Scalar(), 0.0);

    Matrix negative(-2.0);
    ASSERT_TRUE(numeric::Power(negative, Matrix(2.0)));
    EXPECT_EQ(negative.Scalar(), 4.0);

    Matrix v = Vec({3, 4});
    ASSERT_TRUE(numeric::Power(v, Matrix(2.0)));
    EXPECT_EQ(v.Scalar(), 25.0);

    Matrix square = Mat(2, 2, {1, 2, 3, 4});
    ASSERT_TRUE(numeric::Power(square, Matrix(2.0)));
    ExpectValues(square, 2, 2, {7, 10, 15, 22});
    Matrix wide = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    EXPECT_FALSE(numeric::Power(wide, Matrix(2.0)));

    Matrix inverse = Mat(2, 2, {4, 7, 2, 6});
    ASSERT_TRUE(numeric::Power(inverse, Matrix(-1.0)));
    ExpectValues(inverse, 2, 2, {0.6, -0.7, -0.2, 0.4}, 1e-15);
    Matrix quarter(4.0);
    ASSERT_TRUE(numeric::Power(quarter, Matrix(-1.0)));
    EXPECT_EQ(quarter.Scalar(), 0.25);
    Matrix noInverse = Vec({1, 2});
    EXPECT_FALSE(numeric::Power(noInverse, Matrix(-1.0)));
    Matrix zeroInverse(0.0);
    EXPECT_FALSE(numeric::Power(zeroInverse, Matrix(-1.0)));
    Matrix singular = Mat(2, 2, {1, 2, 2, 4});
    EXPECT_FALSE(numeric::Power(singular, Matrix(-1.0)));

    Matrix vectorExponent(2.0);
    EXPECT_FALSE(numeric::Power(vectorExponent, Vec({1, 2})));
}

TEST(MatrixPower, OtherExponentsWorkElementByElement) {
    Matrix cube = Mat(2, 2, {1, 2, 3, 4});
    ASSERT_TRUE(numeric::Power(cube, Matrix(3.0)));
    ExpectValues(cube, 2, 2, {1, 8, 27, 64});

    // Short columns go through the guarded power, which truncates the exponent of a
    // negative base; long ones (10 rows or more) through plain pow.
    Matrix shortColumn = Vec({-4, 4});
    ASSERT_TRUE(numeric::Power(shortColumn, Matrix(0.5)));
    ExpectValues(shortColumn, 2, 1, {1, 2});
    Matrix longColumn(10, 1, -4.0);
    ASSERT_TRUE(numeric::Power(longColumn, Matrix(0.5)));
    EXPECT_TRUE(std::isnan(longColumn(0)));

    EXPECT_EQ(numeric::GuardedPower(-2.0, 3.7), -8.0);
    EXPECT_EQ(numeric::GuardedPower(0.0, -1.0), 0.0);
    EXPECT_EQ(numeric::GuardedPower(5.0, 0.0), 1.0);
    EXPECT_EQ(numeric::GuardedPower(2.0, -2.0), 0.25);
}

TEST(MatrixPower, MarkedPowerExpandsScalars) {
    Matrix base(2.0);
    ASSERT_TRUE(numeric::PowerElements(base, Vec({0, 1, 3})));
    ExpectValues(base, 3, 1, {1, 2, 8});

    Matrix pairs = Vec({2, 3, 0});
    ASSERT_TRUE(numeric::PowerElements(pairs, Vec({3, 2, 0})));
    ExpectValues(pairs, 3, 1, {8, 9, 0});

    Matrix mismatch = Vec({2, 3});
    EXPECT_FALSE(numeric::PowerElements(mismatch, Vec({1, 2, 3})));
}

TEST(MatrixLogic, NegationNotAndOr) {
    Matrix v = Vec({1, -2});
    ASSERT_TRUE(numeric::Negate(v));
    ExpectValues(v, 2, 1, {-1, 2});
    Matrix empty;
    EXPECT_FALSE(numeric::Negate(empty));
    EXPECT_FALSE(numeric::Not(empty));

    Matrix zeros = Vec({0, 0});
    ASSERT_TRUE(numeric::Not(zeros));
    EXPECT_EQ(zeros.Scalar(), 1.0);
    Matrix nan(std::nan(""));
    ASSERT_TRUE(numeric::Not(nan));
    EXPECT_EQ(nan.Scalar(), 0.0);

    Matrix a = Vec({0, 1});
    ASSERT_TRUE(numeric::And(a, Matrix(0.0)));
    EXPECT_EQ(a.Scalar(), 0.0);
    Matrix b = Vec({0, 1});
    ASSERT_TRUE(numeric::Or(b, Matrix(0.0)));
    EXPECT_EQ(b.Scalar(), 1.0);
    Matrix c(1.0);
    EXPECT_FALSE(numeric::And(c, Matrix()));
}

TEST(MatrixCompare, ShapesDecideBetweenUnequalAndFailure) {
    auto compare = [](Matrix a, const Matrix& b, Relation relation) -> double {
        return numeric::Compare(a, b, relation) ? a.Scalar() : -1.0; // -1 marks failure
    };
    const Matrix v = Vec({1, 2});
    EXPECT_EQ(compare(v, Matrix(1.0), Relation::Equal), 0.0);
    EXPECT_EQ(compare(v, Matrix(1.0), Relation::NotEqual), 1.0);
    EXPECT_EQ(compare(v, Matrix(1.0), Relation::Less), -1.0);
    EXPECT_EQ(compare(v, Matrix(1.0), Relation::GreaterEqual), -1.0);

    EXPECT_EQ(compare(v, Vec({1, 2}), Relation::Equal), 1.0);
    EXPECT_EQ(compare(v, Vec({1, 3}), Relation::NotEqual), 1.0);
    EXPECT_EQ(compare(v, Vec({2, 3}), Relation::Less), 1.0);
    EXPECT_EQ(compare(v, Vec({2, 2}), Relation::Less), 0.0);
    EXPECT_EQ(compare(v, Vec({1, 2}), Relation::LessEqual), 1.0);
    EXPECT_EQ(compare(v, Vec({0, 1}), Relation::Greater), 1.0);
    EXPECT_EQ(compare(v, Vec({1, 3}), Relation::GreaterEqual), 0.0);

    const Matrix nan(std::nan(""));
    EXPECT_EQ(compare(nan, nan, Relation::Equal), 0.0);
    EXPECT_EQ(compare(nan, nan, Relation::NotEqual), 1.0);
    EXPECT_EQ(compare(Matrix(), v, Relation::Equal), -1.0);
}

TEST(MatrixMagnitude, AbsoluteValueLengthOrDeterminant) {
    Matrix s(-3.0);
    ASSERT_TRUE(numeric::Magnitude(s));
    EXPECT_EQ(s.Scalar(), 3.0);

    Matrix v = Vec({3, 4});
    ASSERT_TRUE(numeric::Magnitude(v));
    EXPECT_EQ(v.Scalar(), 5.0);

    Matrix m = Mat(2, 2, {1, 2, 3, 4});
    ASSERT_TRUE(numeric::Magnitude(m));
    EXPECT_EQ(m.Scalar(), -2.0);

    Matrix big = Mat(3, 3, {2, 0, 1, 1, 3, 2, 1, 1, 2});
    ASSERT_TRUE(numeric::Magnitude(big));
    EXPECT_NEAR(big.Scalar(), 6.0, 1e-14);

    Matrix wide = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    EXPECT_FALSE(numeric::Magnitude(wide));
    EXPECT_TRUE(wide.IsEmpty());
}

TEST(MatrixTranspose, RowsBecomeColumnsAndVectorsStay) {
    Matrix m = Mat(2, 3, {1, 2, 3, 4, 5, 6});
    numeric::Transpose(m);
    ExpectValues(m, 3, 2, {1, 4, 2, 5, 3, 6});
    Matrix v = Vec({1, 2, 3});
    numeric::Transpose(v);
    ExpectValues(v, 3, 1, {1, 2, 3});
}
