// Matrix: the one numeric value type of the program. The evaluator computes on it, number
// objects hold it, tables convert to and from it and SPU ports carry it.
//
// Shape rules the rest of the program relies on:
//  - doubles, rows by columns, held column by column in one block;
//  - there is no row vector: asking for 1 by n (n >= 2) gives n by 1;
//  - rows or cols below 1 means empty (stored as 0 by 0);
//  - a 1 by 1 value keeps its element inside the object and never touches the heap.
//
// The flat index k of an element is row k % rows of column k / rows, which is also its
// place in Data(); element-wise operations walk that order.
//
// The operator functions below the class implement the shape rules of the expression
// operators, so that the evaluator only picks the function and maps a false answer to its
// "does not compute" code. Each replaces its left operand by the result and leaves it
// untouched when it answers false. They throw nothing but std::bad_alloc.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

class Matrix {
public:
    // Empty value.
    Matrix() noexcept = default;
    explicit Matrix(double value) noexcept : m_storage{value}, m_nRows(1), m_nCols(1) {}
    // rows by cols, every element `fill`; the shape is normalised (1 by n becomes n by 1,
    // a side below 1 gives an empty value).
    Matrix(int rows, int cols, double fill = 0.0);

    // Elements given column by column (rows * cols of them).
    static Matrix FromColumnMajor(int rows, int cols, const double* data);
    // Elements given as `cols` separate columns of `rows` doubles each.
    static Matrix FromColumns(int rows, int cols, const double* const* columns);
    // A column of the given values: n by 1, a scalar for one value, empty for none.
    static Matrix FromVector(std::span<const double> values);

    // Copies are deep. The changed flag belongs to the argument slot, not to the value:
    // a copy starts with it clear and assignment leaves the target's flag as it was.
    Matrix(const Matrix& other);
    Matrix(Matrix&& other) noexcept;
    Matrix& operator=(const Matrix& other);
    Matrix& operator=(Matrix&& other) noexcept;
    ~Matrix() { Release(); }

    // The "take over" form: moves the storage of a heap-allocated value into this one and
    // deletes the source object.
    void TakeOver(std::unique_ptr<Matrix> source) noexcept;
    // Exchanges the values; each keeps its own changed flag.
    void Swap(Matrix& other) noexcept;

    // Makes the value empty and frees its storage.
    void Clear() noexcept;
    void SetScalar(double value) noexcept;
    // New shape (normalised as in the constructor), every element `fill`. Keeps the block
    // when the element count stays the same.
    void SetShape(int rows, int cols, double fill = 0.0);

    int Rows() const noexcept { return m_nRows; }
    int Cols() const noexcept { return m_nCols; }
    // Number of elements.
    std::size_t Size() const noexcept { return std::size_t(m_nRows) * std::size_t(m_nCols); }
    bool IsEmpty() const noexcept { return m_nRows < 1; }
    bool IsScalar() const noexcept { return m_nRows == 1 && m_nCols == 1; }
    // At least 2 rows and exactly one column.
    bool IsVector() const noexcept { return m_nRows >= 2 && m_nCols == 1; }
    // At least 2 rows and at least 2 columns.
    bool IsMatrix() const noexcept { return m_nRows >= 2 && m_nCols >= 2; }
    // A matrix (at least 2 by 2) with as many rows as columns.
    bool IsSquare() const noexcept { return IsMatrix() && m_nRows == m_nCols; }
    bool SameShape(const Matrix& other) const noexcept {
        return m_nRows == other.m_nRows && m_nCols == other.m_nCols;
    }

    // Element read that tolerates any index: 0 outside the value (and for an empty value).
    double At(int row, int col = 0) const noexcept;
    // Unchecked element access; the index must lie inside the value.
    double& operator()(int row, int col = 0) noexcept { return Data()[Index(row, col)]; }
    double operator()(int row, int col = 0) const noexcept { return Data()[Index(row, col)]; }
    // The element of a 1 by 1 value; for other shapes the first element, 0 when empty.
    double Scalar() const noexcept { return At(0, 0); }

    // All elements in flat order; null for an empty value.
    double* Data() noexcept { return OnHeap() ? m_storage.data : (IsEmpty() ? nullptr : &m_storage.value); }
    const double* Data() const noexcept {
        return OnHeap() ? m_storage.data : (IsEmpty() ? nullptr : &m_storage.value);
    }
    std::span<double> Elements() noexcept { return {Data(), Size()}; }
    std::span<const double> Elements() const noexcept { return {Data(), Size()}; }
    // Start of column `col` (rows doubles); the column must exist.
    double* Column(int col) noexcept { return Data() + std::size_t(col) * std::size_t(m_nRows); }
    const double* Column(int col) const noexcept { return Data() + std::size_t(col) * std::size_t(m_nRows); }

