// The text type of the whole program and the helpers every layer uses on it.
// All text inside is wide (one code point per wchar_t on Linux); numbers are
// formatted and parsed under a "C" locale object so that a user's locale can
// never put a comma into a number.
#pragma once

#include <locale.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using Text = std::wstring;
using TextView = std::wstring_view;

// Case handling that knows non-ASCII letters (German umlauts, Greek, Cyrillic ...).
wchar_t UpperChar(wchar_t c);
wchar_t LowerChar(wchar_t c);
Text UpperCase(TextView text);
Text LowerCase(TextView text);
// <0, 0, >0 like wcscmp, ignoring case.
int CompareNoCase(TextView a, TextView b);
bool EqualNoCase(TextView a, TextView b);
// True when `text` begins with `prefix`, ignoring case.
bool StartsWithNoCase(TextView text, TextView prefix);

// printf-style formatting of wide text. In `format`, %s and %c take wide
// arguments (const wchar_t*, wchar_t) as the system's own message formats
// are written; numbers always use '.' as the decimal mark.
Text Format(const wchar_t* format, ...);

// "%.20lg" and "%i": the text forms of numbers in the language.
Text DoubleText(double value);
Text IntText(long long value);
// "%.08lX" style hexadecimal, upper case.
Text HexText(unsigned long long value, int width = 0);

// Parsing under the "C" locale. `end` receives the number of characters used.
// The whole-text variants fail on leading or trailing garbage (blanks are allowed).
bool ParseDouble(TextView text, double& value, size_t* end = nullptr);
bool ParseLong(TextView text, long long& value, size_t* end = nullptr, int base = 10);
bool ParseWholeDouble(TextView text, double& value);
bool ParseWholeLong(TextView text, long long& value);

// The "C" locale object numbers are formatted and parsed under, and the
// UTF-8 aware one that letters are judged by; neither follows the process locale.
locale_t NumericLocale();
locale_t LetterLocale();

// Conversion at the process's boundaries (command line, environment, paths,
// standard output). File contents go through the codecs of the item layer.
std::string ToUtf8(TextView text);
// One code point in UTF-8; surrogates and values beyond U+10FFFF become U+FFFD.
void AppendUtf8(std::string& out, uint32_t codePoint);
Text FromUtf8(std::string_view bytes);

// Blanks and tabs trimmed at both ends.
Text Trim(TextView text);
// The words of a line separated by blanks and tabs.
std::vector<Text> SplitBlanks(TextView line);
