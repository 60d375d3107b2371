// File bytes of every kind reach the codecs first: any input decodes to text
// or is refused, and what windows-1252 can hold comes back byte for byte.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "items/text_codec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    DetectBom(data, size);
    Text text;
    DecodeText(data, size, text);
    DecodeUtf8(data, size);
    DecodeUtf16(data, size, true);
    DecodeUtf16(data, size, false);
    const Text ansi = DecodeWindows1252(data, size);
    std::string back;
    if (EncodeWindows1252(ansi, back) && back != std::string(reinterpret_cast<const char*>(data), size))
        std::abort();
    return 0;
}