    // Truth of a value: at least one element is not zero (a NaN is not zero).
    bool IsTrue() const noexcept;

    // Set by a function that has written into one of its arguments.
    bool Changed() const noexcept { return m_bChanged; }
    void SetChanged(bool changed = true) noexcept { m_bChanged = changed; }

private:
    std::size_t Index(int row, int col) const noexcept {
        return std::size_t(col) * std::size_t(m_nRows) + std::size_t(row);
    }
    bool OnHeap() const noexcept { return Size() > 1; }
    void Release() noexcept;
    // Sets the normalised shape and storage for it; the elements are left undefined.
    void Allocate(int rows, int cols);

    // The single element of a 1 by 1 value, or the block of any larger one.
    union Storage {
        double value;
        double* data;
    };
    Storage m_storage{0.0};
    int m_nRows = 0;
    int m_nCols = 0;
    bool m_bChanged = false;
};

namespace numeric {

// a + b, a - b: a scalar right operand is applied to every element; a scalar left operand is
// first expanded to the shape of the right one; otherwise the shapes must agree.
bool Add(Matrix& a, const Matrix& b);
bool Subtract(Matrix& a, const Matrix& b);

// a * b in its linear-algebra form: scaling by a scalar on either side, the inner product of
// two vectors of one length (a scalar), and the matrix product of a matrix (at least 2 by 2)
// and a matrix or vector whose row count is the matrix's column count. Everything else,
// a vector times a matrix included, fails.
bool Multiply(Matrix& a, const Matrix& b);
// a ?* b: element by element when the shapes agree, otherwise as Multiply.
bool MultiplyElements(Matrix& a, const Matrix& b);

// a / b: by a scalar that is not zero; a scalar over a square matrix (scalar times its
// inverse); a square matrix over one of the same shape (a times the inverse of b).
bool Divide(Matrix& a, const Matrix& b);
// a ?/ b: the guarded quotient element by element when the shapes agree, or of a scalar
// over each element of b; otherwise as Divide.
bool DivideElements(Matrix& a, const Matrix& b);

// a % b (also a ?% b): fmod of every element by a scalar that is not zero.
bool Modulus(Matrix& a, const Matrix& b);

// a ^ b with a scalar b, tested in this order: 0 gives ones of a's shape; -1 the inverse
// (of a scalar not 0, or of a square matrix); 2 is a * a under Multiply; any other exponent
// works element by element (plain pow on long columns for a positive exponent, the guarded
// power otherwise).
bool Power(Matrix& a, const Matrix& b);
// a ?^ b: the guarded power element by element; a scalar a is expanded to b's shape, a
// scalar b applies to every element; otherwise as Power.
bool PowerElements(Matrix& a, const Matrix& b);

// -a.
bool Negate(Matrix& a);
// !a: scalar 1 when every element is zero, else 0.
bool Not(Matrix& a);
// a && b, a || b: scalar 1 or 0 by the truth of both values.
bool And(Matrix& a, const Matrix& b);
bool Or(Matrix& a, const Matrix& b);

enum class Relation { Equal, NotEqual, Less, Greater, LessEqual, GreaterEqual };
// a <relation> b as a scalar 1 or 0, true for the whole value only when it holds for every
// pair of elements (NotEqual: when any pair differs). Values of different shapes are
// simply unequal; the ordering relations fail on them.
bool Compare(Matrix& a, const Matrix& b, Relation relation);

// |a|: absolute value of a scalar, Euclidean length of a vector, determinant of a square
// matrix. Any other shape empties the value and answers false.
bool Magnitude(Matrix& a);
// Determinant of a square matrix (at least 2 by 2): the closed form for 2 by 2, an LU
// factorisation of a copy otherwise. A singular matrix gives 0.
bool Determinant(const Matrix& a, double& determinant);
// a ^ -1: 1/x of a scalar not 0, the inverse of a square matrix (closed form for 2 by 2,
// LU otherwise); fails on a vector, a zero scalar or a singular matrix.
bool Invert(Matrix& a);
// Rows become columns; a vector stays a vector.
void Transpose(Matrix& a);

// The quotient with its guard against tiny divisors: a divisor strictly inside
// +-1.1754943508222875e-38 gives the largest double, whatever the dividend.
double GuardedQuotient(double dividend, double divisor) noexcept;
// The power with its guards, in this order: a zero base gives 0, a zero exponent 1, a
// negative base truncates the exponent toward zero, then pow.
double GuardedPower(double base, double exponent) noexcept;

} // namespace numeric
