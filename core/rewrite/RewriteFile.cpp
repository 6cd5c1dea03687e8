#include "core/rewrite/RewriteFile.h"

#include "core/base/File.h"
#include "core/base/Interrupted.h"
#include "core/base/Random.h"
#include "core/base/TemporaryFile.h"
#include "core/rewrite/DumpRewriter.h"
#include "core/rewrite/RewriteGuard.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace harbor {

namespace {

/// Reads a dump from its start, and sees to it that no byte is missing at the end: a file that another
/// program cuts short meanwhile must not pass for a whole one.
class DumpReader {
public:
    explicit DumpReader(std::string const& path)
        : file_(File::openForReading(path))
        , size_(file_.size())
    {
    }

    void rewind()
    {
        file_.seek(0);
        position_ = 0;
    }

    std::size_t read(std::span<char> buffer)
    {
        auto const count = file_.read(buffer);
        position_ += static_cast<std::int64_t>(count);
        if (count == 0 && position_ < size_)
            throw std::runtime_error("The file became shorter while it was read: " + file_.path());
        return count;
    }

private:
    File file_;
    std::int64_t size_;  ///< In bytes, when it was opened.
    std::int64_t position_ = 0;
};

/// Where the link at `path` leads, so that the link itself stays.
std::string behindLinks(std::string const& path)
{
    std::error_code failure;
    auto const target = std::filesystem::canonical(path, failure);
    return failure ? path : target.string();
}

/// A file beside the target, gone again unless it takes the target's place.
class FileBeside {
public:
    explicit FileBeside(std::string const& target)
        : target_(behindLinks(target))
        , file_(File::createNew(
              std::filesystem::path(target_).parent_path() / (".twkb-" + Uuid::random().text() + ".tmp"),
              0666))
        , beside_(TemporaryFile::adopt(file_.path()))
    {
        struct stat status {};
        if (::stat(target_.c_str(), &status) == 0)
            file_.setMode(status.st_mode & 07777);
    }

    void write(std::string_view bytes) { file_.write(bytes); }

    void takePlace()
    {
        file_.close();
        if (std::rename(beside_.path().c_str(), target_.c_str()) != 0)
            throw FileError(errno, target_);
        beside_.release();
    }

private:
    std::string target_;
    File file_;
    TemporaryFile beside_;
};

void writeStraight(std::string const& path, std::string_view bytes)
{
    auto const descriptor = ::open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        throw FileError(errno, path);
    auto file = File::adopt(descriptor, path);
    file.write(bytes);
    file.close();
}

}  // namespace

bool canBeReplaced(std::string const& path)
{
    struct stat status {};
    return ::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

bool rewriteFile(std::string const& input, std::string const& output, std::vector<UrlPair> const& pairs,
    Guard guard, std::stop_token const& stop)
{
    DumpReader dump(input);
    std::optional<FileBeside> result;
    auto const rewrite = [&](CharacterRule rule) {
        result.reset();
        result.emplace(output);
        dump.rewind();
        return rewriteDumpTo([&](std::string_view piece) { result->write(piece); },
            [&](std::span<char> buffer) {
                throwIfStopped(stop);
                return dump.read(buffer);
            },
            pairs, rule);
    };

    auto usedStrictCharacters = false;
    if (guard == Guard::on)
        usedStrictCharacters = rewriteGuarded(rewrite);
    else
        rewrite(CharacterRule::whole);
    result->takePlace();
    return usedStrictCharacters;
}

void writeResult(std::string const& path, std::string_view bytes)
{
    if (!canBeReplaced(path))
        return writeStraight(path, bytes);
    FileBeside file(path);
    file.write(bytes);
    file.takePlace();
}

}  // namespace harbor
