#include "core/rewrite/SerializedText.h"

#include "core/rewrite/ByteScan.h"
#include "core/rewrite/CharacterClasses.h"

#include <algorithm>

namespace harbor {

namespace {

constexpr auto npos = std::string_view::npos;

/// Position of the bare double quote that ends the content; `npos` when the content never ends, or when a
/// backslash stands before a line terminator or at the end.
std::size_t contentEndFrom(std::string_view text, std::size_t position)
{
    auto quote = text.find('"', position);
    while (quote != npos) {
        auto const backslash = text.substr(0, quote).find('\\', position);
        if (backslash == npos)
            return quote;
        auto const escaped = decodeAt(text, backslash + 1);
        if (isLineTerminator(escaped.value))
            return npos;
        position = backslash + 1 + escaped.length;
        if (quote < position)
            quote = text.find('"', position);
    }
    return npos;
}

/// Position behind the digits and `:"`; `npos` when the text at `position` does not go on so.
std::size_t contentStartFrom(std::string_view text, std::size_t position)
{
    auto const digits = position;
    while (position < text.size()) {
        auto const next = decodeAt(text, position);
        if (!isDecimalDigit(next.value))
            break;
        position += next.length;
    }
    return position > digits && text.substr(position).starts_with(":\"") ? position + 2 : npos;
}

/// One pass over all strings of `text`; nothing when none of them held `from`.
std::optional<std::string> replacePass(
    std::string_view text, std::string_view from, std::string_view to, CharacterRule rule)
{
    std::string result;
    std::size_t copied = 0;
    auto changed = false;
    for (auto found = findSerializedString(text, 0); found; found = findSerializedString(text, found->end)) {
        auto const content = text.substr(found->contentStart, found->contentEnd - found->contentStart);
        if (findBytes(content, from, 0) == npos)
            continue;
        auto const replaced = replaceCharacters(content, from, to, rule);
        if (replaced == content)
            continue;
        changed = true;
        result.append(text.substr(copied, found->start - copied));
        result.append("s:")
            .append(std::to_string(replaced.size()))
            .append(":\"")
            .append(replaced)
            .append("\"");
        copied = found->end;
    }
    if (!changed)
        return std::nullopt;
    return result.append(text.substr(copied));
}

}  // namespace

std::optional<SerializedString> findSerializedString(std::string_view text, std::size_t from)
{
    for (auto start = text.find("s:", from); start != npos; start = text.find("s:", start + 1)) {
        auto const contentStart = contentStartFrom(text, start + 2);
        if (contentStart == npos)
            continue;
        auto const contentEnd = contentEndFrom(text, contentStart);
        if (contentEnd == npos)
            continue;
        return SerializedString { start, contentStart, contentEnd, contentEnd + 1 };
    }
    return std::nullopt;
}

namespace SearchReplace {

bool looksSerialized(std::string_view value, CharacterRule rule)
{
    while (!value.empty()) {
        auto const first = decodeAt(value, 0);
        if (!isBlank(first.value))
            break;
        value.remove_prefix(first.length);
    }
    constexpr std::string_view beginnings[] = { "a:", "O:", "s:", "i:", "b:", "N;" };
    return std::ranges::any_of(beginnings, [&](std::string_view beginning) {
        return value.starts_with(beginning) && isCharacterBoundary(value, beginning.size(), rule);
    });
}

std::string replaceInSerialized(
    std::string_view value, std::string_view from, std::string_view to, CharacterRule rule)
{
    std::string current(value);
    while (findBytes(current, from, 0) != npos) {  // A pass without any occurrence would change nothing.
        auto next = replacePass(current, from, to, rule);
        if (!next)
            break;
        current = std::move(*next);
    }
    return current;
}

}  // namespace SearchReplace

}  // namespace harbor
