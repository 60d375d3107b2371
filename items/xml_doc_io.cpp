// Loading and saving of CXMLDoc: bytes to text through the codecs, and back in
// the encoding the document came in.
#include <cstdio>
#include <cstring>

#include "items/text_codec.h"
#include "items/xml_doc.h"

namespace {

// Case-insensitive search of an ASCII needle in file bytes.
bool BytesContain(const char* bytes, size_t length, const char* needle) {
    const size_t n = std::strlen(needle);
    if (length < n) return false;
    for (size_t i = 0; i + n <= length; ++i) {
        size_t k = 0;
        while (k < n) {
            char a = bytes[i + k], b = needle[k];
            if (a >= 'a' && a <= 'z') a = static_cast<char>(a - 32);
            if (b >= 'a' && b <= 'z') b = static_cast<char>(b - 32);
            if (a != b) break;
            ++k;
        }
        if (k == n) return true;
    }
    return false;
}

bool DeclaresEncoding(const char* bytes, size_t length, const char* name) {
    const std::string dq = std::string("encoding=\"") + name + "\"";
    const std::string sq = std::string("encoding='") + name + "'";
    return BytesContain(bytes, length, dq.c_str()) || BytesContain(bytes, length, sq.c_str());
}

void AppendUtf16(std::string& out, const Text& text, bool bigEndian) {
    auto unit = [&](unsigned u) {
        const char hi = static_cast<char>(u >> 8), lo = static_cast<char>(u & 0xFF);
        if (bigEndian) {
            out += hi;
            out += lo;
        } else {
            out += lo;
            out += hi;
        }
    };
    for (wchar_t wc : text) {
        unsigned c = static_cast<unsigned>(wc);
        if (c >= 0x10000 && c <= 0x10FFFF) {
            c -= 0x10000;
            unit(0xD800 + (c >> 10));
            unit(0xDC00 + (c & 0x3FF));
        } else {
            unit(c > 0x10FFFF ? 0xFFFD : c);
        }
    }
}

} // namespace

// --- Bytes ---------------------------------------------------------------------------

bool CXMLDoc::LoadBytes(const void* bytes, size_t length) {
    Lock lock(m_cs);
    const char* data = static_cast<const char*>(bytes);
    const Text bom = DetectBom(bytes, length);
    Text text;
    if (bom == kEncodingUtf32Le || bom == kEncodingUtf32Be) {
        Clear();
        m_message = L"unsupported byte order mark";
        return false;
    }
    Text encoding;
    std::string mark;
    if (bom == kEncodingUtf8) {
        text = DecodeUtf8(data + 3, length - 3);
        encoding = L"UTF-8";
        mark.assign(data, 3);
    } else if (bom == kEncodingUtf16Le || bom == kEncodingUtf16Be) {
        text = DecodeUtf16(data + 2, length - 2, bom == kEncodingUtf16Be);
        encoding = L"UTF-16";
        mark.assign(data, 2);
    } else if (DeclaresEncoding(data, length, "UTF-8")) {
        text = DecodeUtf8(data, length);
        encoding = L"UTF-8";
    } else if (DeclaresEncoding(data, length, "UTF-16")) {
        // Declared UTF-16 with no mark: little-endian, the platform's order.
        text = DecodeUtf16(data, length, false);
        encoding = L"UTF-16";
    } else {
        text = DecodeWindows1252(data, length);
        encoding = L"windows-1252";
    }
    const bool ok = Parse(std::move(text));
    m_encoding = encoding;
    m_bom = mark;
    return ok;
}

bool CXMLDoc::LoadFile(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) {
        Lock lock(m_cs);
        Clear();
        m_message = L"file cannot be opened";
        return false;
    }
    std::string bytes;
    char buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, n);
    std::fclose(file);
    return LoadBytes(bytes.data(), bytes.size());
}

void CXMLDoc::SaveBytes(std::string& out) {
    Lock lock(m_cs);
    out.clear();
    Text instruction;
    const size_t pi = m_text.find(L"<?");
    if (pi != Text::npos) {
        const size_t end = m_text.find(L"?>", pi);
        if (end != Text::npos) instruction = UpperCase(TextView(m_text).substr(pi, end - pi));
    }
    const bool utf16 = m_bom.size() == 2 && instruction.find(L"UTF-16") != Text::npos;
    bool utf8 = instruction.find(L"UTF-8") != Text::npos;
    const bool ansi = !utf8 && instruction.find(L"WINDOWS-1252") != Text::npos;
    if (!utf16 && !utf8 && !ansi) {
        InsertText(0, L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n");
        utf8 = true;
    }
    if (utf16) {
        out = m_bom;
        AppendUtf16(out, m_text, m_bom[0] == '\xFE');
        m_encoding = L"UTF-16";
    } else if (utf8) {
        if (m_bom.size() == 3) out = m_bom;
        out += EncodeUtf8(m_text);
        m_encoding = L"UTF-8";
    } else {
        // Characters the code page lacks go out as character references.
        out.reserve(m_text.size());
        for (wchar_t c : m_text) {
            const int byte = Windows1252Byte(c);
            if (byte >= 0)
                out += static_cast<char>(byte);
            else
                out += ToUtf8(Format(L"&#%u;", static_cast<unsigned>(c)));
        }
        m_encoding = L"windows-1252";
    }
}

bool CXMLDoc::SaveFile(const std::string& path) {
    std::string bytes;
    SaveBytes(bytes);
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return false;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && ok;
}
