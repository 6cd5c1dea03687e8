#include "tests/app/FakeDocker.h"

#include "core/base/AtomicFile.h"
#include "core/base/File.h"

#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace harbor {

namespace {

constexpr auto script = R"sh(#!/bin/sh
F="$(dirname "$0")/.."
echo "$*" >> "$F/calls"
if [ "$1" = info ]; then [ ! -e "$F/stopped" ]; exit; fi
project=$3
command=$4
# A pipe that is gone by the time it is opened was released meanwhile.
if [ -p "$F/hold-$command" ]; then cat "$F/hold-$command" > /dev/null 2>&1; fi
if [ -e "$F/fail-$command" ]; then cat "$F/fail-$command" >&2; exit 1; fi
case $command in
    ps) cat "$F/ps-$project" 2> /dev/null ;;
    up) [ -e "$F/ps-$project" ] || cat "$F/ps-default" > "$F/ps-$project" ;;
    down) rm -f "$F/ps-$project" ;;
    logs) echo $$ >> "$F/logs.pid"; exec cat "$F/log" ;;
    exec)
        case "$*" in
            *" mysql mysqldump "*) cat "$F/dump-$project"; exit ;;
            *" mysql mysql "*" -e "*)
                for answer in "$F"/answers/*; do
                    [ -e "$answer/words" ] || continue
                    case "$*" in *"$(cat "$answer/words")"*) cat "$answer/rows"; exit ;; esac
                done
                exit 0 ;;
            *" mysql mysql "*) cat > "$F/loaded-$project"; exit ;;
        esac
        cat "$F/wpcli.out"
        cat "$F/wpcli.err" >&2
        exit "$(cat "$F/wpcli.code")" ;;
esac
exit 0
)sh";

}  // namespace

FakeDocker::FakeDocker(std::string const& home)
    : folder_(home + "/fake-docker")
{
    createDirectories(folder_ + "/bin");
    write("bin/docker", script, 0755);
    write("ps-default", container("wordpress") + container("mysql", "running", "Up 3 minutes", "healthy"));
    createDirectories(folder_ + "/tools");
    for (std::string const tool : { "cat", "dirname", "gzip", "gunzip", "openssl", "rm", "sh", "which" })
        std::filesystem::create_symlink("/usr/bin/" + tool, folder_ + "/tools/" + tool);
    // Nothing else of this machine is on the path: it may have a docker of its own.
    auto const profile = "PATH='" + folder_ + "/bin:" + folder_ + "/tools'; export PATH\n";
    for (auto const* name : { "/.profile", "/.zprofile", "/.bash_profile" })
        writeAtomically(home + name, profile, 0600);
    answerWPCLI("", "", 0);
    // Open for both ways, so that a reader waits instead of finding the end.
    ::mkfifo(file("log").c_str(), 0600);
    log_ = ::open(file("log").c_str(), O_RDWR | O_CLOEXEC);
}

FakeDocker::~FakeDocker()
{
    releaseAll();
    ::close(log_);
}

void FakeDocker::uninstall() { removeFile(file("bin/docker")); }

void FakeDocker::setRunning(bool isRunning)
{
    if (isRunning)
        ::unlink(file("stopped").c_str());
    else
        write("stopped", "");
}

void FakeDocker::setContainers(std::string const& project, std::string const& lines)
{
    write("ps-" + project, lines);
}

std::string FakeDocker::container(std::string const& service, std::string const& state,
    std::string const& status, std::string const& health)
{
    return R"({"Name":"twkb-)" + service + R"(-1","Service":")" + service + R"(","State":")" + state
        + R"(","Status":")" + status + R"(","Health":")" + health + "\"}\n";
}

void FakeDocker::fail(std::string const& command, std::string const& words)
{
    if (words.empty())
        ::unlink(file("fail-" + command).c_str());
    else
        write("fail-" + command, words);
}

void FakeDocker::hold(std::string const& command)
{
    ::mkfifo(file("hold-" + command).c_str(), 0600);
    held_[command] = ::open(file("hold-" + command).c_str(), O_RDWR | O_CLOEXEC);
}

void FakeDocker::release(std::string const& command)
{
    ::unlink(file("hold-" + command).c_str());
    ::close(held_.at(command));
    held_.erase(command);
}

void FakeDocker::releaseAll()
{
    while (!held_.empty())
        release(std::string(held_.begin()->first));
}

void FakeDocker::answerWPCLI(std::string const& output, std::string const& errors, int exitCode)
{
    write("wpcli.out", output);
    write("wpcli.err", errors);
    write("wpcli.code", std::to_string(exitCode));
}

void FakeDocker::setDump(std::string const& project, std::string const& sql)
{
    write("dump-" + project, sql);
}

std::string FakeDocker::loaded(std::string const& project) const { return read("loaded-" + project); }

void FakeDocker::answerQuery(std::string const& words, std::string const& rows)
{
    auto const known = answers_.try_emplace(words, std::to_string(answers_.size())).first;
    auto const folder = "answers/" + known->second;
    createDirectories(file(folder));
    write(folder + "/rows", rows);
    write(folder + "/words", words);
}

void FakeDocker::writeLog(std::string const& text)
{
    [[maybe_unused]] auto const count = ::write(log_, text.data(), text.size());
}

void FakeDocker::write(std::string const& name, std::string const& content, unsigned mode) const
{
    writeAtomically(file(name), content, mode);
}

std::string FakeDocker::read(std::string const& name) const
{
    return fileExists(file(name)) ? readWholeFile(file(name)) : std::string();
}

}  // namespace harbor
