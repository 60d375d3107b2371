#include "numeric/matrix.h"

#include "numeric/linalg.h"
#include "numeric/vector_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace {

// Rows or cols below 1 is empty; 1 by n is n by 1.
void Normalise(int& rows, int& cols) noexcept {
    if (rows < 1 || cols < 1) {
        rows = cols = 0;
    } else if (rows == 1 && cols > 1) {
        rows = cols;
        cols = 1;
    }
}

} // namespace

// ---- Matrix

Matrix::Matrix(int rows, int cols, double fill) {
    Allocate(rows, cols);
    std::fill_n(Data(), Size(), fill);
}

Matrix Matrix::FromColumnMajor(int rows, int cols, const double* data) {
    // 1 by n and n by 1 have the same flat order, so normalising the shape keeps the data.
    Matrix result;
    result.Allocate(rows, cols);
    if (result.Size() > 0) std::memcpy(result.Data(), data, result.Size() * sizeof(double));
    return result;
}

Matrix Matrix::FromColumns(int rows, int cols, const double* const* columns) {
    Matrix result;
    result.Allocate(rows, cols);
    if (result.IsEmpty()) return result;
    if (rows == 1) {
        // A row of single-element columns becomes one column.
        for (int c = 0; c < cols; ++c) result.Data()[c] = columns[c][0];
    } else {
        for (int c = 0; c < cols; ++c)
            std::memcpy(result.Column(c), columns[c], std::size_t(rows) * sizeof(double));
    }
    return result;
}

Matrix Matrix::FromVector(std::span<const double> values) {
    if (values.size() > std::size_t(std::numeric_limits<int>::max())) throw std::bad_alloc();
    return FromColumnMajor(int(values.size()), 1, values.data());
}

Matrix::Matrix(const Matrix& other) {
    Allocate(other.m_nRows, other.m_nCols);
    if (Size() > 0) std::memcpy(Data(), other.Data(), Size() * sizeof(double));
}

Matrix::Matrix(Matrix&& other) noexcept
    : m_storage(other.m_storage), m_nRows(other.m_nRows), m_nCols(other.m_nCols) {
    other.m_nRows = other.m_nCols = 0;
}

Matrix& Matrix::operator=(const Matrix& other) {
    if (this == &other) return *this;
    if (Size() != other.Size() || !OnHeap()) {
        Allocate(other.m_nRows, other.m_nCols);
    } else {
        m_nRows = other.m_nRows;
        m_nCols = other.m_nCols;
    }
    if (Size() > 0) std::memcpy(Data(), other.Data(), Size() * sizeof(double));
    return *this;
}

Matrix& Matrix::operator=(Matrix&& other) noexcept {
    if (this == &other) return *this;
    Release();
    m_storage = other.m_storage;
    m_nRows = other.m_nRows;
    m_nCols = other.m_nCols;
    other.m_nRows = other.m_nCols = 0;
    return *this;
}

void Matrix::TakeOver(std::unique_ptr<Matrix> source) noexcept {
    if (!source) {
        Clear();
        return;
    }
    *this = std::move(*source);
}

void Matrix::Swap(Matrix& other) noexcept {
    std::swap(m_storage, other.m_storage);
    std::swap(m_nRows, other.m_nRows);
    std::swap(m_nCols, other.m_nCols);
}

void Matrix::Clear() noexcept {
    Release();
    m_nRows = m_nCols = 0;
}

void Matrix::SetScalar(double value) noexcept {
    Release();
    m_storage.value = value;
    m_nRows = m_nCols = 1;
}

void Matrix::SetShape(int rows, int cols, double fill) {
    Normalise(rows, cols);
    if (OnHeap() && Size() == std::size_t(rows) * std::size_t(cols)) {
        m_nRows = rows;
        m_nCols = cols;
    } else {
        Allocate(rows, cols);
    }
    std::fill_n(Data(), Size(), fill);
}

double Matrix::At(int row, int col) const noexcept {
    if (row < 0 || row >= m_nRows || col < 0 || col >= m_nCols) return 0.0;
    return Data()[Index(row, col)];
}

bool Matrix::IsTrue() const noexcept {
    return std::any_of(Data(), Data() + Size(), [](double x) { return x != 0.0; });
}

