// The macro library: preprocessed source lines behind the magic "KVOBCL",
// each line ended by a zero byte, and one more zero byte at the end. The
// program starts from the library beside the executable.
#pragma once

#include <vector>

#include "macro/preprocessor.h"

inline constexpr char kLibraryMagic[] = "KVOBCL";
inline constexpr size_t kLibraryMagicLength = 6;

// True when decoded text is a library text (it begins with the magic).
bool IsLibraryText(TextView text);

// Takes the lines behind the magic up to the first empty one, numbered from 1,
// and logs how many there are.
void ReadLibraryLines(TextView text, std::vector<SCodeText>& code, CLoadLog& log);

// Preprocesses a source file with `constants` and appends its code lines to
// a library, which is made when it does not exist. A file that does not
// begin with the magic bytes is refused and left as it is.
bool AddSourceToLibrary(const Text& sourcePath, const Text& libraryPath, CConstantList& constants,
                        CLoadLog& log);
