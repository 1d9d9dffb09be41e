#pragma once

#include <cstdint>

#include "KSmthExport.h"

// NUL-terminated 8-bit strings. Bytes from 128 up compare as negative numbers on every platform, whatever its
// `char` is. A null text counts as empty, and nothing is written to null; lengths are not checked beyond the
// maxima named.

/// Length, wrapped to signed 16-bit.
KSMTH_API std::int16_t STR_Length(const char* text);

/// Copies at most `max` characters (255 for a `max` of 0 or less) and terminates: `to` needs one byte more.
/// Answers the terminating NUL in `to`. The two may overlap.
KSMTH_API char* STR_CopyCString(const char* from, char* to, int max);

/// Turns a string into a counted one, a length byte and at most 255 characters; `counted` needs up to 256
/// bytes and may be `text` itself. Line feeds become carriage returns.
KSMTH_API void STR_C2P(const char* text, unsigned char* counted);

/// A to Z in lower case, any other byte as it is.
KSMTH_API char STR_LowerCase(char c);
/// The same for all of `text`, in place.
KSMTH_API void STR_LowerCase(char* text);

/// True for what parts a path: comma, slash, colon and backslash.
KSMTH_API bool STR_IsDelimiter(char c);
/// True for 0 to 9.
KSMTH_API bool STR_IsNumerical(char c);
/// True for a to z and A to Z.
KSMTH_API bool STR_IsAlpha(char c);
/// True for digits and letters. The name's spelling is fixed by the host's contract.
KSMTH_API bool STR_IsAlphaNumeic(char c);

/// The NUL that ends `b` where both strings are equal, else null; null too where `b` is.
KSMTH_API const char* STR_CompareExact(const char* a, const char* b);

/// Matches the pattern `a` against the beginning of the text `b`, upper and lower case told apart. Answers
/// the position in `b` after the match, or null (of a null `b` always). Text behind the match is allowed.
///
/// `loose` passes over blanks, control characters and bytes from 128 up on either side wherever the two
/// differ, and `skipDigits` (with `loose` alone) over digits as well. What is left of the pattern at the end
/// of the text may only be such characters.
KSMTH_API const char* STR_Compare(const char* a, const char* b, bool loose, bool skipDigits);

/// Writes `value` in decimal and answers the end of the text. Positive `width`: filled up to it with zeros in
/// front, the sign included: width 4 makes "00-5" of -5, fixed by the host's contract. A text that is
/// longer stays whole, but a negative value of width 1 is the sign alone. `out` needs 21 bytes, or
/// `width` + 1 where that is more. A negative width is 0.
KSMTH_API char* STR_LongToString(long value, char* out, int width);
