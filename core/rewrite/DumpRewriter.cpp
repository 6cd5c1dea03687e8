#include "core/rewrite/DumpRewriter.h"

#include "core/rewrite/LineRewriter.h"
#include "core/rewrite/LiteralComparison.h"
#include "core/rewrite/SearchReplace.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>
#include <span>
#include <thread>

namespace harbor {

namespace {

constexpr unsigned mostThreads = 4;

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
    output.reserve(line.size() + line.size() / 8);
    rewriter.rewrite(line, output);
    sink(output.append("\n"));
    return rewriter.literalsMoved();
}

/// Shares the pieces of a dump out among threads and puts the results back into their order.
class PieceQueue {
public:
    PieceQueue(DumpPieces& pieces, CharacterRule rule, RewriteSink const& sink)
        : pieces_(pieces)
        , rule_(rule)
        , sink_(sink)
    {
    }

    /// Takes pieces until none is left. What goes wrong is kept for `finish`, and no more pieces are given
    /// out.
    void work(LineRewriter& rewriter)
    {
        std::string lines;
        std::string output;
        while (auto const number = take(lines)) {
            std::exception_ptr failure;
            try {
                output.clear();
                rewriteLines(lines, rewriter, output);
            } catch (...) {
                failure = std::current_exception();
            }
            deliver(*number, output, failure);
        }
    }

    void finish()
    {
        if (failure_)
            std::rethrow_exception(failure_);
    }

private:
    /// @return  the number of the piece; nothing when there is none
    std::optional<std::size_t> take(std::string& lines)
    {
        std::scoped_lock const lock(mutex_);
        try {
            if (!failure_ && pieces_.take(lines))
                return taken_++;
        } catch (...) {
            failure_ = std::current_exception();
        }
        return std::nullopt;
    }

    void rewriteLines(std::string_view lines, LineRewriter& rewriter, std::string& output) const
    {
        output.reserve(lines.size() + lines.size() / 8);
        for (std::size_t start = 0; start < lines.size();) {
            auto const end = DumpPieces::lineEnd(lines, start, rule_);
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
    DumpPieces& pieces_;
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
    DumpPieces& pieces, std::vector<UrlPair> const& pairs, CharacterRule rule, RewriteSink const& sink)
{
    auto const available = std::clamp(std::thread::hardware_concurrency(), 1U, mostThreads);
    std::vector<LineRewriter> rewriters(pieces.isSmall() ? 1 : available, LineRewriter(pairs, rule));

    PieceQueue queue(pieces, rule, sink);
    {
        std::vector<std::jthread> helpers;
        try {
            for (auto& rewriter : std::span(rewriters).subspan(1))
                helpers.emplace_back([&] { queue.work(rewriter); });
        } catch (std::system_error const&) {
            // A system without room for another thread takes its time with those that there are.
        }
        queue.work(rewriters.front());
    }
    queue.finish();

    return std::ranges::any_of(rewriters, &LineRewriter::literalsMoved);
}

void copyAll(DumpSource const& source, RewriteSink const& sink)
{
    std::string block(DumpPieces::pieceSize, '\0');
    while (auto const count = source(block))
        sink(std::string_view(block).substr(0, count));
}

}  // namespace

bool rewriteDumpTo(
    RewriteSink const& sink, DumpSource const& source, std::vector<UrlPair> const& pairs, CharacterRule rule)
{
    if (pairs.empty()) {
        copyAll(source, sink);
        return false;
    }
    DumpPieces pieces(source, rule);
    auto const moved = rewriteWholeLines(pieces, pairs, rule, sink);

    if (pieces.lastLine().empty() && pieces.hadLines()) {
        // Behind a single line feed none is added, behind two each pass adds one.
        if (pieces.endsInTwoLineFeeds())
            sink(std::string(pairs.size(), '\n'));
        return moved;
    }
    auto const movedInLastLine = rewriteLastLine(pieces.lastLine(), pairs, rule, sink);
    return moved || movedInLastLine;
}

RewrittenDump rewriteToString(std::string_view sql, std::vector<UrlPair> const& pairs, CharacterRule rule)
{
    RewrittenDump result;
    // Untouched memory costs nothing, a second copy while the text grows does.
    result.text.reserve(sql.size() + sql.size() / 8 + 16);
    auto const source = [&sql](std::span<char> buffer) {
        auto const count = sql.copy(buffer.data(), buffer.size());
        sql.remove_prefix(count);
        return count;
    };
    auto const sink = [&result](std::string_view piece) { result.text.append(piece); };
    result.literalsMoved = rewriteDumpTo(sink, source, pairs, rule);
    return result;
}

}  // namespace harbor
