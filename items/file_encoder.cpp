// The file encoder. Packed stream, bits least significant first:
//
//   8 bits      N - 1, N the number of distinct byte values
//   N x 8 bits  the byte values by falling frequency (ties by value)
//   4 bits      reserved, 0
//   4 bits      the bits of a class number, 3
//   8 x 4 bits  the widths w0..w7 of the eight classes, 1 to 8 each
//   32 bits     the plain length, little-endian, on a byte boundary
//   per byte    3 bits of class and wc bits of index within the class
//   tail        zero bits up to the end of the last byte
//
// The packed bytes then go through the password's substitution table.
#include "items/file_encoder.h"

#include <endian.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace {

constexpr int kClasses = 8;
constexpr int kClassBits = 3;

class CBitWriter {
public:
    void Put(uint32_t value, int bits) {
        m_pending |= uint64_t(value & ((uint64_t(1) << bits) - 1)) << m_count;
        m_count += bits;
        while (m_count >= 8) {
            m_bytes += static_cast<char>(m_pending);
            m_pending >>= 8;
            m_count -= 8;
        }
    }
    void Align() {
        if (m_count) Put(0, 8 - m_count);
    }
    std::string Take() {
        Align();
        return std::move(m_bytes);
    }

private:
    std::string m_bytes;
    uint64_t m_pending = 0;
    int m_count = 0;
};

class CBitReader {
public:
    explicit CBitReader(const std::string& bytes) : m_bytes(bytes) {}
    // Up to 32 bits; false when the stream has fewer left.
    bool Get(int bits, uint32_t& value) {
        if (m_bit + size_t(bits) > m_bytes.size() * 8) return false;
        const size_t at = m_bit >> 3;
        uint64_t window = 0;
        std::memcpy(&window, m_bytes.data() + at, std::min<size_t>(8, m_bytes.size() - at));
        value = static_cast<uint32_t>((le64toh(window) >> (m_bit & 7)) & ((uint64_t(1) << bits) - 1));
        m_bit += size_t(bits);
        return true;
    }
    void Align() { m_bit = (m_bit + 7) & ~size_t(7); }
    // True when the stream ends in the last byte and every bit behind the last code is zero.
    bool EndsCleanly() const {
        if ((m_bit + 7) / 8 != m_bytes.size()) return false;
        for (size_t b = m_bit; b < m_bytes.size() * 8; ++b)
            if ((static_cast<unsigned char>(m_bytes[b >> 3]) >> (b & 7)) & 1u) return false;
        return true;
    }

private:
    const std::string& m_bytes;
    size_t m_bit = 0;
};

// Bits of the data when the values in frequency order fill the classes of these widths;
// values that find no class yet count at the widest code.
unsigned long long CodedSize(const int (&widths)[kClasses], const std::vector<unsigned long long>& counts) {
    unsigned long long bits = 0;
    size_t v = 0;
    for (int c = 0; c < kClasses; ++c) {
        const size_t room = size_t(1) << widths[c];
        for (size_t k = 0; k < room && v < counts.size(); ++k, ++v)
            bits += counts[v] * (kClassBits + widths[c]);
    }
    for (; v < counts.size(); ++v) bits += counts[v] * (kClassBits + 8);
    return bits;
}

Text Head(const Text& source, const Text& target, bool decode) {
    return Format(L"copy and %s \"%s\" to \"%s\" ... ", decode ? L"decode" : L"encode", source.c_str(),
                  target.c_str());
}

} // namespace

bool SubstitutionTable(TextView password, std::array<uint8_t, 256>& table) {
    if (password.empty()) {
        for (int i = 0; i < 256; ++i) table[i] = static_cast<uint8_t>(i);
        return true;
    }
    if (password.size() < 3 || password.size() > 128) return false;
    int given[256];
    std::fill(std::begin(given), std::end(given), -1);
    unsigned x = static_cast<unsigned>(password[0]) & 255u;
    size_t i = 0;
    int n = 3000;
    int k = 0;
    while (n != 0 && k <= 255) {
        const unsigned c = static_cast<unsigned>(password[i]);
        i = (i + 1) % password.size();
        const unsigned d = static_cast<unsigned>(password[i]);
        --n;
        x = (n & 1) ? (d + c + x) & 255u : (c - d + x) & 255u;
        if (given[x] < 0) given[x] = k++;
    }
    // Places the password did not reach get the values not given out, from the top down.
    int fill = 255;
    for (int place = 0; place < 256; ++place)
        if (given[place] < 0) given[place] = fill--;
    for (int place = 0; place < 256; ++place) table[place] = static_cast<uint8_t>(given[place]);
    return true;
}

