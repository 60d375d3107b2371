// Calling library functions the way the evaluator does: by name through the table, with the
// argument count checked against the entry first.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "expr/ex_functions.h"

namespace fntest {

inline std::string Name(const wchar_t* name) {
    return ToUtf8(name);
}

// Calls `name` with the given argument slots; the slots stay with the caller, so that output
// arguments can be inspected.
inline bool Invoke(const wchar_t* name, std::vector<Matrix>& args, Matrix& result) {
    const SExFunction* f = FindExFunction(name);
    if (!f) {
        ADD_FAILURE() << "no function " << Name(name);
        return false;
    }
    const int max = f->maxArgs < 0 ? 64 : f->maxArgs;
    EXPECT_GE(int(args.size()), f->minArgs) << Name(name);
    EXPECT_LE(int(args.size()), max) << Name(name);
    std::vector<Matrix*> slots;
    for (Matrix& a : args) slots.push_back(&a);
    return f->function(int(args.size()), slots.data(), result);
}

// The result of a call that must succeed.
inline Matrix Call(const wchar_t* name, std::vector<Matrix> args = {}) {
    Matrix result;
    EXPECT_TRUE(Invoke(name, args, result)) << Name(name) << " failed";
    return result;
}

// True when the call fails.
inline bool Fails(const wchar_t* name, std::vector<Matrix> args = {}) {
    Matrix result;
    return !Invoke(name, args, result);
}

// The scalar result of a call that must succeed and give a scalar.
inline double Scalar(const wchar_t* name, std::vector<Matrix> args = {}) {
    const Matrix r = Call(name, std::move(args));
    EXPECT_TRUE(r.IsScalar()) << Name(name) << " gave " << r.Rows() << " by " << r.Cols();
    return r.Scalar();
}

inline Matrix S(double v) {
    return Matrix(v);
}

inline Matrix V(std::initializer_list<double> values) {
    return Matrix::FromVector(std::vector<double>(values));
}

inline Matrix V(const std::vector<double>& values) {
    return Matrix::FromVector(values);
}

// rows by cols, given row by row as one reads a table.
inline Matrix M(int rows, int cols, std::initializer_list<double> byRows) {
    std::vector<double> v(byRows);
    std::vector<double> columnMajor(v.size());
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < cols; ++c) columnMajor[std::size_t(c) * rows + r] = v[std::size_t(r) * cols + c];
    }
    return Matrix::FromColumnMajor(rows, cols, columnMajor.data());
}

inline std::vector<double> E(const Matrix& m) {
    const auto e = m.Elements();
    return std::vector<double>(e.begin(), e.end());
}

inline void ExpectNear(const std::vector<double>& actual, const std::vector<double>& expected,
                       double tolerance) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i)
        EXPECT_NEAR(actual[i], expected[i], tolerance) << "at " << i;
}

} // namespace fntest
