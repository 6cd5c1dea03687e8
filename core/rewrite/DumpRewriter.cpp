#include "core/rewrite/DumpRewriter.h"

#include "core/rewrite/LineRewriter.h"
#include "core/rewrite/LiteralComparison.h"
#include "core/rewrite/SearchReplace.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <span>
#include <thread>

namespace harbor {

namespace {

constexpr auto npos = std::string_view::npos;

/// Bytes after which a piece of work ends with its line.
constexpr std::size_t pieceSize = 512 * 1024;
constexpr unsigned mostThreads = 4;

/// Position behind the first line whose line feed stands at or behind `from` and before `limit`; the size of
/// the text without one.
std::size_t lineEndFrom(std::string_view text, std::size_t from, std::size_t limit, CharacterRule rule)
{
    auto const searched = text.substr(0, limit);
    for (auto lineFeed = searched.find('\n', from); lineFeed != npos;
        lineFeed = searched.find('\n', lineFeed + 1))
        if (SearchReplace::endsLine(text, lineFeed, rule))
            return lineFeed + 1;
    return text.size();
}

/// Position behind the last line that ends; 0 without one.
std::size_t lastLineEnd(std::string_view text, CharacterRule rule)
{
    auto lineFeed = text.rfind('\n');
    while (lineFeed != npos && !SearchReplace::endsLine(text, lineFeed, rule))
        lineFeed = lineFeed == 0 ? npos : text.rfind('\n', lineFeed - 1);
    return lineFeed == npos ? 0 : lineFeed + 1;
}

/// A last line that ends in a CR, through each pass on its own: the line feed that the first pass adds makes
/// a CR LF pair of it, which ends no line in the second one.
bool rewriteLastLineWithCR(
    std::string_view line, std::vector<UrlPair> const& pairs, CharacterRule rule, RewriteSink const& sink)
{
    std::string text(line);
    for (auto const& pair : pairs) {
        if (text.ends_with('\n') && SearchReplace::endsLine(text, text.size() - 1, rule))
            text.pop_back();
        text = SearchReplace::rewriteLine(text, pair, rule) + '\n';
    }
    sink(text);

    auto const head = SearchReplace::headOfStatement(line, rule);
    if (!head)
        return false;
    auto const after = std::string_view(text).substr(0, text.find_last_not_of('\n') + 1);
    return literalsMoved(line.substr(*head), after.substr(*head));
}

/// The last line, which no line feed ends.
bool rewriteLastLine(
    std::string_view line, std::vector<UrlPair> const& pairs, CharacterRule rule, RewriteSink const& sink)
{
    if (line.ends_with('\r'))
        return rewriteLastLineWithCR(line, pairs, rule, sink);
    LineRewriter rewriter(pairs, rule);
    std::string output;
    rewriter.rewrite(line, output);
    sink(output.append("\n"));
    return rewriter.literalsMoved();
}

/// The line feeds that the passes add behind a text whose last line is whole: none behind a single line feed,
/// one by each pass behind two.
std::size_t addedLineFeeds(std::string_view sql, std::size_t passes, CharacterRule rule)
{
    auto const endsInTwo = sql.size() >= 2 && sql[sql.size() - 2] == '\n'
        && SearchReplace::endsLine(sql, sql.size() - 2, rule);
    return endsInTwo ? passes : 0;
}

/// Shares the lines of a text out among threads and puts the results back into their order.
class PieceQueue {
public:
    PieceQueue(std::string_view text, CharacterRule rule, RewriteSink const& sink)
        : rest_(text)
        , rule_(rule)
        , sink_(sink)
    {
    }

    /// Takes pieces until none is left. What goes wrong is kept for `finish`, and no more pieces are given
    /// out.
    void work(LineRewriter& rewriter)
    {
        std::string output;
        for (auto piece = take(); !piece.text.empty(); piece = take()) {
            std::exception_ptr failure;
            try {
                output.clear();
                rewriteLines(piece.text, rewriter, output);
            } catch (...) {
                failure = std::current_exception();
            }
            deliver(piece.number, output, failure);
        }
    }