void Matrix::Release() noexcept {
    if (OnHeap()) delete[] m_storage.data;
    m_storage.value = 0.0;
}

void Matrix::Allocate(int rows, int cols) {
    Normalise(rows, cols);
    const std::size_t size = std::size_t(rows) * std::size_t(cols);
    if (size > 1) {
        // Allocate before releasing, so that a failure leaves the value as it was.
        double* block = new double[size];
        Release();
        m_storage.data = block;
    } else {
        Release();
    }
    m_nRows = rows;
    m_nCols = cols;
}

// ---- operators

namespace numeric {

namespace {

constexpr double kTinyDivisor = 1.1754943508222875e-38;

// a[i] = op(a[i], b[i]) over the flat walk of two values of one shape.
template <typename Op> void Elementwise(Matrix& a, const Matrix& b, Op op) {
    double* x = a.Data();
    const double* y = b.Data();
    for (std::size_t i = 0, n = a.Size(); i < n; ++i) x[i] = op(x[i], y[i]);
}

template <typename Op> void EachElement(Matrix& a, Op op) {
    double* x = a.Data();
    for (std::size_t i = 0, n = a.Size(); i < n; ++i) x[i] = op(x[i]);
}

// A value of b's shape with every element equal to the scalar a.
Matrix Expanded(const Matrix& scalar, const Matrix& shape) {
    return Matrix(shape.Rows(), shape.Cols(), scalar.Scalar());
}

double InnerProduct(const double* x, const double* y, std::size_t n) {
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) sum += x[i] * y[i];
    return sum;
}

// out[i] += sum of w[k] * columns[k][i] over four columns. The result block is always a
// fresh one, so the restrict promise holds and the compiler may vectorise.
void AddWeightedColumns(double* __restrict out, const double* __restrict c0, const double* __restrict c1,
                        const double* __restrict c2, const double* __restrict c3, const double* w, int m) {
    const double w0 = w[0], w1 = w[1], w2 = w[2], w3 = w[3];
    for (int i = 0; i < m; ++i) out[i] += c0[i] * w0 + c1[i] * w1 + c2[i] * w2 + c3[i] * w3;
}

void AddWeightedColumn(double* __restrict out, const double* __restrict column, double w, int m) {
    for (int i = 0; i < m; ++i) out[i] += column[i] * w;
}

// Column-major product: each result column is a sum of a's columns weighted by one column
// of b, so the inner loop runs over contiguous memory, four columns of a per pass.
Matrix Product(const Matrix& a, const Matrix& b) {
    const int m = a.Rows(), inner = a.Cols(), p = b.Cols();
    Matrix result(m, p, 0.0);
    for (int j = 0; j < p; ++j) {
        double* out = result.Column(j);
        const double* weights = b.Column(j);
        int k = 0;
        for (; k + 4 <= inner; k += 4)
            AddWeightedColumns(out, a.Column(k), a.Column(k + 1), a.Column(k + 2), a.Column(k + 3),
                               weights + k, m);
        for (; k < inner; ++k) AddWeightedColumn(out, a.Column(k), weights[k], m);
    }
    return result;
}

// The inverse of a square matrix, in place.
bool InvertSquare(Matrix& a) {
    if (a.Rows() == 2) return Invert2x2(a.Data());
    return LuInvert(a.Data(), a.Rows());
}

bool AllPairs(const Matrix& a, const Matrix& b, bool (*holds)(double, double)) {
    const double* x = a.Data();
    const double* y = b.Data();
    for (std::size_t i = 0, n = a.Size(); i < n; ++i)
        if (!holds(x[i], y[i])) return false;
    return true;
}

} // namespace

double GuardedQuotient(double dividend, double divisor) noexcept {
    if (divisor > -kTinyDivisor && divisor < kTinyDivisor) return std::numeric_limits<double>::max();
    return dividend / divisor;
}

double GuardedPower(double base, double exponent) noexcept {
    if (base == 0.0) return 0.0;
    if (exponent == 0.0) return 1.0;
    if (base < 0.0) exponent = std::trunc(exponent);
    return std::pow(base, exponent);
}

