#pragma once

#include "core/base/Async.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace harbor {

/// A pipe whose ends no child inherits by accident. Throws `std::system_error`.
class Pipe {
public:
    Pipe();
    Pipe(Pipe const&) = delete;
    Pipe& operator=(Pipe const&) = delete;
    ~Pipe();

    /// Hands the reading end to its new owner.
    int takeReadEnd() { return std::exchange(readEnd_, -1); }
    int writeEnd() const { return writeEnd_; }
    /// Our own copy of the writing end: as long as it is open the reader sees no end of file.
    void closeWriteEnd();

private:
    int readEnd_ = -1;
    int writeEnd_ = -1;
};

/// What to start, and how.
struct Launch {
    std::string executable;  ///< A path; the PATH is not searched.
    std::vector<std::string> arguments;
    /// Put into a copy of the inherited environment; without it that is inherited as it is.
    std::optional<std::map<std::string, std::string>> environment;
    std::optional<std::string> workingDirectory;
    /// Otherwise the child reads an empty input, in a process group of its own.
    bool sharesTerminal = true;
};

/// A started child process. It is always to be awaited, or it stays a zombie.
class ChildProcess {
public:
    /// Starts the child with these two descriptors as its standard output and standard error.
    /// @throws std::system_error  nothing was started; the text names what could not be used
    ChildProcess(
        asio::any_io_executor executor, Launch const& launch, int outputDescriptor, int errorDescriptor);

    /// Waits for the end; called once. Gives the exit status, or the number of the signal that ended the
    /// child.
    awaitable<int> wait();

    /// Asks the child to end (SIGTERM). Any thread may call, also after the child has ended: the signal goes
    /// through the pidfd and can never hit another process that got the same number.
    void terminate() const noexcept;

private:
    pid_t pid_ = -1;
    asio::posix::stream_descriptor pidfd_;
    int pidfdNumber_ = -1;  ///< The same descriptor, readable by any thread; open as long as this object.
};

}  // namespace harbor
