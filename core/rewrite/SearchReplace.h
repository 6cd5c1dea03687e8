#pragma once

#include "core/rewrite/Characters.h"
#include "core/rewrite/SerializedText.h"
#include "core/rewrite/UrlPair.h"

#include <optional>
#include <string>
#include <string_view>

/// Moves a WordPress database from one site URL to another without breaking PHP's serialized data. Pure text
/// in, pure text out: whatever cannot be parsed is copied as it is, and nothing fails.
///
/// URLs are taken as given. Text is UTF-8, read by whole characters unless a rule says otherwise: see
/// CharacterRule.
namespace harbor::SearchReplace {

/// Rewrites a whole dump for the pair and then for its scheme-less form. Only lines that begin with "INSERT
/// INTO" are touched, and of those only the literals behind VALUES; each of these literals is normalised,
/// whether it holds the URL or not. A text without a final line feed gains one, and so does a text that ends
/// in two or more.
std::string rewriteDump(std::string_view sql, std::string_view from, std::string_view to,
    CharacterRule rule = CharacterRule::whole);

/// The same for exactly the one pair, in one pass.
std::string rewriteStatements(std::string_view sql, std::string_view from, std::string_view to,
    CharacterRule rule = CharacterRule::whole);

/// Rewrites one stored value, which is neither escaped nor quoted, for the pair and its scheme-less form.
std::string rewriteValue(std::string_view value, std::string_view from, std::string_view to);

/// The text between single quotes, with the bytes that would end or break a literal behind backslashes.
/// Quotes, backslashes and line feeds are escaped whatever follows them; a CR LF pair stays as it is.
std::string escapeSQL(std::string_view value);

// The inner steps, from the outside inwards.

/// Length of a statement's head, which ends with its first VALUES; nothing when the line is not one to be
/// rewritten.
std::optional<std::size_t> headOfStatement(std::string_view line, CharacterRule rule = CharacterRule::whole);

/// One line without its line feed, for one pair.
std::string rewriteLine(
    std::string_view line, UrlPair const& pair, CharacterRule rule = CharacterRule::whole);

/// The text behind VALUES: every single-quoted literal is read, rewritten and written again.
std::string rewriteValuesClause(std::string_view text, std::string_view from, std::string_view to,
    CharacterRule rule = CharacterRule::whole);

/// One value for one pair: as serialized text when it looks so, otherwise every occurrence in one pass.
std::string replaceInValue(
    std::string_view value, UrlPair const& pair, CharacterRule rule = CharacterRule::whole);

std::string unescapeLiteral(std::string_view raw, CharacterRule rule = CharacterRule::whole);
std::string escapeLiteral(std::string_view value, CharacterRule rule = CharacterRule::whole);

/// Whether the line feed byte at `position` ends a line: it does not inside a CR LF pair, nor (by the rule
/// `whole`) when a combining mark follows.
bool endsLine(std::string_view text, std::size_t position, CharacterRule rule);

}  // namespace harbor::SearchReplace
