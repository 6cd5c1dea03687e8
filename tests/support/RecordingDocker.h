#pragma once

#include "core/base/File.h"

#include "tests/support/TemporaryHome.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace harbor {

/// A `docker` on the login shell's PATH that writes down how it was called and answers as it is told. It
/// lives in a home of its own, whose profiles bring it onto the PATH.
class RecordingDocker {
public:
    struct Call {
        std::string folder;                  ///< The working directory.
        std::vector<std::string> arguments;  ///< Without "docker" itself.
        std::string input;                   ///< What came in, for a call that reads its input.
        bool operator==(Call const&) const = default;
    };

    RecordingDocker()
    {
        for (auto const* folder : { "bin", "calls", "answers" })
            std::filesystem::create_directories(folderOf(folder));
        putProgram("docker", R"sh(#!/bin/sh
me=$(dirname "$(dirname "$0")")
number=$(mktemp "$me/calls/$(date +%s%N)-XXXXXX")
{ pwd; for argument; do printf '%s\0' "$argument"; done; } > "$number"
# `mysql` without -e reads its statements from the input.
case " $* " in
    *" -e "*) ;;
    *" exec -T mysql mysql "*) cat > "$number.input" ;;
esac
for answer in "$me"/answers/*; do
    [ -e "$answer/when" ] || continue
    case "$*" in
        *"$(cat "$answer/when")"*)
            cat "$answer/stderr" >&2
            cat "$answer/stdout"
            [ ! -e "$answer/script" ] || . "$answer/script"
            exit "$(cat "$answer/status")" ;;
    esac
done
exit 0
)sh");
        for (auto const* profile : { ".zprofile", ".bash_profile", ".profile" })
            std::ofstream(home.path() + "/" + profile)
                << "export PATH='" << folderOf("bin") << "':\"$PATH\"\n";
    }

    /// From now on a call whose arguments hold `when` gets this answer; the latest fitting answer counts.
    /// Every other call succeeds silently.
    void answer(std::string const& when, int status, std::string const& output = {},
        std::string const& errorOutput = {}, std::string const& script = {})
    {
        auto const folder = folderOf("answers/") + std::to_string(999 - answers_++);
        std::filesystem::create_directories(folder);
        std::ofstream(folder + "/when") << when;
        std::ofstream(folder + "/status") << status;
        std::ofstream(folder + "/stdout") << output;
        std::ofstream(folder + "/stderr") << errorOutput;
        if (!script.empty())
            std::ofstream(folder + "/script") << script;
    }

    /// Puts a program on the PATH.
    void putProgram(std::string const& name, std::string const& text)
    {
        auto const path = folderOf("bin/") + name;
        std::ofstream(path) << text;
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }

    void removeProgram(std::string const& name) { std::filesystem::remove(folderOf("bin/") + name); }

    /// The calls so far, in their order.
    std::vector<Call> calls() const
    {
        std::vector<std::string> files;
        for (auto const& entry : std::filesystem::directory_iterator(folderOf("calls"))) {
            if (entry.path().extension() != ".input")
                files.push_back(entry.path());
        }
        std::ranges::sort(files);
        std::vector<Call> result;
        for (auto const& file : files)
            result.push_back(readCall(file));
        return result;
    }

    /// The arguments of the only call, or of none.
    std::vector<std::string> onlyArguments() const
    {
        auto const all = calls();
        return all.size() == 1 ? all[0].arguments : std::vector<std::string>();
    }

    TemporaryHome home;

private:
    std::string folderOf(std::string const& name) const { return home.path() + "/" + name; }

    static Call readCall(std::string const& file)
    {
        auto const text = readWholeFile(file);
        auto const lineEnd = text.find('\n');
        Call call { text.substr(0, lineEnd), {}, {} };
        for (auto start = lineEnd + 1; start < text.size();) {
            auto const end = text.find('\0', start);
            call.arguments.push_back(text.substr(start, end - start));
            start = end + 1;
        }
        if (fileExists(file + ".input"))
            call.input = readWholeFile(file + ".input");
        return call;
    }

    int answers_ = 0;
};

}  // namespace harbor