bool Add(Matrix& a, const Matrix& b) {
    if (a.IsEmpty() || b.IsEmpty()) return false;
    if (b.IsScalar()) {
        AddConstant(a.Data(), b.Scalar(), a.Data(), a.Size());
    } else if (a.IsScalar()) {
        Matrix result = Expanded(a, b);
        numeric::Add(result.Data(), b.Data(), result.Data(), result.Size());
        a = std::move(result);
    } else if (a.SameShape(b)) {
        numeric::Add(a.Data(), b.Data(), a.Data(), a.Size());
    } else {
        return false;
    }
    return true;
}

bool Subtract(Matrix& a, const Matrix& b) {
    if (a.IsEmpty() || b.IsEmpty()) return false;
    if (b.IsScalar()) {
        SubtractConstant(a.Data(), b.Scalar(), a.Data(), a.Size());
    } else if (a.IsScalar()) {
        Matrix result = Expanded(a, b);
        numeric::Subtract(result.Data(), b.Data(), result.Data(), result.Size());
        a = std::move(result);
    } else if (a.SameShape(b)) {
        numeric::Subtract(a.Data(), b.Data(), a.Data(), a.Size());
    } else {
        return false;
    }
    return true;
}

bool Multiply(Matrix& a, const Matrix& b) {
    if (a.IsEmpty() || b.IsEmpty()) return false;
    if (b.IsScalar()) {
        MultiplyConstant(a.Data(), b.Scalar(), a.Data(), a.Size());
    } else if (a.IsScalar()) {
        const double factor = a.Scalar();
        a = b;
        MultiplyConstant(a.Data(), factor, a.Data(), a.Size());
    } else if (a.IsVector() && b.IsVector() && a.Rows() == b.Rows()) {
        a.SetScalar(InnerProduct(a.Data(), b.Data(), a.Size()));
    } else if (a.IsMatrix() && b.Rows() == a.Cols()) {
        a = Product(a, b);
    } else {
        return false;
    }
    return true;
}

bool MultiplyElements(Matrix& a, const Matrix& b) {
    if (a.IsEmpty() || b.IsEmpty()) return false;
    if (!a.SameShape(b)) return Multiply(a, b);
    numeric::Multiply(a.Data(), b.Data(), a.Data(), a.Size());
    return true;
}

bool Divide(Matrix& a, const Matrix& b) {
    if (a.IsEmpty() || b.IsEmpty()) return false;
    if (b.IsScalar()) {
        if (b.Scalar() == 0.0) return false;
        DivideConstant(a.Data(), b.Scalar(), a.Data(), a.Size());
        return true;
    }
    if (!b.IsSquare()) return false;
    Matrix inverse = b;
    if (a.IsScalar()) {
        if (!InvertSquare(inverse)) return false;
        MultiplyConstant(inverse.Data(), a.Scalar(), inverse.Data(), inverse.Size());
        a = std::move(inverse);
        return true;
    }
    if (!a.SameShape(b) || !InvertSquare(inverse)) return false;
    a = Product(a, inverse);
    return true;
}

bool DivideElements(Matrix& a, const Matrix& b) {
    if (a.IsEmpty() || b.IsEmpty()) return false;
    if (a.SameShape(b)) {
        Elementwise(a, b, GuardedQuotient);
    } else if (a.IsScalar()) {
        const double dividend = a.Scalar();
        a = b;
        EachElement(a, [dividend](double x) { return GuardedQuotient(dividend, x); });
    } else {
        return Divide(a, b);
    }
    return true;
}

bool Modulus(Matrix& a, const Matrix& b) {
    if (a.IsEmpty() || !b.IsScalar() || b.Scalar() == 0.0) return false;
    const double divisor = b.Scalar();
    EachElement(a, [divisor](double x) { return std::fmod(x, divisor); });
    return true;
}

bool Power(Matrix& a, const Matrix& b) {
    if (a.IsEmpty() || !b.IsScalar()) return false;
    const double exponent = b.Scalar();
    if (exponent == 0.0) {
        Set(1.0, a.Data(), a.Size());
        return true;
    }
    if (exponent == -1.0) return Invert(a);
    if (exponent == 2.0) return Multiply(a, Matrix(a));
    if (exponent > 0.0 && a.Rows() >= 10) {
        numeric::Power(a.Data(), exponent, a.Data(), a.Size());
    } else {
        EachElement(a, [exponent](double x) { return GuardedPower(x, exponent); });
    }
    return true;
}

