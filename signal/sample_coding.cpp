#include "signal/sample_coding.h"

#include <cmath>
#include <cstring>

namespace {

struct SCodingName {
    int coding;
    const wchar_t* name;
};
constexpr SCodingName kCodingNames[] = {{CODING_PCM8, L"PCM8"},
                                        {CODING_PCM16, L"PCM16"},
                                        {CODING_PCM24, L"PCM24"},
                                        {CODING_PCM32, L"PCM32"},
                                        {CODING_FLOAT, L"FLOAT"}};

// Raw values: PCM8 as its unsigned byte, PCM24 as the sign-extended 24-bit
// number, the others as themselves.
template <int C> auto Load(const uint8_t* base, size_t index) {
    if constexpr (C == CODING_PCM8) {
        return static_cast<int32_t>(base[index]);
    } else if constexpr (C == CODING_PCM16) {
        int16_t v;
        std::memcpy(&v, base + index * 2, 2);
        return static_cast<int32_t>(v);
    } else if constexpr (C == CODING_PCM24) {
        const uint8_t* p = base + index * 3;
        const uint32_t u = uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16;
        return static_cast<int32_t>(u << 8) >> 8;
    } else if constexpr (C == CODING_PCM32) {
        int32_t v;
        std::memcpy(&v, base + index * 4, 4);
        return v;
    } else {
        float v;
        std::memcpy(&v, base + index * 4, 4);
        return v;
    }
}

template <int C, typename V> void Store(uint8_t* base, size_t index, V value) {
    if constexpr (C == CODING_PCM8) {
        base[index] = static_cast<uint8_t>(value);
    } else if constexpr (C == CODING_PCM16) {
        const int16_t v = static_cast<int16_t>(value);
        std::memcpy(base + index * 2, &v, 2);
    } else if constexpr (C == CODING_PCM24) {
        const uint32_t u = static_cast<uint32_t>(value);
        uint8_t* p = base + index * 3;
        p[0] = uint8_t(u);
        p[1] = uint8_t(u >> 8);
        p[2] = uint8_t(u >> 16);
    } else if constexpr (C == CODING_PCM32) {
        const int32_t v = static_cast<int32_t>(value);
        std::memcpy(base + index * 4, &v, 4);
    } else {
        const float v = static_cast<float>(value);
        std::memcpy(base + index * 4, &v, 4);
    }
}

constexpr float kScale8 = 0.0078125f;        // 2^-7
constexpr float kScale16 = 3.0517578125e-5f; // 2^-15
constexpr float kScale24 = 1.1920928955e-7f; // 2^-23

// FLOAT to the 32-bit form that carries 24 significant bits; NaN counts as silence.
inline int32_t FloatTo32(float f) {
    const double t = std::trunc(double(f) * 8388608.0);
    if (t >= 8388608.0) return 0x7FFFFF00;
    if (t < -8388608.0) return INT32_MIN;
    if (std::isnan(t)) return 0;
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<int32_t>(t)) << 8);
}

template <int S, int D, typename V> auto Convert(V v) {
    if constexpr (S == D) {
        return v;
    } else if constexpr (S == CODING_PCM8) {
        const int32_t c = v - 128;
        if constexpr (D == CODING_PCM16)
            return c * 256;
        else if constexpr (D == CODING_PCM24)
            return c * 65536;
        else if constexpr (D == CODING_PCM32)
            return static_cast<int32_t>(static_cast<uint32_t>(c) << 24);
        else
            return float(c) * kScale8;
    } else if constexpr (S == CODING_PCM16) {
        if constexpr (D == CODING_PCM8)
            return (v >> 8) + 128;
        else if constexpr (D == CODING_PCM24)
            return v * 256;
        else if constexpr (D == CODING_PCM32)
            return static_cast<int32_t>(static_cast<uint32_t>(v) << 16);
        else
            return float(v) * kScale16;
    } else if constexpr (S == CODING_PCM24) {
        if constexpr (D == CODING_PCM8)
            return (v >> 16) + 128;
        else if constexpr (D == CODING_PCM16)
            return v >> 8;
        else if constexpr (D == CODING_PCM32)
            return static_cast<int32_t>(static_cast<uint32_t>(v) << 8);
        else
            return float(v) * kScale24;
    } else if constexpr (S == CODING_PCM32) {
        if constexpr (D == CODING_PCM8)
            return (v >> 24) + 128;
        else if constexpr (D == CODING_PCM16)
            return v >> 16;
        else if constexpr (D == CODING_PCM24)
            return v >> 8;
        else
            return float(v >> 8) * kScale24;
    } else {
        if constexpr (D == CODING_PCM8) {
            const double t = std::trunc(double(v) * 128.0);
            if (t >= 128.0) return 255;
            if (t < -128.0 || std::isnan(t)) return t < -128.0 ? 0 : 128;
            return static_cast<int>(t) + 128;
        } else if constexpr (D == CODING_PCM16) {
            const double t = std::trunc(double(v) * 32768.0);
            if (t >= 32768.0) return 32767;
            if (t < -32768.0) return -32768;
            if (std::isnan(t)) return 0;
            return static_cast<int>(t);
        } else if constexpr (D == CODING_PCM24) {
            return FloatTo32(v) >> 8;
        } else {
            return FloatTo32(v);
        }
    }
}

