// The file encoder: packs a whole file by a frequency code and scrambles the
// packed bytes with a substitution table made from a password. The password
// comes from the macro; nothing secret is kept in the program.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "base/text.h"

// Files from 16 bytes to 0x40000000 bytes are accepted.
constexpr size_t kEncoderMinSize = 16;
constexpr size_t kEncoderMaxSize = 0x40000000;

// Copies `source` to `target` encoded (or decoded). A missing or "*" target is
// the source itself; a missing or "*" password means no substitution. Each
// message is appended to `log` behind "copy and encode "a" to "b" ... ". The
// target is written only when everything went well.
bool EncodeFile(const Text& source, const Text& target, const Text& password, bool decode, Text& log);

// The two layers on their own, for tests and tools.
// The substitution table of a password (3 to 128 characters; empty: identity);
// false for a password of another length.
bool SubstitutionTable(TextView password, std::array<uint8_t, 256>& table);
std::string PackBytes(const std::string& plain);
// The message of the failure ("invalid mapping", "invalid data size", "invalid
// header size", "decode failed"), or empty on success.
Text UnpackBytes(const std::string& packed, std::string& plain);
