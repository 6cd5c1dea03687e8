#pragma once

#include "core/rewrite/Characters.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace harbor {

/// One string of PHP's serialized form, `s:LENGTH:"CONTENT"`, by its positions in the text.
struct SerializedString {
    std::size_t start;
    std::size_t contentStart;
    std::size_t contentEnd;
    std::size_t end;
    bool operator==(SerializedString const&) const = default;
};

/// The first match of the pattern `s:(\d+):"((?:[^"\\]|\\.)*)"` at or behind `from`, where `\d` is a decimal
/// digit of any script and `.` any code point but a line terminator. The length does not count: the content
/// ends at the first bare double quote. Linear, without recursion, whatever the size.
std::optional<SerializedString> findSerializedString(std::string_view text, std::size_t from);

namespace SearchReplace {

/// Whether the value, without blanks and tabs in front, begins like PHP's serialized form.
/// No further parse is made: the text "a: see the page" counts, too.
bool looksSerialized(std::string_view value, CharacterRule rule = CharacterRule::whole);

/// Replaces `from` by `to` in every serialized string that holds it and corrects that string's length, in as
/// many passes as there is something to replace. Text outside serialized strings stays, and so does the
/// length of a string that another one encloses. Does not end when `to` contains `from` and `from` is found.
std::string replaceInSerialized(std::string_view value, std::string_view from, std::string_view to,
    CharacterRule rule = CharacterRule::whole);

}  // namespace SearchReplace

}  // namespace harbor
