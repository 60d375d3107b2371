#include "items/text_codec.h"
#include "base/file_io.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

// Bytes 0x80..0x9F of code page 1252; the rest of the page is Latin-1.
constexpr wchar_t kHigh1252[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

// Decoded characters gather in a small buffer that stays in the cache and
// join the text by one append per chunk: the text is written once, never
// zero-filled first.
class CChunkWriter {
public:
    explicit CChunkWriter(Text& out) : m_out(out) {}
    void Put(wchar_t c) {
        if (m_n == kChunk) Flush();
        m_buffer[m_n++] = c;
    }
    // Room for `n` characters written directly at Tail().
    wchar_t* Room(size_t n) {
        if (m_n + n > kChunk) Flush();
        return m_buffer + m_n;
    }
    void Advance(size_t n) { m_n += n; }
    void Flush() {
        m_out.append(m_buffer, m_n);
        m_n = 0;
    }

private:
    static constexpr size_t kChunk = 4096;
    Text& m_out;
    wchar_t m_buffer[kChunk];
    size_t m_n = 0;
};

// Widens the leading bytes that stand for themselves: below 0x80, and with
// `skipLo`..`skipHi` given, also the upper half outside that range. Returns
// how many bytes were taken; it stops in front of the first other byte.
size_t WidenAscii(const unsigned char* b, size_t length, CChunkWriter& w, int skipLo = 0x80,
                  int skipHi = 0xFF) {
    size_t i = 0;
#ifdef __SSE2__
    // Unsigned range test by signed compares: x - lo, moved by 0x80, against the width moved the same.
    const __m128i zero = _mm_setzero_si128();
    const __m128i bias = _mm_set1_epi8(static_cast<char>(0x80));
    const __m128i lo = _mm_set1_epi8(static_cast<char>(skipLo));
    const __m128i width = _mm_set1_epi8(static_cast<char>((skipHi - skipLo) ^ 0x80));
    while (i + 16 <= length) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + i));
        const __m128i out = _mm_cmpgt_epi8(_mm_xor_si128(_mm_sub_epi8(v, lo), bias), width);
        if (_mm_movemask_epi8(out) != 0xFFFF) break;
        wchar_t* dst = w.Room(16);
        const __m128i l = _mm_unpacklo_epi8(v, zero), h = _mm_unpackhi_epi8(v, zero);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_unpacklo_epi16(l, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 4), _mm_unpackhi_epi16(l, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 8), _mm_unpacklo_epi16(h, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 12), _mm_unpackhi_epi16(h, zero));
        w.Advance(16);
        i += 16;
    }
#endif
    while (i < length && (b[i] < skipLo || b[i] > skipHi)) w.Put(b[i++]);
    return i;
}

// Room for a large decoded text. Whole files decode into hundreds of
// megabytes; asking for huge pages before the first touch saves most of the
// page faults, which otherwise cost more than the decoding itself.
void ReserveText(Text& out, size_t length) {
    out.reserve(length);
    constexpr size_t kHuge = 2u << 20;
    const size_t bytes = out.capacity() * sizeof(wchar_t);
    if (bytes < 4 * kHuge) return;
    const auto begin = reinterpret_cast<uintptr_t>(out.data());
    const uintptr_t first = (begin + kHuge - 1) & ~(kHuge - 1);
    const uintptr_t last = (begin + bytes) & ~(kHuge - 1);
    if (last > first) ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}

bool ReadAt(int fd, off_t at, void* buffer, size_t length) {
    return ReadFullyAt(fd, at, buffer, length) == static_cast<long long>(length);
}

bool WriteAt(int fd, off_t at, const std::string& bytes) {
    return WriteFullyAt(fd, at, bytes.data(), bytes.size());
}

bool StartsWithUtf8Bom(int fd) {
    unsigned char head[3];
    return ReadAt(fd, 0, head, 3) && std::memcmp(head, kUtf8Bom, 3) == 0;
}