    void finish()
    {
        if (failure_)
            std::rethrow_exception(failure_);
    }

private:
    struct Piece {
        std::size_t number;
        std::string_view text;
    };

    Piece take()
    {
        std::scoped_lock const lock(mutex_);
        if (failure_)
            return {};
        auto const end = lineEndFrom(rest_, pieceSize, npos, rule_);
        Piece const piece { taken_++, rest_.substr(0, end) };
        rest_.remove_prefix(piece.text.size());
        return piece;
    }

    void rewriteLines(std::string_view lines, LineRewriter& rewriter, std::string& output) const
    {
        output.reserve(lines.size() + lines.size() / 8);
        for (std::size_t start = 0; start < lines.size();) {
            // Between the size of a piece and its end no line ends: `take` has looked.
            auto const end = lineEndFrom(lines, start, pieceSize, rule_);
            rewriter.rewrite(lines.substr(start, end - 1 - start), output);
            output.push_back('\n');
            start = end;
        }
    }

    void deliver(std::size_t number, std::string_view output, std::exception_ptr failure)
    {
        std::unique_lock lock(turns_);
        turn_.wait(lock, [&] { return delivered_ == number; });
        try {
            if (!failure && !failed())
                sink_(output);
        } catch (...) {
            failure = std::current_exception();
        }
        if (failure)
            fail(failure);
        ++delivered_;
        turn_.notify_all();
    }

    bool failed()
    {
        std::scoped_lock const lock(mutex_);
        return failure_ != nullptr;
    }

    void fail(std::exception_ptr failure)
    {
        std::scoped_lock const lock(mutex_);
        if (!failure_)
            failure_ = std::move(failure);
    }

    std::mutex mutex_;
    std::string_view rest_;
    std::size_t taken_ = 0;
    std::exception_ptr failure_;

    std::mutex turns_;
    std::condition_variable turn_;
    std::size_t delivered_ = 0;

    CharacterRule rule_;
    RewriteSink const& sink_;
};

/// Short-lived threads of its own rather than those of the worker pool: the caller blocks one of the pool's,
/// and waiting there for others could wait for ever.
bool rewriteWholeLines(
    std::string_view lines, std::vector<UrlPair> const& pairs, CharacterRule rule, RewriteSink const& sink)
{
    auto const useful = 1 + lines.size() / (2 * pieceSize);
    auto const available = std::clamp(std::thread::hardware_concurrency(), 1U, mostThreads);
    std::vector<LineRewriter> rewriters(std::min<std::size_t>(useful, available), LineRewriter(pairs, rule));

    PieceQueue queue(lines, rule, sink);
    {
        std::vector<std::jthread> helpers;
        for (auto& rewriter : std::span(rewriters).subspan(1))
            helpers.emplace_back([&] { queue.work(rewriter); });
        queue.work(rewriters.front());
    }
    queue.finish();

    return std::ranges::any_of(rewriters, &LineRewriter::literalsMoved);
}

}  // namespace

bool rewriteDumpTo(
    RewriteSink const& sink, std::string_view sql, std::vector<UrlPair> const& pairs, CharacterRule rule)
{
    if (pairs.empty()) {
        sink(sql);
        return false;
    }
    auto const wholeLines = sql.substr(0, lastLineEnd(sql, rule));
    auto const lastLine = sql.substr(wholeLines.size());
    auto const moved = rewriteWholeLines(wholeLines, pairs, rule, sink);

    if (lastLine.empty() && !wholeLines.empty()) {
        sink(std::string(addedLineFeeds(sql, pairs.size(), rule), '\n'));
        return moved;
    }
    auto const movedInLastLine = rewriteLastLine(lastLine, pairs, rule, sink);
    return moved || movedInLastLine;
}

RewrittenDump rewriteToString(std::string_view sql, std::vector<UrlPair> const& pairs, CharacterRule rule)
{
    RewrittenDump result;
    // Untouched memory costs nothing, a second copy while the text grows does.
    result.text.reserve(sql.size() + sql.size() / 8 + 16);
    result.literalsMoved
        = rewriteDumpTo([&](std::string_view piece) { result.text.append(piece); }, sql, pairs, rule);
    return result;
}

}  // namespace harbor