template <int S, int D>
void Run(const uint8_t* src, size_t si, size_t ss, uint8_t* dst, size_t di, size_t ds, size_t count) {
    if constexpr (S == D) {
        const size_t bytes = S == CODING_FLOAT ? 4 : S;
        if (ss == 1 && ds == 1) {
            std::memmove(dst + di * bytes, src + si * bytes, count * bytes);
            return;
        }
    }
    for (size_t i = 0; i < count; ++i, si += ss, di += ds) Store<D>(dst, di, Convert<S, D>(Load<S>(src, si)));
}

template <int S>
void RunFrom(int dstCoding, const uint8_t* src, size_t si, size_t ss, uint8_t* dst, size_t di, size_t ds,
             size_t count) {
    switch (dstCoding) {
    case CODING_PCM8:
        Run<S, CODING_PCM8>(src, si, ss, dst, di, ds, count);
        break;
    case CODING_PCM16:
        Run<S, CODING_PCM16>(src, si, ss, dst, di, ds, count);
        break;
    case CODING_PCM24:
        Run<S, CODING_PCM24>(src, si, ss, dst, di, ds, count);
        break;
    case CODING_PCM32:
        Run<S, CODING_PCM32>(src, si, ss, dst, di, ds, count);
        break;
    case CODING_FLOAT:
        Run<S, CODING_FLOAT>(src, si, ss, dst, di, ds, count);
        break;
    default:
        break;
    }
}

} // namespace

int CodingBytes(int coding) {
    switch (coding) {
    case CODING_PCM8:
    case CODING_PCM16:
    case CODING_PCM24:
    case CODING_PCM32:
        return coding;
    case CODING_FLOAT:
        return 4;
    default:
        return 0;
    }
}

bool IsCoding(int coding) {
    return CodingBytes(coding) != 0;
}

const wchar_t* CodingName(int coding) {
    for (const auto& row : kCodingNames)
        if (row.coding == coding) return row.name;
    return L"?";
}

int CodingFromName(TextView name) {
    for (const auto& row : kCodingNames)
        if (EqualNoCase(name, row.name)) return row.coding;
    long long n = 0;
    if (ParseWholeLong(name, n) && IsCoding(static_cast<int>(n))) return static_cast<int>(n);
    return 0;
}

void ConvertSamples(int srcCoding, const void* src, size_t srcStart, size_t srcStride, int dstCoding,
                    void* dst, size_t dstStart, size_t dstStride, size_t count) {
    const auto* s = static_cast<const uint8_t*>(src);
    auto* d = static_cast<uint8_t*>(dst);
    switch (srcCoding) {
    case CODING_PCM8:
        RunFrom<CODING_PCM8>(dstCoding, s, srcStart, srcStride, d, dstStart, dstStride, count);
        break;
    case CODING_PCM16:
        RunFrom<CODING_PCM16>(dstCoding, s, srcStart, srcStride, d, dstStart, dstStride, count);
        break;
    case CODING_PCM24:
        RunFrom<CODING_PCM24>(dstCoding, s, srcStart, srcStride, d, dstStart, dstStride, count);
        break;
    case CODING_PCM32:
        RunFrom<CODING_PCM32>(dstCoding, s, srcStart, srcStride, d, dstStart, dstStride, count);
        break;
    case CODING_FLOAT:
        RunFrom<CODING_FLOAT>(dstCoding, s, srcStart, srcStride, d, dstStart, dstStride, count);
        break;
    default:
        break;
    }
}

void CChannelSet::Clear() {
    m_all = false;
    for (auto& word : m_bits) word = 0;
}

bool CChannelSet::Add(long long channel) {
    if (channel < 1) {
        m_all = true;
        return true;
    }
    if (channel > kMax) return false;
    const int bit = static_cast<int>(channel - 1);
    m_bits[bit / 32] |= 1u << (bit % 32);
    return true;
}

bool CChannelSet::Has(int channel) const {
    if (channel < 1 || channel > kMax) return false;
    if (m_all) return true;
    const int bit = channel - 1;
    return (m_bits[bit / 32] >> (bit % 32)) & 1u;
}

int CChannelSet::Next(int channel, int limit) const {
    if (limit > kMax) limit = kMax;
    for (int c = channel + 1; c <= limit; ++c)
        if (Has(c)) return c;
    return 0;
}

int CChannelSet::Count(int limit) const {
    int n = 0;
    for (int c = Next(0, limit); c; c = Next(c, limit)) ++n;
    return n;
}
