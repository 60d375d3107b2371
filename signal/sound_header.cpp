#include "signal/sound_header.h"

#include <cstring>

#include "items/text_codec.h"
#include "signal/sample_coding.h"

namespace {

uint16_t Get16(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] | p[1] << 8);
}
uint32_t Get32(const uint8_t* p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
void Put16(std::string& out, uint32_t v) {
    out += char(v & 0xFF);
    out += char((v >> 8) & 0xFF);
}
void Put32(std::string& out, uint32_t v) {
    Put16(out, v & 0xFFFF);
    Put16(out, v >> 16);
}

constexpr int kKv5HeadBytes = 64;
constexpr int kKv5EntryBytes = 16;
constexpr int kKv5NewEntries = 1024;
constexpr int kDir5EntryBytes = 20;
constexpr uint8_t kDirEnd = 255;
constexpr double kMaxWaveRate = 2000000.0;
constexpr uint16_t kTagPcm = 1;
constexpr uint16_t kTagFloat = 3;
constexpr uint16_t kTagALaw = 6;
constexpr uint16_t kTagFloatOld = 3890;
constexpr uint16_t kTagExtensible = 0xFFFE;

// The KV5 directory: markers (bit 0) and begin entries (bit 2) whose end is
// the next entry of the same 11 name bytes.
void ReadKv5Directory(CByteSource& source, long long count, std::vector<SSegment>& out) {
    std::vector<uint8_t> entries;
    entries.reserve(static_cast<size_t>(count) * kKv5EntryBytes);
    uint8_t entry[kKv5EntryBytes];
    for (long long i = 0; i < count; ++i) {
        if (!source.ReadAt(kKv5HeadBytes + i * kKv5EntryBytes, entry, sizeof entry)) break;
        entries.insert(entries.end(), entry, entry + sizeof entry);
    }
    const size_t n = entries.size() / kKv5EntryBytes;
    if (n == static_cast<size_t>(count)) entries[(n - 1) * kKv5EntryBytes] = kDirEnd;
    for (size_t i = 0; i < n; ++i) {
        const uint8_t* e = &entries[i * kKv5EntryBytes];
        if (e[0] == kDirEnd) break;
        if (e[0] & 1) {
            const long long at = Get32(e + 12);
            out.push_back({DirectoryName(e + 1, e + 9), at, at});
        } else if (e[0] & 4) {
            for (size_t j = i + 1; j < n; ++j) {
                const uint8_t* f = &entries[j * kKv5EntryBytes];
                if (f[0] == kDirEnd) break;
                if (std::memcmp(e + 1, f + 1, 11) == 0) {
                    out.push_back({DirectoryName(e + 1, e + 9), Get32(e + 12), Get32(f + 12)});
                    break;
                }
            }
        }
    }
}

void ReadDir5(CByteSource& source, uint64_t at, uint32_t length, std::vector<SSegment>& out) {
    const uint32_t n = length / kDir5EntryBytes;
    uint8_t e[kDir5EntryBytes];
    for (uint32_t i = 0; i < n; ++i) {
        if (!source.ReadAt(at + uint64_t(i) * kDir5EntryBytes, e, sizeof e)) return;
        if (i + 1 == n) e[0] = kDirEnd;
        if (e[0] == kDirEnd) return;
        if (e[0] & 1) out.push_back({DirectoryName(e + 1, e + 9), Get32(e + 12), Get32(e + 16)});
    }
}

// The coding of a format tag and sample width; 0 when the program does not read it.
int WaveCoding(uint16_t tag, uint16_t bits, bool& companded) {
    companded = false;
    if (bits == 24) return CODING_PCM24; // whatever the tag says
    if (tag == kTagPcm) {
        switch (bits) {
        case 8:
            return CODING_PCM8;
        case 16:
            return CODING_PCM16;
        case 20:
            return CODING_PCM24;
        case 32:
            return CODING_PCM32;
        default:
            return 0;
        }
    }
    if ((tag == kTagFloat || tag == kTagFloatOld) && bits == 32) return CODING_FLOAT;
    if (tag == kTagALaw && bits == 8) {
        companded = true;
        return CODING_PCM16;
    }
    return 0;
}

} // namespace

