#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The rewriter once more, as plain as it can be: text is a list of characters, each step is written as it is
/// described to people, and characters, case and patterns are left to ICU. Slow, and only what the fast one
/// is compared with. Takes valid UTF-8.
namespace harbor::reference {

/// One user-perceived character each.
using CharacterList = std::vector<std::string>;

CharacterList charactersOf(std::string_view text);

std::string rewriteDump(std::string const& sql, std::string const& from, std::string const& to);
std::string rewriteStatements(std::string const& sql, std::string const& from, std::string const& to);
std::string rewriteValue(std::string const& value, std::string const& from, std::string const& to);

std::string rewriteValuesClause(std::string const& text, std::string const& from, std::string const& to);
std::string unescapeLiteral(std::string const& raw);
std::string escapeLiteral(std::string const& value);
bool looksSerialized(std::string const& value);
std::string replaceInSerialized(std::string const& value, std::string const& from, std::string const& to);

}  // namespace harbor::reference
