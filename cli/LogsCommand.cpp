#include "cli/Commands.h"
#include "core/base/File.h"
#include "core/base/Lines.h"
#include "core/base/TerminalText.h"

#include <stop_token>

namespace harbor::cli {

namespace {

Json toJson(std::string_view line) { return { { "line", withoutControlSequences(line) } }; }

Json toJson(std::vector<std::string_view> const& lines)
{
    auto list = Json::array();
    for (auto const line : lines)
        list.push_back(toJson(line));
    return list;
}

/// Prints whole lines; chunks end anywhere. As JSON each is a document of its own, for who follows.
class LinePrinter {
public:
    explicit LinePrinter(Console& console)
        : console_(console)
    {
    }

    void take(std::string_view chunk)
    {
        rest_ += chunk;
        std::size_t start = 0;
        for (auto end = rest_.find('\n'); end != rest_.npos; end = rest_.find('\n', start)) {
            print(std::string_view(rest_).substr(start, end - start));
            start = end + 1;
        }
        rest_.erase(0, start);
        console_.printBytes({});  // A follower sees each chunk at once.
    }

    void finish()
    {
        if (!rest_.empty())
            print(rest_);
    }

private:
    void print(std::string_view line)
    {
        console_.print(console_.json ? compactJson(toJson(line)) : withoutControlSequences(line));
    }

    Console& console_;
    std::string rest_;
};

awaitable<void> follow(Context& context, Site site)
{
    if (!fileExists(site.siteDirectory()))  // The stream would only be empty.
        throw CommandError("There is no folder " + site.siteDirectory() + ".");
    auto stream = co_await DockerCLI::shared().logs(site.siteDirectory(), site.composeProjectName());
    std::optional<OutputStream> open(std::move(stream));
    // Dropping the stream ends the child, and with it the wait for the next chunk.
    std::stop_callback const drop(context.stopToken(), [&open] { open.reset(); });
    LinePrinter printer(context.console());
    while (open) {
        auto const chunk = co_await open->next();
        if (!chunk)
            break;
        printer.take(*chunk);
    }
    printer.finish();
    throwIfStopped(context.stopToken());
}

awaitable<void> showLogs(Context& context, std::string which, bool following)
{
    auto const site = context.findSite(which);
    if (following) {
        co_await follow(context, site);
        co_return;
    }
    auto const text
        = co_await DockerCLI::shared().recentLogs(site.siteDirectory(), site.composeProjectName());
    if (context.console().json) {
        context.console().printJson(toJson(linesOf(text)));
        co_return;
    }
    LinePrinter printer(context.console());
    printer.take(text);
    printer.finish();
}

}  // namespace

void addLogsCommand(CLI::App& group, Context& context)
{
    struct Options {
        std::string site;
        bool follow = false;
    };
    auto& command = *group.add_subcommand("logs", "Print the last 100 log lines of each container of a site");
    auto const options = std::make_shared<Options>();
    addSiteArgument(command, options->site);
    command.add_flag("-f,--follow", options->follow, "Go on with new lines until Ctrl-C");
    onRun(
        command, context, [&context, options] { return showLogs(context, options->site, options->follow); });
}

}  // namespace harbor::cli