// Writes `text` at `position`; `position` becomes the offset behind it.
bool WriteTextAt(int fd, off_t& position, TextView text) {
    std::string bytes;
    if (!StartsWithUtf8Bom(fd)) {
        if (EncodeWindows1252(text, bytes)) {
            if (!WriteAt(fd, position, bytes)) return false;
            position += static_cast<off_t>(bytes.size());
            return true;
        }
        // A character does not fit: the file turns into UTF-8 as a whole. The
        // text behind the position is converted too, so that a writer that
        // overwrites a tail (the closing byte of a library) finds it where it was.
        const off_t size = ::lseek(fd, 0, SEEK_END);
        if (size < 0) return false;
        std::string old(static_cast<size_t>(size), '\0');
        if (size > 0 && !ReadAt(fd, 0, old.data(), old.size())) return false;
        const size_t head = std::min(static_cast<size_t>(position), old.size());
        std::string converted(kUtf8Bom);
        converted += EncodeUtf8(DecodeWindows1252(old.data(), head));
        const off_t newPosition = static_cast<off_t>(converted.size());
        converted += EncodeUtf8(DecodeWindows1252(old.data() + head, old.size() - head));
        if (!WriteAt(fd, 0, converted)) return false;
        position = newPosition;
    }
    bytes = EncodeUtf8(text);
    if (!WriteAt(fd, position, bytes)) return false;
    position += static_cast<off_t>(bytes.size());
    return true;
}

} // namespace

Text DetectBom(const void* bytes, size_t length) {
    const auto* b = static_cast<const unsigned char*>(bytes);
    if (length >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) return kEncodingUtf8;
    if (length > 3 && b[0] == 0xFF && b[1] == 0xFE && b[2] == 0 && b[3] == 0) return kEncodingUtf32Le;
    if (length > 3 && b[0] == 0 && b[1] == 0 && b[2] == 0xFE && b[3] == 0xFF) return kEncodingUtf32Be;
    if (length > 1 && b[0] == 0xFF && b[1] == 0xFE) return kEncodingUtf16Le;
    if (length > 1 && b[0] == 0xFE && b[1] == 0xFF) return kEncodingUtf16Be;
    return Text();
}

bool DecodeText(const void* bytes, size_t length, Text& out) {
    const auto* b = static_cast<const unsigned char*>(bytes);
    const Text encoding = DetectBom(bytes, length);
    if (encoding == kEncodingUtf8)
        out = DecodeUtf8(b + 3, length - 3);
    else if (encoding == kEncodingUtf16Le)
        out = DecodeUtf16(b + 2, length - 2, false);
    else if (encoding == kEncodingUtf16Be)
        out = DecodeUtf16(b + 2, length - 2, true);
    else if (encoding.empty())
        out = DecodeWindows1252(bytes, length);
    else
        return false;
    return true;
}

Text DecodeUtf8(const void* bytes, size_t length) {
    const auto* b = static_cast<const unsigned char*>(bytes);
    Text out;
    ReserveText(out, length);
    CChunkWriter w(out);
    size_t i = 0;
    while (i < length) {
        // Runs of ASCII, which most text is, go sixteen bytes at a time.
        const size_t ascii = WidenAscii(b + i, length - i, w);
        i += ascii;
        if (i >= length) break;
        const unsigned char lead = b[i];
        if (lead < 0x80) {
            w.Put(lead);
            ++i;
            continue;
        }
        // The range of the second byte depends on the lead: this rejects
        // overlong forms, surrogates and values above U+10FFFF.
        size_t need = 0;
        unsigned char lo = 0x80, hi = 0xBF;
        uint32_t c = 0;
        if (lead >= 0xC2 && lead <= 0xDF) {
            need = 1;
            c = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            need = 2;
            c = lead & 0x0F;
            if (lead == 0xE0) lo = 0xA0;
            if (lead == 0xED) hi = 0x9F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            need = 3;
            c = lead & 0x07;
            if (lead == 0xF0) lo = 0x90;
            if (lead == 0xF4) hi = 0x8F;
        } else {
            w.Put(kReplacement);
            ++i;
            continue;
        }
        size_t j = i + 1;
        bool ok = true;
        for (size_t k = 0; k < need; ++k, ++j) {
            const unsigned char lower = k == 0 ? lo : 0x80;
            const unsigned char upper = k == 0 ? hi : 0xBF;
            if (j >= length || b[j] < lower || b[j] > upper) {
                ok = false;
                break;
            }
            c = (c << 6) | (b[j] & 0x3F);
        }
        // A broken sequence is one replacement; the byte that broke it starts anew.
        w.Put(ok ? static_cast<wchar_t>(c) : kReplacement);
        i = j;
    }
    w.Flush();
    return out;
}

