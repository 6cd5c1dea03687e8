#pragma once

#include <map>
#include <string>

namespace harbor {

/// A `docker` first on the login shell's PATH, which answers from files and writes down what it was asked.
/// Projects that are up list their containers; `up` and `down` move them.
class FakeDocker {
public:
    /// @param home  whose profiles get the PATH
    explicit FakeDocker(std::string const& home);
    FakeDocker(FakeDocker const&) = delete;
    ~FakeDocker();

    /// As if the program was not there.
    void uninstall();
    void setRunning(bool isRunning);
    /// Containers that `ps` lists for the project from now on: JSON lines.
    void setContainers(std::string const& project, std::string const& lines);
    /// One running container of that name and service.
    static std::string container(std::string const& service, std::string const& state = "running",
        std::string const& status = "Up 3 minutes", std::string const& health = "");

    /// The Compose command ("up", "down", "ps", "exec") fails with these words; empty ones let it succeed.
    void fail(std::string const& command, std::string const& words);
    /// The Compose command waits until `release`.
    void hold(std::string const& command);
    void release(std::string const& command);
    void releaseAll();
    /// What a WP-CLI command gives.
    void answerWPCLI(std::string const& output, std::string const& errors, int exitCode);
    /// The database of a project: what a dump gives.
    void setDump(std::string const& project, std::string const& sql);
    /// What was loaded into the database of a project last; empty when nothing was.
    std::string loaded(std::string const& project) const;
    /// The rows that a query gives which holds these words. Other queries give none.
    void answerQuery(std::string const& words, std::string const& rows);
    /// Writes to every log stream that is open or will be.
    void writeLog(std::string const& text);
    /// Process ids of the log streams that were started, in order.
    std::string logProcesses() const { return read("logs.pid"); }

    /// All calls so far, a line each: the arguments with blanks between.
    std::string calls() const { return read("calls"); }
    bool wasAsked(std::string const& words) const { return calls().find(words) != std::string::npos; }

private:
    void write(std::string const& name, std::string const& content, unsigned mode = 0600) const;
    std::string read(std::string const& name) const;
    std::string file(std::string const& name) const { return folder_ + "/" + name; }

    std::string folder_;
    std::map<std::string, int> held_;
    std::map<std::string, std::string> answers_;  ///< Folder of each answer, by its words.
    int log_ = -1;
};

}  // namespace harbor
