#include "core/rewrite/DumpPieces.h"

#include "core/rewrite/SearchReplace.h"

#include <algorithm>
#include <exception>

namespace harbor {

namespace {

constexpr auto npos = std::string_view::npos;

/// A line feed ends a line or does not, as the code point behind it says, which takes at most so many bytes.
constexpr std::size_t lookAhead = 4;

/// Position behind the first line whose line feed stands at or behind `from` and before `limit`; `npos`
/// without one.
std::size_t findLineEnd(std::string_view text, std::size_t from, std::size_t limit, CharacterRule rule)
{
    auto const searched = text.substr(0, limit);
    for (auto lineFeed = searched.find('\n', from); lineFeed != npos;
        lineFeed = searched.find('\n', lineFeed + 1))
        if (SearchReplace::endsLine(text, lineFeed, rule))
            return lineFeed + 1;
    return npos;
}

/// Position behind the last line that ends; 0 without one.
std::size_t lastLineEnd(std::string_view text, CharacterRule rule)
{
    auto lineFeed = text.rfind('\n');
    while (lineFeed != npos && !SearchReplace::endsLine(text, lineFeed, rule))
        lineFeed = lineFeed == 0 ? npos : text.rfind('\n', lineFeed - 1);
    return lineFeed == npos ? 0 : lineFeed + 1;
}

}  // namespace

DumpPieces::DumpPieces(DumpSource const& source, CharacterRule rule)
    : source_(source)
    , rule_(rule)
{
    while (!isRead_ && rest_.size() < 2 * pieceSize)
        read(rest_);
}

bool DumpPieces::take(std::string& lines)
{
    if (isGivenOut_)
        return false;
    lines.assign(rest_);
    auto searchedTo = pieceSize;
    for (;;) {
        auto const limit = isRead_ ? lines.size() : lines.size() - std::min(lines.size(), lookAhead);
        auto const end = findLineEnd(lines, searchedTo, limit, rule_);
        if (end != npos) {
            cut(lines, end);
            return true;
        }
        searchedTo = std::max(searchedTo, limit);
        if (isRead_)
            break;
        read(lines);
    }
    isGivenOut_ = true;
    cut(lines, lastLineEnd(lines, rule_));
    return !lines.empty();
}

std::size_t DumpPieces::lineEnd(std::string_view piece, std::size_t start, CharacterRule rule)
{
    return std::min(findLineEnd(piece, start, pieceSize, rule), piece.size());
}

void DumpPieces::read(std::string& text)
{
    auto const size = text.size();
    std::exception_ptr failure;  // Nothing may be thrown out of the string.
    text.resize_and_overwrite(size + pieceSize, [&](char* data, std::size_t) {
        std::size_t count = 0;
        try {
            count = source_({ data + size, pieceSize });
        } catch (...) {
            failure = std::current_exception();
        }
        return size + count;
    });
    if (failure)
        std::rethrow_exception(failure);
    isRead_ = text.size() == size;
}

/// Leaves what stands behind `end` for later.
void DumpPieces::cut(std::string& lines, std::size_t end)
{
    if (end == 0) {
        rest_.swap(lines);  // It may be as long as the dump.
        lines.clear();
        return;
    }
    rest_.assign(lines, end);
    lines.resize(end);
    auto const last = end - 1;
    endsInTwoLineFeeds_
        = last == 0 ? hadLines_ : lines[last - 1] == '\n' && SearchReplace::endsLine(lines, last - 1, rule_);
    hadLines_ = true;
}

}  // namespace harbor