std::string PackBytes(const std::string& plain) {
    std::vector<unsigned long long> frequency(256, 0);
    for (char b : plain) ++frequency[static_cast<unsigned char>(b)];
    std::vector<int> values;
    for (int v = 0; v < 256; ++v)
        if (frequency[v]) values.push_back(v);
    std::stable_sort(values.begin(), values.end(), [&](int a, int b) { return frequency[a] > frequency[b]; });
    std::vector<unsigned long long> counts;
    for (int v : values) counts.push_back(frequency[v]);

    int widths[kClasses];
    std::fill(std::begin(widths), std::end(widths), 1);
    auto capacity = [&] {
        size_t room = 0;
        for (int w : widths) room += size_t(1) << w;
        return room;
    };
    while (capacity() < values.size()) {
        int best = -1;
        unsigned long long bestSize = 0;
        for (int c = kClasses - 1; c >= 0; --c) {
            if (widths[c] >= 8) continue;
            ++widths[c];
            const unsigned long long size = CodedSize(widths, counts);
            --widths[c];
            if (best < 0 || size < bestSize) {
                best = c;
                bestSize = size;
            }
        }
        ++widths[best];
    }

    // Each value's class and index.
    uint8_t classOf[256] = {};
    uint8_t indexOf[256] = {};
    for (size_t v = 0, c = 0, k = 0; v < values.size(); ++v, ++k) {
        while (k >= (size_t(1) << widths[c])) {
            ++c;
            k = 0;
        }
        classOf[values[v]] = static_cast<uint8_t>(c);
        indexOf[values[v]] = static_cast<uint8_t>(k);
    }

    CBitWriter out;
    out.Put(static_cast<uint32_t>(values.size() - 1), 8);
    for (int v : values) out.Put(static_cast<uint32_t>(v), 8);
    out.Put(0, 4);
    out.Put(kClassBits, 4);
    for (int w : widths) out.Put(static_cast<uint32_t>(w), 4);
    out.Align();
    out.Put(static_cast<uint32_t>(plain.size()), 32);
    for (char b : plain) {
        const unsigned char v = static_cast<unsigned char>(b);
        out.Put(classOf[v], kClassBits);
        out.Put(indexOf[v], widths[classOf[v]]);
    }
    return out.Take();
}

Text UnpackBytes(const std::string& packed, std::string& plain) {
    plain.clear();
    if (packed.empty()) return L"invalid header size";
    const size_t count = static_cast<unsigned char>(packed[0]) + size_t(1);
    if (packed.size() < 1 + count + 1 + 4 + 4) return L"invalid header size";
    CBitReader in(packed);
    uint32_t word = 0;
    in.Get(8, word);
    std::vector<unsigned char> values(count);
    for (size_t v = 0; v < count; ++v) {
        in.Get(8, word);
        values[v] = static_cast<unsigned char>(word);
    }
    uint32_t reserved = 0;
    uint32_t classBits = 0;
    in.Get(4, reserved);
    in.Get(4, classBits);
    int widths[kClasses];
    bool mapping = reserved == 0 && classBits == kClassBits;
    for (int& w : widths) {
        in.Get(4, word);
        w = static_cast<int>(word);
        mapping = mapping && w >= 1 && w <= 8;
    }
    if (!mapping) return L"invalid mapping";
    in.Align();
    uint32_t length = 0;
    in.Get(32, length);
    if (length < kEncoderMinSize || length > kEncoderMaxSize) return L"invalid data size";
    size_t first[kClasses];
    for (size_t c = 0, at = 0; c < kClasses; ++c) {
        first[c] = at;
        at += size_t(1) << widths[c];
    }
    try {
        plain.reserve(length);
    } catch (const std::bad_alloc&) {
        return L"memory allocation failed";
    }
    for (uint32_t i = 0; i < length; ++i) {
        uint32_t c = 0;
        uint32_t k = 0;
        if (!in.Get(kClassBits, c) || !in.Get(widths[c], k)) return L"decode failed";
        const size_t v = first[c] + k;
        if (v >= count) return L"decode failed";
        plain += static_cast<char>(values[v]);
    }
    if (!in.EndsCleanly()) return L"decode failed";
    return Text();
}

bool EncodeFile(const Text& source, const Text& target, const Text& password, bool decode, Text& log) {
    const Text to = target.empty() || target == L"*" ? source : target;
    const Text head = Head(source, to, decode);
    auto fail = [&](const wchar_t* message) {
        log += head + message;
        return false;
    };
    std::unique_ptr<FILE, int (*)(FILE*)> in(std::fopen(ToUtf8(source).c_str(), "rb"), &std::fclose);
    if (!in) return fail(L"sourcefile open failed");
    long size = -1;
    if (std::fseek(in.get(), 0, SEEK_END) == 0) size = std::ftell(in.get());
    if (size < static_cast<long>(kEncoderMinSize) || size > static_cast<long>(kEncoderMaxSize))
        return fail(L"invalid sourcefile size");
    std::string data;
    try {
        data.resize(static_cast<size_t>(size));
    } catch (const std::bad_alloc&) {
        return fail(L"memory allocation failed");
    }
    std::rewind(in.get());
    if (std::fread(data.data(), 1, data.size(), in.get()) != data.size())
        return fail(L"load sourcefile failed");
    in.reset();

    std::array<uint8_t, 256> table{};
    const Text key = password == L"*" ? Text() : password;
    if (!SubstitutionTable(key, table)) return fail(L"invalid password");

    std::string result;
    try {
        if (decode) {
            std::array<uint8_t, 256> inverse{};
            for (int i = 0; i < 256; ++i) inverse[table[i]] = static_cast<uint8_t>(i);
            for (char& b : data) b = static_cast<char>(inverse[static_cast<unsigned char>(b)]);
            const Text message = UnpackBytes(data, result);
            if (!message.empty()) {
                log += head + message;
                return false;
            }
        } else {
            result = PackBytes(data);
            for (char& b : result) b = static_cast<char>(table[static_cast<unsigned char>(b)]);
        }
    } catch (const std::bad_alloc&) {
        return fail(L"memory allocation failed");
    }

    std::unique_ptr<FILE, int (*)(FILE*)> out(std::fopen(ToUtf8(to).c_str(), "wb"), &std::fclose);
    if (!out) return fail(L"open targetfile failed");
    const bool written = std::fwrite(result.data(), 1, result.size(), out.get()) == result.size();
    if (std::fclose(out.release()) != 0 || !written) return fail(L"open targetfile failed");
    log += head + L"finished";
    return true;
}