int SSoundHeader::FrameBytes() const {
    return companded ? channels : channels * CodingBytes(coding);
}

bool CMemorySource::ReadAt(uint64_t offset, void* buffer, size_t bytes) {
    if (offset > m_size || bytes > m_size - offset) return false;
    std::memcpy(buffer, m_data + offset, bytes);
    return true;
}

Text DirectoryName(const uint8_t* name8, const uint8_t* ext3) {
    Text out;
    for (int i = 0; i < 8 && name8[i] >= 33; ++i) out += Windows1252Char(name8[i]);
    out += L'.';
    for (int i = 0; i < 3 && ext3[i] >= 33; ++i) out += Windows1252Char(ext3[i]);
    return out;
}

bool ReadKv5Header(CByteSource& source, SSoundHeader& out) {
    uint8_t h[kKv5HeadBytes];
    if (!source.ReadAt(0, h, sizeof h)) return false;
    if (h[0] != 'S' || h[1] != 'F') return false;
    float rate;
    std::memcpy(&rate, h + 43, 4);
    if (!(rate >= 1.0f && rate < 192000.0f)) return false;
    const int channels = h[47];
    const int coding = h[48];
    const int format = h[49];
    const int entries = Get16(h + 50);
    if (channels < 1 || (coding != CODING_PCM8 && coding != CODING_PCM16)) return false;
    if (format < 1 || format > 3) return false;
    if (entries < 64 || entries > 1024 || h[52] != kKv5EntryBytes) return false;
    out = SSoundHeader();
    out.kind = SFKIND_KV5;
    out.coding = coding;
    out.channels = channels;
    out.rate = rate;
    out.dataOffset = kKv5HeadBytes + kKv5EntryBytes * entries;
    const uint64_t size = source.Size();
    out.dataLength = size > uint64_t(out.dataOffset) ? static_cast<long long>(size - out.dataOffset) : 0;
    ReadKv5Directory(source, entries, out.segments);
    return true;
}

bool ReadWaveHeader(CByteSource& source, SSoundHeader& out) {
    uint8_t head[12];
    if (!source.ReadAt(0, head, sizeof head)) return false;
    if (std::memcmp(head, "RIFF", 4) != 0 || std::memcmp(head + 8, "WAVE", 4) != 0) return false;
    uint64_t pos = 12;
    uint8_t chunk[8];
    uint64_t fmtAt = 0;
    uint32_t fmtLength = 0;
    uint64_t dirAt = 0;
    uint32_t dirLength = 0;
    // Up to and including "fmt ".
    for (;;) {
        if (!source.ReadAt(pos, chunk, sizeof chunk)) return false;
        const uint32_t length = Get32(chunk + 4);
        if (std::memcmp(chunk, "fmt ", 4) == 0) {
            if (length < 16) return false;
            fmtAt = pos + 8;
            fmtLength = length;
            pos += 8 + uint64_t(length);
            break;
        }
        pos += 8 + uint64_t(length); // no padding to even sizes
    }
    // On to "data"; the first "dir5" on the way counts.
    uint64_t dataAt = 0;
    uint32_t dataLength = 0;
    for (;;) {
        if (!source.ReadAt(pos, chunk, sizeof chunk)) return false;
        const uint32_t length = Get32(chunk + 4);
        if (std::memcmp(chunk, "data", 4) == 0) {
            dataAt = pos + 8;
            dataLength = length;
            break;
        }
        if (dirAt == 0 && std::memcmp(chunk, "dir5", 4) == 0) {
            if (length < kDir5EntryBytes || length % kDir5EntryBytes != 0) return false;
            dirAt = pos + 8;
            dirLength = length;
        }
        pos += 8 + uint64_t(length);
    }
    uint8_t fmt[40] = {};
    if (!source.ReadAt(fmtAt, fmt, fmtLength >= 40 ? 40 : 16)) return false;
    uint16_t tag = Get16(fmt);
    const uint16_t channels = Get16(fmt + 2);
    const uint32_t rate = Get32(fmt + 4);
    const uint16_t bits = Get16(fmt + 14);
    // The extensible form names its coding by the first word of the sub-format;
    // only plain samples and floats are read that way.
    if (tag == kTagExtensible) {
        if (fmtLength < 40) return false;
        const uint16_t sub = Get16(fmt + 24);
        if (sub != kTagPcm && sub != kTagFloat) return false;
        tag = sub;
    }
    if (channels < 1 || channels > 256 || rate < 1 || rate > kMaxWaveRate) return false;
    bool companded = false;
    const int coding = WaveCoding(tag, bits, companded);
    if (coding == 0) return false;
    out = SSoundHeader();
    out.kind = SFKIND_WAVE;
    out.coding = coding;
    out.companded = companded;
    out.channels = channels;
    out.rate = rate;
    out.dataOffset = static_cast<long long>(dataAt);
    const uint64_t size = source.Size();
    const uint64_t present = size > dataAt ? size - dataAt : 0;
    // A header written by a program that never came back to fix its sizes
    // claims more than there is: the file is what counts.
    out.dataLength = static_cast<long long>(dataLength < present ? dataLength : present);
    if (dirAt) ReadDir5(source, dirAt, dirLength, out.segments);
    return true;
}