Text DecodeUtf16(const void* bytes, size_t length, bool bigEndian) {
    const auto* b = static_cast<const unsigned char*>(bytes);
    const size_t units = length / 2; // an odd last byte is dropped
    auto unit = [&](size_t k) -> uint32_t {
        const unsigned char x = b[2 * k], y = b[2 * k + 1];
        return bigEndian ? (uint32_t(x) << 8 | y) : (uint32_t(y) << 8 | x);
    };
    Text out;
    out.reserve(units);
    for (size_t k = 0; k < units; ++k) {
        const uint32_t u = unit(k);
        if (u >= 0xD800 && u <= 0xDBFF && k + 1 < units) {
            const uint32_t v = unit(k + 1);
            if (v >= 0xDC00 && v <= 0xDFFF) {
                out += static_cast<wchar_t>(0x10000 + ((u - 0xD800) << 10) + (v - 0xDC00));
                ++k;
                continue;
            }
        }
        out += (u >= 0xD800 && u <= 0xDFFF) ? kReplacement : static_cast<wchar_t>(u);
    }
    return out;
}

wchar_t Windows1252Char(uint8_t byte) {
    return byte >= 0x80 && byte <= 0x9F ? kHigh1252[byte - 0x80] : static_cast<wchar_t>(byte);
}

int Windows1252Byte(wchar_t c) {
    const auto u = static_cast<uint32_t>(c);
    if (u < 0x80 || (u >= 0xA0 && u <= 0xFF)) return static_cast<int>(u);
    for (int i = 0; i < 32; ++i)
        if (static_cast<uint32_t>(kHigh1252[i]) == u) return 0x80 + i;
    return -1;
}

Text DecodeWindows1252(const void* bytes, size_t length) {
    const auto* b = static_cast<const unsigned char*>(bytes);
    Text out;
    ReserveText(out, length);
    CChunkWriter w(out);
    size_t i = 0;
    while (i < length) {
        i += WidenAscii(b + i, length - i, w, 0x80, 0x9F);
        if (i < length) w.Put(Windows1252Char(b[i++]));
    }
    w.Flush();
    return out;
}

std::string EncodeUtf8(TextView text) {
    std::string out;
    out.reserve(text.size());
    for (wchar_t c : text) AppendUtf8(out, static_cast<uint32_t>(c));
    return out;
}

bool EncodeWindows1252(TextView text, std::string& out) {
    out.clear();
    out.reserve(text.size());
    bool complete = true;
    for (wchar_t c : text) {
        const int byte = Windows1252Byte(c);
        if (byte < 0) complete = false;
        out += static_cast<char>(byte < 0 ? ' ' : byte);
    }
    return complete;
}

bool WriteText(int fd, TextView text) {
    off_t position = ::lseek(fd, 0, SEEK_CUR);
    if (position < 0) return false;
    if (!WriteTextAt(fd, position, text)) return false;
    return ::lseek(fd, position, SEEK_SET) >= 0;
}

bool WriteText(FILE* file, TextView text) {
    // The stream's buffer is emptied first; the work is done on the descriptor,
    // and the stream is then moved to where the text ends.
    if (std::fflush(file) != 0) return false;
    off_t position = ::ftello(file);
    if (position < 0) return false;
    if (!WriteTextAt(::fileno(file), position, text)) return false;
    return ::fseeko(file, position, SEEK_SET) == 0;
}
