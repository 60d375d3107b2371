// Numeric arguments come from any variable's value: whatever the text, the
// evaluators must answer with a value or a code, never crash, hang or leak.
#include <cstddef>
#include <cstdint>

#include "expr/numeric_args.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // One byte per character keeps every operator one mutation away; a byte
    // above 127 still gives a character the parsers must reject.
    Text text(size, L'\0');
    for (size_t i = 0; i < size; ++i) text[i] = static_cast<wchar_t>(data[i]);
    double number = 0;
    int error = 0;
    EvalNumber(text, number, &error);
    long long integer = 0;
    EvalInteger(text, integer, &error);
    return 0;
}
