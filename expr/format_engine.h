// The format engine: a printf-like walk over a format string whose arguments
// are texts turned into numbers by the numeric-argument evaluator. Beyond
// printf it renders seconds as hours, minutes and seconds ("%h"), and it puts
// a table's decimal character in place of the point of "%f" and "%g".
//
// A conversion: "%" [-] then digits with at most one "." and at most one "l"
// or "L" anywhere among them, then the type:
//   %%  "%"             %n  line feed         %t  eight blanks     %T  tab
//   %s  text            %d  integer (32 bit)  %x %X  hexadecimal
//   %f  fixed point     %g  general           %h  time (%H the same)
// "S", "F", "G", "D" are the lower-case types. Widths and precisions above
// kFormatMaxWidth count as kFormatMaxWidth.
#pragma once

#include "base/text.h"

constexpr int kFormatMaxWidth = 4096;

// Formats `argCount` text arguments by `format` into `result`, built from
// empty. A null `format` is missing (code 116); on any error `result` holds
// what was built up to it and `error` the code. Surplus arguments are ignored.
bool FormatText(int argCount, const Text* args, TextView format, Text& result, int& error);
// The same with one number, printed with `decimal` as the decimal character
// in "%f", "%g" and "%.h".
bool FormatNumber(TextView format, Text& result, int& error, double value, wchar_t decimal = L'.');