int ReadSoundHeader(CByteSource& source, SSoundHeader& out) {
    if (ReadKv5Header(source, out)) return SFKIND_KV5;
    if (ReadWaveHeader(source, out)) return SFKIND_WAVE;
    return 0;
}

bool MakeWaveHeader(int coding, bool companded, int channels, double rate, std::string& out) {
    if (!IsCoding(coding) || channels < 1 || channels > 256 || !(rate >= 1.0 && rate <= kMaxWaveRate))
        return false;
    const int bytes = companded ? 1 : CodingBytes(coding);
    const uint16_t tag = companded ? kTagALaw : coding == CODING_FLOAT ? kTagFloat : kTagPcm;
    const uint32_t srate = static_cast<uint32_t>(rate);
    out.clear();
    out += "RIFF";
    Put32(out, 36);
    out += "WAVEfmt ";
    Put32(out, 16);
    Put16(out, tag);
    Put16(out, static_cast<uint32_t>(channels));
    Put32(out, srate);
    Put32(out, srate * static_cast<uint32_t>(channels * bytes));
    Put16(out, static_cast<uint32_t>(channels * bytes));
    Put16(out, static_cast<uint32_t>(bytes * 8));
    out += "data";
    Put32(out, 0);
    return true;
}

bool MakeKv5Header(int coding, int channels, double rate, std::string& out) {
    if ((coding != CODING_PCM8 && coding != CODING_PCM16) || channels < 1 || channels > 255 ||
        !(rate >= 1.0 && rate < 192000.0))
        return false;
    out.assign(kKv5HeadBytes + kKv5EntryBytes * kKv5NewEntries, '\0');
    out[0] = 'S';
    out[1] = 'F';
    const float r = static_cast<float>(rate);
    std::memcpy(&out[43], &r, 4);
    out[47] = static_cast<char>(channels);
    out[48] = static_cast<char>(coding);
    out[49] = static_cast<char>(coding == CODING_PCM8 ? 2 : 3);
    out[50] = static_cast<char>(kKv5NewEntries & 0xFF);
    out[51] = static_cast<char>(kKv5NewEntries >> 8);
    out[52] = static_cast<char>(kKv5EntryBytes);
    out[kKv5HeadBytes + kKv5EntryBytes * (kKv5NewEntries - 1)] = static_cast<char>(kDirEnd);
    return true;
}
