#include "core/site/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
extern "C" {  // glibc 2.36 leaves the linkage block out of this header
#include <sys/pidfd.h>
}

namespace harbor {

namespace {

[[noreturn]] void fail(int code, std::string const& what)
{
    throw std::system_error(code, std::generic_category(), what);
}

/// The null-terminated array of C strings that `exec` wants.
std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (auto& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// The inherited environment with `added` put in; a name in both has the added value.
std::vector<std::string> mergedEnvironment(std::map<std::string, std::string> const& added)
{
    auto merged = added;
    for (auto** entry = environ; *entry; ++entry) {
        std::string_view const pair(*entry);
        if (auto const equals = pair.find('='); equals != pair.npos)
            merged.emplace(pair.substr(0, equals), pair.substr(equals + 1));
    }
    std::vector<std::string> texts;
    texts.reserve(merged.size());
    for (auto const& [name, value] : merged)
        texts.push_back(name + "=" + value);
    return texts;
}

/// The two argument records of `posix_spawn`.
class SpawnSettings {
public:
    SpawnSettings()
    {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
    }
    SpawnSettings(SpawnSettings const&) = delete;
    SpawnSettings& operator=(SpawnSettings const&) = delete;
    ~SpawnSettings()
    {
        ::posix_spawn_file_actions_destroy(&actions);
        ::posix_spawnattr_destroy(&attributes);
    }

    void connect(int outputDescriptor, int errorDescriptor)
    {
        ::posix_spawn_file_actions_adddup2(&actions, outputDescriptor, STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, errorDescriptor, STDERR_FILENO);
        // Some library may have opened a descriptor without close-on-exec.
        ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    }

    void detachFromTerminal()
    {
        ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawnattr_setpgroup(&attributes, 0);
        flags_ |= POSIX_SPAWN_SETPGROUP;
    }

    void enter(std::string const& directory)
    {
        ::posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    }

    /// The child starts with no signal blocked and with the usual SIGPIPE, which the program may ignore.
    void resetSignals()
    {
        sigset_t blocked;
        sigemptyset(&blocked);
        ::posix_spawnattr_setsigmask(&attributes, &blocked);
        sigset_t defaults;
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGPIPE);
        ::posix_spawnattr_setsigdefault(&attributes, &defaults);
        flags_ |= POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    }

    void applyFlags() { ::posix_spawnattr_setflags(&attributes, flags_); }

    posix_spawn_file_actions_t actions {};
    posix_spawnattr_t attributes {};

private:
    short flags_ = 0;
};

/// A NUL would silently cut a text off on its way to the child.
void refuseNul(std::vector<std::string> const& texts, std::string const& executable)
{
    for (auto const& text : texts) {
        if (text.find('\0') != text.npos)
            fail(EINVAL, "Cannot hand a text with a NUL to " + executable);
    }
}

/// The system has one error for a missing executable and a missing folder; asking before tells them apart.
void checkWorkingDirectory(std::string const& directory)
{
    struct stat status {};
    if (::stat(directory.c_str(), &status) != 0)
        fail(errno, "Cannot enter the folder " + directory);
    if (!S_ISDIR(status.st_mode))
        fail(ENOTDIR, "Cannot enter the folder " + directory);
    if (::access(directory.c_str(), X_OK) != 0)
        fail(errno, "Cannot enter the folder " + directory);
}

pid_t start(Launch const& launch, int outputDescriptor, int errorDescriptor)
{
    std::vector<std::string> command { launch.executable };
    command.insert(command.end(), launch.arguments.begin(), launch.arguments.end());
    refuseNul(command, launch.executable);
    std::vector<std::string> environmentTexts;
    if (launch.environment)
        environmentTexts = mergedEnvironment(*launch.environment);
    refuseNul(environmentTexts, launch.executable);

    SpawnSettings settings;
    if (!launch.sharesTerminal)
        settings.detachFromTerminal();
    settings.connect(outputDescriptor, errorDescriptor);
    if (launch.workingDirectory) {
        checkWorkingDirectory(*launch.workingDirectory);
        settings.enter(*launch.workingDirectory);
    }
    settings.resetSignals();
    settings.applyFlags();

    auto const argumentPointers = pointersTo(command);
    auto const environmentPointers = pointersTo(environmentTexts);
    pid_t pid = -1;
    auto const failure
        = ::posix_spawn(&pid, launch.executable.c_str(), &settings.actions, &settings.attributes,
            argumentPointers.data(), launch.environment ? environmentPointers.data() : environ);
    if (failure != 0)
        fail(failure, "Cannot start " + launch.executable);
    return pid;
}

}  // namespace

Pipe::Pipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        fail(errno, "Cannot make a pipe");
    readEnd_ = ends[0];
    writeEnd_ = ends[1];
}

Pipe::~Pipe()
{
    closeWriteEnd();
    if (readEnd_ >= 0)
        ::close(readEnd_);
}

void Pipe::closeWriteEnd()
{
    if (writeEnd_ >= 0)
        ::close(std::exchange(writeEnd_, -1));
}

ChildProcess::ChildProcess(
    asio::any_io_executor executor, Launch const& launch, int outputDescriptor, int errorDescriptor)
    : pid_(start(launch, outputDescriptor, errorDescriptor))
    , pidfd_(executor)
{
    // The number cannot belong to another process yet: only we can reap this child.
    boost::system::error_code failure;
    pidfdNumber_ = ::pidfd_open(pid_, 0);
    if (pidfdNumber_ < 0)
        failure.assign(errno, boost::system::system_category());
    else
        pidfd_.assign(pidfdNumber_, failure);
    if (failure) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        ::close(pidfdNumber_);
        fail(failure.value(), "Cannot watch " + launch.executable);
    }
}

awaitable<int> ChildProcess::wait()
{
    // A pidfd becomes readable when its process ends, and a reactor may wake us without a reason.
    for (;;) {
        co_await pidfd_.async_wait(asio::posix::stream_descriptor::wait_read, asio::use_awaitable);
        int status = 0;
        auto const reaped = ::waitpid(pid_, &status, WNOHANG);
        if (reaped < 0)
            fail(errno, "Cannot wait for a child process");
        if (reaped == pid_)
            co_return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    }
}

void ChildProcess::terminate() const noexcept { ::pidfd_send_signal(pidfdNumber_, SIGTERM, nullptr, 0); }

}  // namespace harbor
