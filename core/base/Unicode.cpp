#include "core/base/Unicode.h"

#include <unicode/brkiter.h>
#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace harbor::unicode {

namespace {

icu::UnicodeString fromUtf8(std::string_view text)
{
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

std::string toUtf8(icu::UnicodeString const& text)
{
    std::string result;
    text.toUTF8String(result);
    return result;
}

/// The part of `text` between the first and the last code point that `isTrimmed` does not accept.
template <class Predicate>
std::string trimmed(std::string_view text, Predicate isTrimmed)
{
    auto const length = static_cast<int32_t>(text.size());
    int32_t start = 0;
    for (int32_t next = 0; next < length; start = next) {
        UChar32 codePoint = 0;
        U8_NEXT(text.data(), next, length, codePoint);
        if (!isTrimmed(codePoint))
            break;
    }
    int32_t end = length;
    for (int32_t previous = length; previous > start; end = previous) {
        UChar32 codePoint = 0;
        U8_PREV(text.data(), start, previous, codePoint);
        if (!isTrimmed(codePoint))
            break;
    }
    return std::string(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
}

bool isBlank(UChar32 codePoint)
{
    return codePoint == '\t' || (codePoint >= 0 && u_charType(codePoint) == U_SPACE_SEPARATOR);
}

icu::Collator const& collatorOfUser()
{
    static auto const collator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::string name;
        for (auto const* variable : { "LC_ALL", "LC_COLLATE", "LANG" }) {
            if (auto const* value = std::getenv(variable); value && *value) {
                name = value;
                break;
            }
        }
        auto const isC = name.empty() || name == "POSIX" || name == "C" || name.starts_with("C.");
        auto const locale = isC ? icu::Locale::getRoot() : icu::Locale::createCanonical(name.c_str());
        std::unique_ptr<icu::Collator> made(icu::Collator::createInstance(locale, status));
        if (U_FAILURE(status))
            throw std::runtime_error("ICU has no collation data.");
        made->setStrength(icu::Collator::SECONDARY);
        return made;
    }();
    return *collator;
}

}  // namespace

std::string lowerCased(std::string_view text)
{
    return toUtf8(fromUtf8(text).toLower(icu::Locale::getRoot()));
}

std::string capitalized(std::string_view text)
{
    return toUtf8(fromUtf8(text).toTitle(nullptr, icu::Locale::getRoot()));
}

std::string trimBlanks(std::string_view text) { return trimmed(text, isBlank); }

std::string trimWhiteSpace(std::string_view text)
{
    return trimmed(text, [](UChar32 codePoint) { return codePoint >= 0 && u_isUWhiteSpace(codePoint); });
}

bool isValidUtf8(std::string_view bytes)
{
    auto const length = static_cast<std::int64_t>(bytes.size());
    for (std::int64_t i = 0; i < length;) {
        if (static_cast<unsigned char>(bytes[static_cast<std::size_t>(i)]) < 0x80) {
            ++i;
            continue;
        }
        UChar32 codePoint = 0;
        U8_NEXT(bytes.data(), i, length, codePoint);
        if (codePoint < 0)
            return false;
    }
    return true;
}

std::string decodeReplacing(std::string_view bytes)
{
    if (isValidUtf8(bytes))
        return std::string(bytes);
    std::string text;
    text.reserve(bytes.size());
    auto const length = static_cast<std::int64_t>(bytes.size());
    for (std::int64_t i = 0; i < length;) {
        auto const start = i;
        UChar32 codePoint = 0;
        U8_NEXT(bytes.data(), i, length, codePoint);
        if (codePoint < 0)
            text += "\xEF\xBF\xBD";
        else
            text.append(bytes, static_cast<std::size_t>(start), static_cast<std::size_t>(i - start));
    }
    return text;
}

std::string normalized(std::string_view text)
{
    UErrorCode status = U_ZERO_ERROR;
    auto const* normalizer = icu::Normalizer2::getNFCInstance(status);
    auto const source = fromUtf8(text);
    auto const result = normalizer->normalize(source, status);
    return U_FAILURE(status) ? std::string(text) : toUtf8(result);
}

bool canonicallyEqual(std::string_view left, std::string_view right)
{
    return left == right || normalized(left) == normalized(right);
}

bool isAlphanumeric(char32_t codePoint)
{
    constexpr auto wanted = U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK;
    return (U_GET_GC_MASK(static_cast<UChar32>(codePoint)) & wanted) != 0;
}

std::u32string codePoints(std::string_view text)
{
    std::u32string result;
    result.reserve(text.size());
    auto const length = static_cast<std::int64_t>(text.size());
    for (std::int64_t i = 0; i < length;) {
        UChar32 codePoint = 0;
        U8_NEXT_OR_FFFD(text.data(), i, length, codePoint);
        result += static_cast<char32_t>(codePoint);
    }
    return result;
}

std::string fromCodePoints(std::u32string_view text)
{
    return toUtf8(icu::UnicodeString::fromUTF32(
        reinterpret_cast<UChar32 const*>(text.data()), static_cast<int32_t>(text.size())));
}

int compareInLocale(std::string_view left, std::string_view right)
{
    UErrorCode status = U_ZERO_ERROR;
    return collatorOfUser().compareUTF8(icu::StringPiece(left.data(), static_cast<int32_t>(left.size())),
        icu::StringPiece(right.data(), static_cast<int32_t>(right.size())), status);
}

}  // namespace harbor::unicode
