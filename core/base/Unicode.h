#pragma once

#include <string>
#include <string_view>

/// Text is UTF-8 throughout. Classes, case and order come from ICU, so that they follow the Unicode standard.
namespace harbor::unicode {

/// Lower case of the whole text by the root locale's full mapping (Unicode, chapter 3.13).
std::string lowerCased(std::string_view text);

/// Each word with an upper-case first letter.
std::string capitalized(std::string_view text);

/// Without the white space that is no line break (space separators and TAB) at both ends.
std::string trimBlanks(std::string_view text);

/// Without any white space, line breaks included, at both ends.
std::string trimWhiteSpace(std::string_view text);

bool isValidUtf8(std::string_view bytes);

/// The bytes as text: each maximal ill-formed part becomes one U+FFFD (Unicode, chapter 3.9).
std::string decodeReplacing(std::string_view bytes);

/// Normalisation form C (Unicode Standard Annex 15).
std::string normalized(std::string_view text);

/// Whether two texts are canonically equivalent.
bool canonicallyEqual(std::string_view left, std::string_view right);

/// Whether the code point is a letter, mark or number of any script.
bool isAlphanumeric(char32_t codePoint);

/// Splits into code points; ill-formed parts become U+FFFD.
std::u32string codePoints(std::string_view text);
std::string fromCodePoints(std::u32string_view text);

/// Order of two texts under the user's locale, ignoring case: negative, zero or positive.
int compareInLocale(std::string_view left, std::string_view right);

}  // namespace harbor::unicode
