#include "cli/Commands.h"

#include "core/base/File.h"
#include "core/protocol/SyncError.h"
#include "core/rewrite/RewriteFile.h"
#include "core/rewrite/RewriteGuard.h"
#include "core/rewrite/SearchReplace.h"

#include <array>
#include <cerrno>
#include <unistd.h>

namespace harbor::cli {

namespace {

struct RewriteOptions {
    std::string from;
    std::string to;
    std::string input;   ///< Standard input when empty.
    std::string output;  ///< Standard output when empty.
    bool literal = false;
    bool exact = false;
    bool value = false;
};

std::string readStandardInput()
{
    std::string text;
    std::array<char, 64 * 1024> buffer;
    for (;;) {
        auto const count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count == 0)
            return text;
        if (count > 0)
            text.append(buffer.data(), static_cast<std::size_t>(count));
        else if (errno != EINTR)
            throw FileError(errno, "standard input");
    }
}

/// The whole result in memory, for what does not go from file to file.
GuardedRewrite rewriteText(RewriteOptions const& options, std::string const& text)
{
    if (options.value)
        return { SearchReplace::rewriteValue(text, options.from, options.to) };
    if (options.exact)
        return { SearchReplace::rewriteStatements(text, options.from, options.to) };
    if (options.literal)
        return { SearchReplace::rewriteDump(text, options.from, options.to) };
    return rewriteDumpGuarded(text, options.from, options.to);
}

awaitable<void> rewrite(Console& console, RewriteOptions options)
{
    auto const pairs
        = options.exact ? exactPair(options.from, options.to) : bothPairs(options.from, options.to);
    if (wouldNotEnd(pairs))
        throw SyncError::connectionFailed(endlessPairText(options.from, options.to));

    auto usedStrictCharacters = false;
    if (!options.input.empty() && !options.output.empty() && !options.value) {
        auto const guard = options.literal || options.exact ? Guard::off : Guard::on;
        usedStrictCharacters = rewriteFile(options.input, options.output, pairs, guard);
    } else {
        auto const text = options.input.empty() ? readStandardInput() : readWholeFile(options.input);
        auto const result = rewriteText(options, text);
        usedStrictCharacters = result.usedStrictCharacters;
        if (options.output.empty())
            console.printBytes(result.text);
        else
            replaceFile(options.output, result.text);
    }
    if (usedStrictCharacters)
        console.note(strictCharactersNotice);
    co_return;
}

}  // namespace

void addRewriteCommand(CLI::App& program, Context& context)
{
    auto& command = *program.add_subcommand("rewrite", "Move a dump from one site URL to another");
    auto const options = std::make_shared<RewriteOptions>();
    command.add_option("--from", options->from, "URL that the dump holds")->type_name("URL")->required();
    command.add_option("--to", options->to, "URL that it is to hold")->type_name("URL")->required();
    command.add_option("FILE", options->input, "Dump to read; standard input without it");
    command.add_option("--output", options->output, "File to write; standard output without it")
        ->type_name("FILE");
    auto& literal
        = *command.add_flag("--literal", options->literal, "Without the guard against texts whose ends move");
    auto& exact = *command.add_flag(
        "--exact", options->exact, "Only the pair as given, not its form without a scheme");
    auto& value = *command.add_flag("--value", options->value, "The input is one stored value, not a dump");
    literal.excludes(&exact)->excludes(&value);
    exact.excludes(&value);
    onRun(command, context, [&context, options] { return rewrite(context.console(), *options); });
}

}  // namespace harbor::cli
