#include "cli/Commands.h"
#include "cli/Input.h"

#include "core/base/Interrupted.h"
#include "core/base/WorkerPool.h"
#include "core/protocol/SyncError.h"
#include "core/rewrite/RewriteFile.h"
#include "core/rewrite/RewriteGuard.h"
#include "core/rewrite/SearchReplace.h"

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

std::string readDump(std::string const& file, std::stop_token const& stop)
{
    return file.empty() ? readStandardInput(stop) : readInput(file, stop);
}

awaitable<void> rewrite(Context& context, RewriteOptions options)
{
    auto const pairs
        = options.exact ? exactPair(options.from, options.to) : bothPairs(options.from, options.to);
    if (wouldNotEnd(pairs))
        throw SyncError::connectionFailed(endlessPairText(options.from, options.to));

    auto usedStrictCharacters = false;
    auto const fromFileToFile = !options.input.empty() && !isStream(options.input) && !options.output.empty()
        && canBeReplaced(options.output);
    if (fromFileToFile && !options.value) {
        auto const guard = options.literal || options.exact ? Guard::off : Guard::on;
        auto const rewriteIt
            = [&] { return rewriteFile(options.input, options.output, pairs, guard, context.stopToken()); };
        usedStrictCharacters = co_await callOn(WorkerPool::executor(), rewriteIt);
    } else {
        auto const rewriteIt
            = [&] { return rewriteText(options, readDump(options.input, context.stopToken())); };
        auto const result = co_await callOn(WorkerPool::executor(), rewriteIt);
        throwIfStopped(context.stopToken());
        usedStrictCharacters = result.usedStrictCharacters;
        if (options.output.empty())
            context.console().printBytes(result.text);
        else
            writeResult(options.output, result.text);
    }
    if (usedStrictCharacters)
        context.console().note(strictCharactersNotice);
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
    onRun(command, context, [&context, options] { return rewrite(context, *options); });
}

}  // namespace harbor::cli
