// Text at the edge of the file system: byte order marks, decoding of file
// bytes to the program's wide text, and the appending writer that keeps a
// file windows-1252 for as long as its text allows. No other part of the
// program turns file bytes into text or back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "base/text.h"

// Encoding names as DetectBom reports them.
inline constexpr const wchar_t* kEncodingUtf8 = L"UTF-8";
inline constexpr const wchar_t* kEncodingUtf16Le = L"UTF-16LE";
inline constexpr const wchar_t* kEncodingUtf16Be = L"UTF-16BE";
inline constexpr const wchar_t* kEncodingUtf32Le = L"UTF-32LE";
inline constexpr const wchar_t* kEncodingUtf32Be = L"UTF-32BE";

// The byte order mark of UTF-8, as files carry it.
inline constexpr char kUtf8Bom[] = "\xEF\xBB\xBF";

// The encoding named by the first bytes, or the empty text when there is no mark.
Text DetectBom(const void* bytes, size_t length);

// The text of a whole file: a mark selects UTF-8 or UTF-16 (and is skipped),
// no mark means windows-1252. False for the UTF-32 marks, which files of this
// program never carry; callers report code 485 "unsupported byte order mark".
bool DecodeText(const void* bytes, size_t length, Text& out);

// The decoders behind DecodeText, without mark handling, for readers that
// learn the encoding elsewhere (a declaration inside the document).
// Malformed UTF-8 and unpaired UTF-16 surrogates become U+FFFD, one per
// broken sequence, and decoding goes on behind it.
Text DecodeUtf8(const void* bytes, size_t length);
Text DecodeUtf16(const void* bytes, size_t length, bool bigEndian);
Text DecodeWindows1252(const void* bytes, size_t length);

// Characters that are no Unicode scalar value are written as U+FFFD.
std::string EncodeUtf8(TextView text);
// False when a character has no windows-1252 byte; such characters are
// written as a blank.
bool EncodeWindows1252(TextView text, std::string& out);

// One character of code page 1252 each way. The five bytes the code page
// leaves undefined (81, 8D, 8F, 90, 9D) stand for the C1 controls of the
// same number, so every byte survives a round trip. -1: no byte for `c`.
wchar_t Windows1252Char(uint8_t byte);
int Windows1252Byte(wchar_t c);

// Writes `text` at the file's current position. A file that begins with the
// UTF-8 mark takes UTF-8. Any other file takes windows-1252 until a character
// does not fit; then its whole content is rewritten as UTF-8 with the mark in
// front, the position moves along with the converted text, and the text goes
// on in UTF-8. The file must be open for reading and writing.
bool WriteText(int fd, TextView text);
bool WriteText(FILE* file, TextView text);
