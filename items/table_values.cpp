// Numbers in bulk: the paths by which SPUs, displays and the evaluator move
// whole rows, columns and tables of a parameter table.
#include <algorithm>
#include <cmath>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "items/shell_table.h"
#include "items/table_data.h"
#include "numeric/matrix.h"

namespace {
// Row-major numbers of `n` fields into n column-major streams: the width is a template
// argument so that each row is one unrolled step with no aliasing doubts.
template <int N> void SplitColumnsN(const double* __restrict src, long rows, double* __restrict out) {
    double* __restrict col[N];
    for (int c = 0; c < N; ++c) col[c] = out + static_cast<size_t>(c) * rows;
    long r = 0;
#ifdef __SSE2__
    if constexpr (N % 2 == 0) {
        // Two rows at a time: each pair of fields of two rows becomes a pair of two columns.
        for (; r + 1 < rows; r += 2, src += 2 * N) {
            for (int c = 0; c < N; c += 2) {
                const __m128d x = _mm_loadu_pd(src + c);
                const __m128d y = _mm_loadu_pd(src + N + c);
                _mm_storeu_pd(col[c] + r, _mm_unpacklo_pd(x, y));
                _mm_storeu_pd(col[c + 1] + r, _mm_unpackhi_pd(x, y));
            }
        }
    }
#endif
    for (; r < rows; ++r, src += N)
        for (int c = 0; c < N; ++c) col[c][r] = src[c];
}

void SplitColumns(const double* src, long rows, int n, double* out) {
    switch (n) {
    case 1:
        return SplitColumnsN<1>(src, rows, out);
    case 2:
        return SplitColumnsN<2>(src, rows, out);
    case 3:
        return SplitColumnsN<3>(src, rows, out);
    case 4:
        return SplitColumnsN<4>(src, rows, out);
    case 5:
        return SplitColumnsN<5>(src, rows, out);
    case 6:
        return SplitColumnsN<6>(src, rows, out);
    case 7:
        return SplitColumnsN<7>(src, rows, out);
    default:
        return SplitColumnsN<8>(src, rows, out);
    }
}

} // namespace

// Numbers in bulk ------------------------------------------------------------------------------

long CShellTable::AppendNumbers(const double* values, int n) {
    CItemSection hold(m_cs);
    if (!IsParameter()) return -1;
    const long row = AppendRows(1);
    if (row < 0) return -1;
    double* place = Place(row);
    const int count = std::min(n, m_nFields);
    for (int f = 0; f < count; ++f)
        place[f] = m_pFields[f].m_nType == FIELD_INTEGER ? std::trunc(values[f]) : values[f];
    return row;
}

int CShellTable::GetRowValues(long row, double* out, int n) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    const long real = GetRowIndex(row);
    if (real < 0) return 0;
    const int count = std::min(n, m_nFields);
    for (int f = 0; f < count; ++f) {
        double value = 0;
        if (!GetNumber(real, f, value) || !m_pFields[f].Numeric()) value = 0.0;
        out[f] = value;
    }
    return count;
}

long CShellTable::GetColumnValues(int field, double* out, long n) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    if (field < 0 || field >= m_nFields || !m_pFields[field].Numeric()) return 0;
    const long count = std::min(n, GetRows());
    for (long i = 0; i < count; ++i) {
        const long real = m_bRanged ? m_pTagIndex[i] : i;
        double value = 0;
        if (!GetNumber(real, field, value)) value = 0.0;
        out[i] = value;
    }
    return count;
}

bool CShellTable::ToValue(long row, int field, Matrix& out) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    const bool param = IsParameter();
    std::vector<int> columns;
    for (int f = 0; f < m_nFields; ++f)
        if (m_pFields[f].Numeric()) columns.push_back(f);
    if (field >= 0 && (field >= m_nFields || !m_pFields[field].Numeric())) return false;
    const long rows = GetRows();
    if (row >= 0) {
        const long real = GetRowIndex(row);
        if (real < 0) return false;
        if (field >= 0) {
            double value = 0;
            if (!GetNumber(real, field, value)) return false;
            out.SetScalar(value);
            return true;
        }
        std::vector<double> values(columns.size());
        for (size_t c = 0; c < columns.size(); ++c)
            if (!GetNumber(real, columns[c], values[c])) values[c] = 0.0;
        out = Matrix::FromVector(values);
        return true;
    }
    if (field >= 0) columns.assign(1, field);
    if (rows == 0 || columns.empty()) {
        out.Clear();
        return true;
    }
    const int nCols = static_cast<int>(columns.size());
    // A value of this shape already has its block: no zero fill before the copy.
    if (out.Rows() != rows || out.Cols() != nCols) out.SetShape(static_cast<int>(rows), nCols);
    // A 1-row table is a vector over its fields: the shape rule has turned the matrix round.
    const bool oneRow = rows == 1 && nCols > 1;
    double* data = out.Data();
    if (param && !m_bRanged && !m_bPlacesMoved && !oneRow) {
        // Rows sit at their own places: one pass over the block, a stream per column.
        const int stride = m_nFields;
        if (nCols == stride && nCols <= 8) {
            SplitColumns(m_pBlock, rows, nCols, data);
        } else {
            for (long r = 0; r < rows; ++r) {
                const double* src = m_pBlock + static_cast<size_t>(r) * stride;
                for (int c = 0; c < nCols; ++c) data[static_cast<size_t>(c) * rows + r] = src[columns[c]];
            }
        }
        return true;
    }
    for (long r = 0; r < rows; ++r) {
        const long real = m_bRanged ? m_pTagIndex[r] : r;
        for (int c = 0; c < nCols; ++c) {
            double value = 0;
            if (!GetNumber(real, columns[c], value)) value = 0.0;
            data[oneRow ? c : static_cast<size_t>(c) * rows + r] = value;
        }
    }
    return true;
}

CShellTable* CShellTable::FromMatrix(CShellEnv* env, const Matrix& value, TextView prefix, bool transpose,
                                     long startSize) {
    const Text stem = prefix.empty() ? Text(L"X") : Text(prefix);
    const int r = value.Rows(), c = value.Cols();
    const int fields = std::max(1, transpose ? r : c);
    const long rows = transpose ? c : r;
    auto* table = new CShellTable(env, TABLE_PARAMETER | TABLE_EXTENDED, fields,
                                  startSize > 0 ? startSize : rows, rows);
    for (int f = 0; f < fields; ++f)
        table->DefineField(f, FIELD_NUMBER, (r == 1 && c == 1) ? stem : stem + IntText(f));
    if (rows < 1) return table;
    if (table->AppendRows(rows) < 0) {
        table->m_nShare = 0;
        delete table;
        return nullptr;
    }
    double* block = table->m_pBlock;
    for (long i = 0; i < rows; ++i)
        for (int f = 0; f < fields; ++f)
            block[i * fields + f] = transpose ? value(f, static_cast<int>(i)) : value(static_cast<int>(i), f);
    return table;
}
