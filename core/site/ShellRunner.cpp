#include "core/site/ShellRunner.h"

#include "core/base/Unicode.h"
#include "core/base/WorkerPool.h"
#include "core/site/ChildProcess.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/buffer.hpp>

#include <array>
#include <pwd.h>
#include <system_error>
#include <unistd.h>

namespace harbor {

namespace {

using Descriptor = asio::posix::stream_descriptor;

constexpr std::size_t readSize = 65'536;  // in bytes; what a pipe holds

awaitable<void> readToEnd(Descriptor& pipe, std::string& into)
{
    for (;;) {
        auto const used = into.size();
        if (into.capacity() < used + readSize)
            into.reserve(2 * used + readSize);
        into.resize(used + readSize);
        auto const [failure, count] = co_await pipe.async_read_some(
            asio::buffer(into.data() + used, readSize), asio::as_tuple(asio::use_awaitable));
        into.resize(used + count);
        if (failure)
            co_return;
    }
}

/// Both pipes are read side by side: a child that fills the one while we read the other would never end.
awaitable<ShellResult> collect(Launch launch)
{
    using namespace asio::experimental::awaitable_operators;
    auto const executor = co_await asio::this_coro::executor;
    Pipe output;
    Pipe error;
    Descriptor outputEnd(executor, output.takeReadEnd());
    Descriptor errorEnd(executor, error.takeReadEnd());
    ChildProcess child(executor, launch, output.writeEnd(), error.writeEnd());
    output.closeWriteEnd();
    error.closeWriteEnd();

    ShellResult result;
    result.exitCode = co_await (
        child.wait() && readToEnd(outputEnd, result.stdout) && readToEnd(errorEnd, result.stderr));
    result.stdout = unicode::decodeReplacing(result.stdout);
    result.stderr = unicode::decodeReplacing(result.stderr);
    co_return result;
}

awaitable<ShellResult> collectToFile(Launch launch, int outputDescriptor)
{
    using namespace asio::experimental::awaitable_operators;
    auto const executor = co_await asio::this_coro::executor;
    Pipe error;
    Descriptor errorEnd(executor, error.takeReadEnd());
    ChildProcess child(executor, launch, outputDescriptor, error.writeEnd());
    error.closeWriteEnd();

    ShellResult result;
    result.exitCode = co_await (child.wait() && readToEnd(errorEnd, result.stderr));
    result.stderr = unicode::decodeReplacing(result.stderr);
    co_return result;
}

std::string shellOfPasswdEntry()
{
    std::array<char, 16'384> buffer {};
    passwd entry {};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return {};
    return found->pw_shell;
}

}  // namespace

ShellRunner& ShellRunner::shared()
{
    static ShellRunner runner;
    return runner;
}

awaitable<ShellResult> ShellRunner::run(std::string executable, std::vector<std::string> arguments,
    std::optional<Environment> environment, std::optional<std::string> workingDirectory)
{
    Launch launch { std::move(executable), std::move(arguments), std::move(environment),
        std::move(workingDirectory), sharesTerminal_ };
    return runOn(WorkerPool::makeSerialExecutor(), collect(std::move(launch)));
}

awaitable<ShellResult> ShellRunner::shell(std::string command, std::optional<std::string> workingDirectory)
{
    return run(loginShell(), { "-l", "-c", std::move(command) }, std::nullopt, std::move(workingDirectory));
}

awaitable<ShellResult> ShellRunner::runToFile(
    std::string executable, std::vector<std::string> arguments, int outputDescriptor)
{
    Launch launch { std::move(executable), std::move(arguments), {}, {}, sharesTerminal_ };
    return runOn(WorkerPool::makeSerialExecutor(), collectToFile(std::move(launch), outputDescriptor));
}

std::string chooseLoginShell(std::string const& own, std::function<bool(std::string const&)> const& exists)
{
    if (exists("/bin/zsh"))
        return "/bin/zsh";
    auto const name = own.substr(own.rfind('/') + 1);
    auto const quotesAlike = name == "bash" || name == "dash" || name == "ksh" || name == "sh";
    if (own.starts_with('/') && quotesAlike && exists(own))
        return own;
    return exists("/bin/bash") ? "/bin/bash" : "/bin/sh";
}

std::string loginShell()
{
    return chooseLoginShell(
        shellOfPasswdEntry(), [](std::string const& path) { return ::access(path.c_str(), X_OK) == 0; });
}

std::string shellQuoted(std::string_view text)
{
    std::string quoted = "'";
    for (auto const character : text) {
        if (character == '\'')
            quoted += R"('\'')";
        else
            quoted += character;
    }
    return quoted + "'";
}

}  // namespace harbor
