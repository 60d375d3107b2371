// Files of every kind reach the section scanner and the encoder's unpacker:
// any input scans into lines or unpacks or is refused with a message, and
// whatever unpacks packs back to the same plain bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "items/file_encoder.h"
#include "items/shell_file.h"
#include "items/text_codec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Text text;
    if (DecodeText(data, size, text)) {
        std::vector<SFileLine> lines;
        CShellFile::ScanSection(text, lines);
        for (const SFileLine& line : lines)
            if (line.text.empty() || line.text.back() == L' ') std::abort();
    }
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    std::string plain;
    if (UnpackBytes(bytes, plain).empty()) {
        std::string again;
        if (!UnpackBytes(PackBytes(plain), again).empty() || again != plain) std::abort();
    }
    return 0;
}
