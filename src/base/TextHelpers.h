// Text primitives with the leniency the whole system relies on: numbers that fail to
// parse are 0, marks that are missing give empty text, ASCII case-blind matching.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// Reads the leading number of a text (blanks skipped, sign, digits, one point,
// exponent); anything else gives 0, so "5vbr" reads 5.
double Val(std::string_view text);

// Whether the whole text is a plain decimal number (sign, digits, point, exponent).
bool IsNumeric(std::string_view text);

// Rounds to the nearest 32-bit integer, a tie going to the even one. False when
// the value does not fit: the caller then leaves its variable as it was.
bool RoundToInt32(double value, int32_t& out);

// Rounded value, or 0 when it does not fit.
int32_t RoundedOrZero(double value);

std::string Trim(std::string_view text);
std::string LowerAscii(std::string_view text);
std::string UpperAscii(std::string_view text);

bool StartsWith(std::string_view text, std::string_view prefix);
bool EndsWith(std::string_view text, std::string_view suffix);
bool Contains(std::string_view text, std::string_view mark);

// Position of `mark` at or after `from`, ignoring ASCII case; npos when absent.
size_t FindNoCase(std::string_view text, std::string_view mark, size_t from = 0);

std::string ReplaceAll(std::string_view text, std::string_view find, std::string_view with);
std::string ReplaceAllNoCase(std::string_view text, std::string_view find, std::string_view with);

// Splits at every delimiter; an empty delimiter gives the whole text as one part,
// an empty text gives no parts.
std::vector<std::string> Split(std::string_view text, std::string_view delimiter);

// URL escapes: every byte but letters, digits, "-._~" and those in `keep`
// becomes "%XX" (upper-case hex); decoding turns each "%XX" back into its byte
// and leaves a "%" without two hex digits as it is.
std::string PercentEncode(std::string_view text, std::string_view keep = {});
std::string PercentDecode(std::string_view text);

// The characters (code points of the UTF-8 text) of `text`, and its first
// `count` of them; a character is never split.
size_t CharacterCount(std::string_view text);
std::string_view FirstCharacters(std::string_view text, size_t count);

// What SplitLines makes of the text after the last line end.
enum class LastLine {
  Keep,            // always a line, empty when the text ends in a line end
  Drop,            // only a line with a line end behind it counts
  KeepIfNotEmpty,  // a line when it holds anything: a final line end closes the last line
};

// The lines of a text that a person or another program wrote. CRLF, LF and a lone
// CR each end one line, so files from any system read alike, and so do files that
// mix them. No line holds a CR or an LF. An empty text gives no lines.
std::vector<std::string_view> SplitLines(std::string_view text, LastLine last);

// Whether a text holds a line end of any of those three kinds.
bool HasLineEnd(std::string_view text);

// A number with two decimals, as the format "#0.00" prints it.
std::string FormatFixed2(double value);

// A number as plain decimal text, the way every file, command and line the
// program writes shows it: never an exponent, a point only where a fraction is
// ("1000000", "12.5", "0.0000001"). A double keeps 15 significant digits, a
// float 7, so that the noise of binary fractions is not shown (768 * 0.05 is
// "38.4"); infinities and NaN read "0".
std::string FormatNumber(double value);
std::string FormatNumber(float value);

// The trimmed text between the first `startMark` (case-blind) and the first
// `endMark` after it (exact case). Empty marks mean the beginning or the end; a
// missing mark gives "".
std::string GetString(std::string_view text, std::string_view startMark, std::string_view endMark);

// As GetString, but from the `startCount`-th occurrence of `startMark`.
std::string FindTextBetween(std::string_view text, std::string_view startMark, std::string_view endMark,
                            int startCount, int endCount);

// Mode 1: after the last delimiter; mode 2: before it; mode 0 with "." the base
// name of a path. A text ending in ":" (a drive) gives the text less that colon,
// and as a base name the device's own name ("/dev/sr0:" -> "sr0").
std::string GetFileString(std::string_view text, std::string_view delimiter, int mode);

}  // namespace zel
