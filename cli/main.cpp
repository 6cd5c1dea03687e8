#include "cli/Commands.h"
#include "cli/Help.h"
#include "core/protocol/SyncClient.h"
#include "core/site/ShellRunner.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace harbor::cli;

/// The words of the command that was being parsed.
std::string wordsOf(CLI::App const& command)
{
    auto const parsed = command.get_subcommands();
    return parsed.empty() ? "" : " " + parsed.front()->get_name() + wordsOf(*parsed.front());
}

/// What was wrong with the words. A word that nothing took explains more than what is missing without it.
std::string complaintAbout(CLI::App const& program, CLI::ParseError const& error)
{
    auto const left = program.remaining(true);
    if (error.get_name() != "RequiredError" || left.empty())
        return error.what();
    return "\"" + left.front() + "\" is no " + (left.front().starts_with('-') ? "option" : "command");
}

/// Takes "--" and what follows out of the words of "wp", for the command to pass on: the parser would hand
/// them to the program.
std::vector<std::string> takeWordsBehindMark(std::vector<std::string>& words)
{
    auto const first
        = std::ranges::find_if(words, [](std::string const& word) { return !word.starts_with('-'); });
    if (first == words.end() || *first != "wp")
        return {};
    auto const mark = std::find(first, words.end(), "--");
    std::vector<std::string> taken(mark, words.end());
    words.erase(mark, words.end());
    return taken;
}

/// Takes the place of a standard stream that was closed before the start: the next file or pipe would be
/// opened under its number, and results would go into it. What stands in its place fails just as a closed one
/// does.
void occupyStandardStreams()
{
    for (auto const stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO }) {
        if (::fcntl(stream, F_GETFD) < 0)
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

/// Parses the words and runs the command that they choose.
int runProgram(int argumentCount, char** arguments)
{
    // Never destroyed: a worker that has handed in the last result may still be letting go of the event loop.
    static auto& context = *new Context;
    CLI::App program { "Local WordPress sites in Docker, in step with their remotes", "twkb" };
    program.formatter(std::make_shared<HelpFormatter>());
    program.set_version_flag("--version", "twkb " HARBOR_VERSION, "Print the version");
    addCommands(program, context);

    if (argumentCount < 2) {
        std::cerr << program.help();
        return ExitCode::usage;
    }
    std::vector<std::string> words(arguments + 1, arguments + argumentCount);
    context.wordsBehindMark = takeWordsBehindMark(words);
    std::ranges::reverse(words);  // The parser takes them from the back.
    try {
        program.parse(words);
    } catch (CLI::Success const& asked) {  // Help or the version.
        std::ostringstream text;
        program.exit(asked, text);
        context.console().printBytes(text.str());
        return context.console().finish() ? ExitCode::done : ExitCode::failed;
    } catch (CLI::ParseError const& error) {
        context.console().fail(complaintAbout(program, error));
        context.console().note("Try: twkb help" + wordsOf(program));
        return ExitCode::usage;
    }
    // The program's own input is for its questions; children such as `docker compose exec` would drain it.
    harbor::ShellRunner::shared().detachStandardInput();
    // Standard output is for results; who wants JSON or silence wants no debug lines either.
    harbor::SyncClient::printDebugLinesTo(nullptr);
    if (!context.console().json)
        harbor::SyncClient::printDebugLinesTo([](std::string const& line) {
            harbor::asio::post(context.mainThread(), [line] { context.console().note(line); });
        });
    return context.run();
}

}  // namespace

int main(int argumentCount, char** arguments)
{
    occupyStandardStreams();
    return runProgram(argumentCount, arguments);
}