bool PowerElements(Matrix& a, const Matrix& b) {
    if (a.IsEmpty() || b.IsEmpty()) return false;
    if (a.IsScalar() && !b.IsScalar()) {
        Matrix result = Expanded(a, b);
        Elementwise(result, b, GuardedPower);
        a = std::move(result);
    } else if (b.IsScalar()) {
        const double exponent = b.Scalar();
        EachElement(a, [exponent](double x) { return GuardedPower(x, exponent); });
    } else if (a.SameShape(b)) {
        Elementwise(a, b, GuardedPower);
    } else {
        return Power(a, b);
    }
    return true;
}

bool Negate(Matrix& a) {
    if (a.IsEmpty()) return false;
    EachElement(a, [](double x) { return -x; });
    return true;
}

bool Not(Matrix& a) {
    if (a.IsEmpty()) return false;
    a.SetScalar(a.IsTrue() ? 0.0 : 1.0);
    return true;
}

bool And(Matrix& a, const Matrix& b) {
    if (a.IsEmpty() || b.IsEmpty()) return false;
    a.SetScalar(a.IsTrue() && b.IsTrue() ? 1.0 : 0.0);
    return true;
}

bool Or(Matrix& a, const Matrix& b) {
    if (a.IsEmpty() || b.IsEmpty()) return false;
    a.SetScalar(a.IsTrue() || b.IsTrue() ? 1.0 : 0.0);
    return true;
}

bool Compare(Matrix& a, const Matrix& b, Relation relation) {
    if (a.IsEmpty() || b.IsEmpty()) return false;
    const bool same = a.SameShape(b);
    bool holds = false;
    switch (relation) {
    case Relation::Equal:
        holds = same && AllPairs(a, b, [](double x, double y) { return x == y; });
        break;
    case Relation::NotEqual:
        holds = !same || !AllPairs(a, b, [](double x, double y) { return x == y; });
        break;
    case Relation::Less:
    case Relation::Greater:
    case Relation::LessEqual:
    case Relation::GreaterEqual: {
        if (!same) return false;
        bool (*test)(double, double) = nullptr;
        if (relation == Relation::Less) test = [](double x, double y) { return x < y; };
        if (relation == Relation::Greater) test = [](double x, double y) { return x > y; };
        if (relation == Relation::LessEqual) test = [](double x, double y) { return x <= y; };
        if (relation == Relation::GreaterEqual) test = [](double x, double y) { return x >= y; };
        holds = AllPairs(a, b, test);
        break;
    }
    }
    a.SetScalar(holds ? 1.0 : 0.0);
    return true;
}

bool Magnitude(Matrix& a) {
    if (a.IsScalar()) {
        a.SetScalar(std::fabs(a.Scalar()));
    } else if (a.IsVector()) {
        a.SetScalar(std::sqrt(InnerProduct(a.Data(), a.Data(), a.Size())));
    } else if (double det = 0.0; a.IsSquare() && Determinant(a, det)) {
        a.SetScalar(det);
    } else {
        a.Clear();
        return false;
    }
    return true;
}

bool Determinant(const Matrix& a, double& determinant) {
    if (!a.IsSquare()) return false;
    if (a.Rows() == 2) {
        determinant = Determinant2x2(a.Data());
        return true;
    }
    return LuDeterminant(a.Data(), a.Rows(), determinant);
}

bool Invert(Matrix& a) {
    if (a.IsScalar()) {
        if (a.Scalar() == 0.0) return false;
        a.SetScalar(1.0 / a.Scalar());
        return true;
    }
    return a.IsSquare() && InvertSquare(a);
}

void Transpose(Matrix& a) {
    if (!a.IsMatrix()) return; // empty, scalar and vector stay as they are
    Matrix result(a.Cols(), a.Rows());
    for (int c = 0; c < a.Cols(); ++c)
        for (int r = 0; r < a.Rows(); ++r) result(c, r) = a(r, c);
    a = std::move(result);
}

} // namespace numeric
