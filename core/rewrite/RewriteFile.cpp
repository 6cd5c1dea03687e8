#include "core/rewrite/RewriteFile.h"

#include "core/base/File.h"
#include "core/base/Random.h"
#include "core/rewrite/DumpRewriter.h"
#include "core/rewrite/RewriteGuard.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace harbor {

namespace {

/// The bytes of a file, without a copy of them.
class MappedFile {
public:
    explicit MappedFile(std::string const& path)
    {
        auto const file = File::openForReading(path);
        size_ = static_cast<std::size_t>(file.size());
        if (size_ == 0)
            return;  // Nothing cannot be mapped.
        data_ = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, file.descriptor(), 0);
        if (data_ == MAP_FAILED)
            throw FileError(errno, path);
    }
    MappedFile(MappedFile const&) = delete;
    MappedFile& operator=(MappedFile const&) = delete;
    ~MappedFile()
    {
        if (size_ > 0)
            ::munmap(data_, size_);
    }

    std::string_view bytes() const { return { static_cast<char const*>(data_), size_ }; }

private:
    void* data_ = nullptr;
    std::size_t size_ = 0;
};

/// A file beside the target, gone again unless it takes the target's place.
class FileBeside {
public:
    explicit FileBeside(std::string const& target)
        : target_(target)
        , path_((std::filesystem::path(target).parent_path() / (".twkb-" + Uuid::random().text() + ".tmp"))
                  .string())
        , file_(File::createNew(path_, 0666))
    {
        struct stat status {};
        if (::stat(target.c_str(), &status) == 0)
            file_.setMode(status.st_mode & 07777);
    }
    FileBeside(FileBeside const&) = delete;
    FileBeside& operator=(FileBeside const&) = delete;
    ~FileBeside()
    {
        if (!path_.empty())
            ::unlink(path_.c_str());
    }

    void write(std::string_view bytes) { file_.write(bytes); }

    void takePlace()
    {
        file_.close();
        if (std::rename(path_.c_str(), target_.c_str()) != 0)
            throw FileError(errno, target_);
        path_.clear();
    }

private:
    std::string target_;
    std::string path_;
    File file_;
};

}  // namespace

bool rewriteFile(
    std::string const& input, std::string const& output, std::vector<UrlPair> const& pairs, Guard guard)
{
    MappedFile const dump(input);
    std::optional<FileBeside> result;
    auto const rewrite = [&](CharacterRule rule) {
        result.reset();
        result.emplace(output);
        return rewriteDumpTo(
            [&](std::string_view piece) { result->write(piece); }, dump.bytes(), pairs, rule);
    };

    auto usedStrictCharacters = false;
    if (guard == Guard::on)
        usedStrictCharacters = rewriteGuarded(rewrite);
    else
        rewrite(CharacterRule::whole);
    result->takePlace();
    return usedStrictCharacters;
}

void replaceFile(std::string const& path, std::string_view bytes)
{
    FileBeside file(path);
    file.write(bytes);
    file.takePlace();
}

}  // namespace harbor
