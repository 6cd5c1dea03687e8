#include "core/rewrite/LineRewriter.h"

#include "core/rewrite/ByteBlock.h"
#include "core/rewrite/ByteScan.h"
#include "core/rewrite/CharacterClasses.h"
#include "core/rewrite/LiteralComparison.h"
#include "core/rewrite/SearchReplace.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

namespace harbor {

namespace {

constexpr auto npos = std::string_view::npos;

bool isASCII(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

/// Whether a URL can be replaced inside escaped text: nothing in it is ever escaped, and neither end can join
/// a neighbour.
bool isInert(std::string_view url)
{
    auto const isPlain = [](char byte) {
        auto const code = static_cast<unsigned char>(byte);
        return code >= 0x20 && code != 0x7F && byte != '\'' && byte != '"' && byte != '\\';
    };
    return !url.empty() && std::ranges::all_of(url, isPlain) && isASCII(url.front()) && isASCII(url.back());
}

/// A text without which no pair changes anything; empty when the pairs need the walk by characters.
std::string commonNeedle(std::vector<UrlPair> const& pairs)
{
    if (pairs.empty())
        return {};
    auto const inert = [](UrlPair const& pair) { return isInert(pair.from) && isInert(pair.to); };
    auto const& needle = pairs.back().from;
    auto const holdsNeedle = [&](UrlPair const& pair) { return findBytes(pair.from, needle, 0) != npos; };
    return std::ranges::all_of(pairs, inert) && std::ranges::all_of(pairs, holdsNeedle) ? needle
                                                                                        : std::string();
}

/// Whether a code point beside the byte at `position` would join it by the rule of whole characters.
bool touchesJoiner(std::string_view text, std::size_t position)
{
    auto const next = position + 1;
    if (next < text.size() && !isASCII(text[next]) && isJoiner(classOf(decodeAt(text, next).value)))
        return true;
    return position > 0 && !isASCII(text[position - 1])
        && classOf(decodeAt(text, codePointBefore(text, position)).value) == CharacterClass::prepend;
}

std::uint64_t lowestBit(std::uint64_t bits) { return bits & (~bits + 1); }

/// Whether any of the given bytes, each of which has a neighbour outside ASCII or is one, is joined to it. A
/// bit stands for the second byte of such a pair.
bool joinsAny(std::string_view text, std::size_t blockStart, std::uint64_t seconds)
{
    for (; seconds != 0; seconds &= seconds - 1) {
        auto const second = blockStart + static_cast<std::size_t>(std::countr_zero(seconds));
        if (touchesJoiner(text, isASCII(text[second]) ? second : second - 1))
            return true;
    }
    return false;
}

enum class Escape : std::uint8_t {
    changed,         ///< Written in another form than it is read.
    normal,          ///< Written again exactly as it stands.
    carriageReturn,  ///< Normal unless a line feed follows: that pair is written bare.
};

constexpr auto escapes = [] {
    std::array<Escape, 256> table {};
    for (auto const letter : { '\'', '"', '\\', 'n', 't', '0' })
        table[static_cast<unsigned char>(letter)] = Escape::normal;
    table['r'] = Escape::carriageReturn;
    return table;
}();

/// Those of the escaped letters whose escapes are not written again exactly as they stand.
std::uint64_t changedEscapes(std::string_view text, std::size_t blockStart, std::uint64_t letters)
{
    std::uint64_t changed = 0;
    for (; letters != 0; letters &= letters - 1) {
        auto const letter = blockStart + static_cast<std::size_t>(std::countr_zero(letters));
        if (letter >= text.size())
            break;
        auto const escape = escapes[static_cast<unsigned char>(text[letter])];
        auto const isPair = escape == Escape::carriageReturn && text.substr(letter + 1).starts_with("\\n");
        if (escape == Escape::changed || isPair)
            changed |= lowestBit(letters);
    }
    return changed;
}

/// Whether the value behind the raw text might look serialized. Blanks in front are not looked through.
bool mightLookSerialized(std::string_view raw)
{
    auto const first = raw.front();
    if (first == ' ' || first == '\\' || !isASCII(first))
        return true;
    auto const second = raw.size() > 1 ? raw[1] : '\0';
    return second == ':' || second == ';';
}

}  // namespace

LineRewriter::LineRewriter(std::vector<UrlPair> pairs, CharacterRule rule)
    : pairs_(std::move(pairs))
    , rule_(rule)
    , needle_(commonNeedle(pairs_))
{
}

void LineRewriter::rewrite(std::string_view line, std::string& output)
{
    auto const head = SearchReplace::headOfStatement(line, rule_);
    if (!head) {
        output.append(line);
        return;
    }
    auto const start = output.size();
    output.append(line.substr(0, *head));
    if (!needle_.empty() && walkClause(line.substr(*head), output))
        return;

    output.resize(start);
    std::string current(line);
    for (auto const& pair : pairs_)
        current = SearchReplace::rewriteLine(current, pair, rule_);
    literalsMoved_ = literalsMoved_
        || harbor::literalsMoved(line.substr(*head), std::string_view(current).substr(*head));
    output.append(current);
}

/// 64 bytes at a time. The literals of a line are copied as they stand, together with what lies between them,
/// until one is met that holds the needle or is not written as escapeLiteral would write it.
bool LineRewriter::walkClause(std::string_view clause, std::string& output)
{
    EscapeTracker escapeTracker;
    std::uint64_t lastWasSpecial = 0;
    std::uint64_t lastWasNonASCII = 0;
    auto hit = findBytes(clause, needle_, 0);
    std::size_t copied = 0;
    std::size_t literalStart = npos;  // npos between literals
    auto normal = true;

    for (std::size_t position = 0; position < clause.size(); position += ByteBlock::size) {
        auto const block = ByteBlock::at(clause, position);
        auto const escaped = escapeTracker.escapedIn(block.backslashes);
        if (rule_ == CharacterRule::whole) {
            auto const special = block.special() | escaped;
            auto const touching = (block.nonASCII & (special << 1 | lastWasSpecial))
                | (special & (block.nonASCII << 1 | lastWasNonASCII));
            if (touching != 0 && joinsAny(clause, position, touching))
                return false;
            lastWasSpecial = special >> 63;
            lastWasNonASCII = block.nonASCII >> 63;
        }

        auto const changed = (block.doubleQuotes & ~escaped) | block.controls
            | changedEscapes(
                clause, position, escaped & ~block.quotes & ~block.doubleQuotes & ~block.backslashes);
        auto quotes = block.quotes & ~escaped;
        auto rest = ~std::uint64_t { 0 };  // From the last quote to the end of the block.
        for (;;) {
            auto const segment = quotes == 0 ? rest : rest & (lowestBit(quotes) - 1);
            if (literalStart == npos && (block.backslashes & segment) != 0)
                return false;  // Outside a literal a backslash escapes nothing.
            normal = normal && (changed & segment) == 0;
            if (quotes == 0)
                break;

            auto const quote = position + static_cast<std::size_t>(std::countr_zero(quotes));
            if (literalStart == npos) {
                literalStart = quote + 1;
                normal = true;
            } else {
                while (hit < literalStart)
                    hit = findBytes(clause, needle_, hit + 1);
                if (!normal || (hit != npos && hit + needle_.size() <= quote)) {
                    output.append(clause.substr(copied, literalStart - copied));
                    writeLiteral(clause.substr(literalStart, quote - literalStart), normal, output);
                    copied = quote;
                }
                literalStart = npos;
            }
            rest &= ~(lowestBit(quotes) | (lowestBit(quotes) - 1));
            quotes &= quotes - 1;
        }
    }
    output.append(clause.substr(copied));
    return literalStart == npos;
}

/// By bytes: no character of the literal is joined to anything that matters here, or the rule is strict
/// anyway.
void LineRewriter::writeLiteral(std::string_view raw, bool normal, std::string& output)
{
    if (normal && replaceInRawText(raw, output))
        return;
    auto value = SearchReplace::unescapeLiteral(raw, CharacterRule::strict);
    for (auto const& pair : pairs_)
        if (findBytes(value, pair.from, 0) != npos)
            value = SearchReplace::replaceInValue(value, pair, rule_);
    output.append(SearchReplace::escapeLiteral(value, CharacterRule::strict));
}

/// Plain replacement without unescaping, which gives the same where every escape is normal and no URL holds
/// anything to escape.
/// @return  false, with nothing appended, when the value has to be looked at unescaped
bool LineRewriter::replaceInRawText(std::string_view raw, std::string& output)
{
    for (auto const& pair : pairs_) {
        if (mightLookSerialized(raw))
            return false;
        spare_.clear();
        std::size_t copied = 0;
        for (auto found = findCharacters(raw, pair.from, 0, rule_); found != npos;
            found = findCharacters(raw, pair.from, copied, rule_)) {
            if (found > 0 && raw[found - 1] == '\\')
                return false;  // The URL's first letter might be that of an escape.
            spare_.append(raw.substr(copied, found - copied)).append(pair.to);
            copied = found + pair.from.size();
        }
        if (copied == 0)
            continue;
        spare_.append(raw.substr(copied));
        std::swap(replaced_, spare_);
        raw = replaced_;
    }
    output.append(raw);
    return true;
}

}  // namespace harbor
