// Sample codings and the one conversion routine between any two of them, plus
// the channel set of up to 128 channels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/text.h"

constexpr int CODING_PCM8 = 1;   // unsigned, 128 is silence
constexpr int CODING_PCM16 = 2;  // signed
constexpr int CODING_PCM24 = 3;  // signed, packed little endian
constexpr int CODING_PCM32 = 4;  // signed
constexpr int CODING_FLOAT = 20; // IEEE single, full scale 1.0

// Bytes of one sample; 0 for a value that is no coding.
int CodingBytes(int coding);
bool IsCoding(int coding);
// "PCM8", "PCM16", "PCM24", "PCM32", "FLOAT"; "?" otherwise.
const wchar_t* CodingName(int coding);
// By name (case-insensitive, also the number); 0 when none.
int CodingFromName(TextView name);

// Converts `count` samples. Starts and strides count samples, never bytes, so
// a stride of the channel count walks one channel of interleaved frames.
// PCM32 reaches FLOAT through its top 24 bits only and comes back the same
// way; FLOAT to integers truncates toward zero and clips, without dither.
void ConvertSamples(int srcCoding, const void* src, size_t srcStart, size_t srcStride, int dstCoding,
                    void* dst, size_t dstStart, size_t dstStride, size_t count);

// A set of channels 1..128: an "all" flag and a bit per channel.
class CChannelSet {
public:
    static constexpr int kMax = 128;
    void SetAll() { m_all = true; }
    bool All() const { return m_all; }
    void Clear();
    // False for a number above 128; a number below 1 sets "all".
    bool Add(long long channel);
    bool Has(int channel) const;
    // The next member after `channel` up to `limit`, 0 when none (start with 0).
    int Next(int channel, int limit) const;
    // Members up to `limit`.
    int Count(int limit) const;

private:
    bool m_all = false;
    uint32_t m_bits[4] = {};
};
