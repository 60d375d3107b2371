// Source files come from anywhere: the bytes are decoded by the codecs, cut
// into lines, preprocessed, split into sections and compiled. Whatever they
// hold, the loader must answer with log lines and a result, never crash,
// hang or leak. Includes are left out: a fuzzed name could open any device.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "items/text_codec.h"
#include "macro/preprocessor.h"
#include "macro/register.h"
#include "macro/source_loader.h"
#include "shell/shell_env.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool registered = [] {
        RegisterMacroLayer();
        return true;
    }();
    (void)registered;
    for (size_t i = 0; i + 7 <= size; ++i)
        if (std::memcmp(data + i, "include", 7) == 0) return 0;
    Text text;
    if (!DecodeText(data, size, text)) return 0;
    CShellEnv env;
    CConstantList constants;
    CLoadLog log;
    LoadSourceText(env, L"/fuzz/source.kvs", text, constants, log);
    return 0;
}
