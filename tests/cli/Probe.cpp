// Shows the pieces of the command line that no command shows without a remote.
//
//   cli_probe secret             asks for a secret and prints it
//   cli_probe progress [FLAG]    runs a SyncProgress through a display; FLAG is --json or --quiet

#include "cli/ProgressDisplay.h"
#include "cli/Prompt.h"

#include <boost/asio/steady_timer.hpp>

#include <string_view>

namespace {

using namespace harbor;
using namespace harbor::cli;

awaitable<int> askForSecret(Context& context)
{
    auto const secret = co_await askSecret(context, "API key:");
    context.console().print("secret: " + secret.value_or("none"));
    co_return ExitCode::done;
}

awaitable<int> showProgress(Context& context)
{
    SyncProgress progress(context.mainThread());
    ProgressDisplay const display(context.console(), progress);
    progress.setPhase(Phase::syncingFiles);
    progress.setTotalFiles(4);
    progress.setTotalBytes(4'000'000);
    progress.setProcessedFiles(1);
    progress.setTransferredBytes(1'000'000);
    progress.setCurrentFile("themes/harbor/style.css");
    // Long enough for the display to draw by itself.
    asio::steady_timer timer(context.mainThread(), std::chrono::milliseconds(300));
    co_await timer.async_wait(asio::use_awaitable);
    progress.log("To upload: 3 files, one of them caf\xe9.jpg");
    progress.setPhase(Phase::complete);
    context.console().print("done");
    co_return ExitCode::done;
}

}  // namespace

int main(int count, char** words)
{
    Context context;
    for (int i = 1; i < count; ++i) {
        auto const word = std::string_view(words[i]);
        context.console().json |= word == "--json";
        context.console().quiet |= word == "--quiet";
        if (word == "secret")
            context.choose([&context] { return askForSecret(context); });
        if (word == "progress")
            context.choose([&context] { return showProgress(context); });
    }
    return context.run();
}
