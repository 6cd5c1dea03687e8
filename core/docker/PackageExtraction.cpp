#include "core/docker/PackageExtraction.h"

#include "core/base/Describe.h"
#include "core/base/File.h"
#include "core/base/Interrupted.h"
#include "core/base/WorkerPool.h"
#include "core/docker/ImportError.h"
#include "core/docker/StoredNames.h"
#include "core/site/ShellRunner.h"

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <vector>

namespace harbor {

namespace {

constexpr auto macTool = "/usr/bin/ditto";

struct ReaderCloser {
    void operator()(archive* reader) const { archive_read_free(reader); }
};
struct WriterCloser {
    void operator()(archive* writer) const { archive_write_free(writer); }
};
using Reader = std::unique_ptr<archive, ReaderCloser>;
using Writer = std::unique_ptr<archive, WriterCloser>;

/// libarchive converts names by the locale of the thread; ours are always UTF-8.
class Utf8Locale {
public:
    Utf8Locale()
        : locale_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr))
        , before_(::uselocale(locale_))
    {
    }
    Utf8Locale(Utf8Locale const&) = delete;
    Utf8Locale& operator=(Utf8Locale const&) = delete;
    ~Utf8Locale()
    {
        ::uselocale(before_);
        if (locale_)
            ::freelocale(locale_);
    }

private:
    locale_t locale_;
    locale_t before_;
};

[[noreturn]] void fail(std::string const& words) { throw ImportError::extractionFailed(words); }

std::string wordsOf(archive* source)
{
    auto const* words = archive_error_string(source);
    return words ? words : "The archive cannot be read.";
}

void check(int status, archive* source)
{
    if (status < ARCHIVE_WARN)
        fail(wordsOf(source));
}

/// The entry's name as UTF-8 bytes. Names without the archive's UTF-8 mark are taken as they stand.
std::string nameOf(archive_entry* entry)
{
    if (auto const* name = archive_entry_pathname_utf8(entry))
        return name;
    auto const* name = archive_entry_pathname(entry);
    if (!name)
        fail("An entry's name cannot be read.");
    return name;
}

bool leavesTarget(std::filesystem::path const& name)
{
    if (name.is_absolute())
        return true;
    return std::ranges::any_of(name, [](auto const& part) { return part == ".."; });
}

bool isMacMetadata(std::string const& name) { return name == "__MACOSX" || name.starts_with("__MACOSX/"); }

void copyData(archive* reader, archive* writer)
{
    for (;;) {
        void const* block = nullptr;
        std::size_t size = 0;
        la_int64_t offset = 0;
        auto const status = archive_read_data_block(reader, &block, &size, &offset);
        if (status == ARCHIVE_EOF)
            return;
        // What libarchive calls warnings here are a checksum or a size that does not fit, and a failed write.
        if (status != ARCHIVE_OK)
            fail(wordsOf(reader));
        if (archive_write_data_block(writer, block, size, offset) < ARCHIVE_OK)
            fail(wordsOf(writer) + ": " + describeErrno(archive_errno(writer)));
    }
}

/// Writes the entries of one archive below the target. Links are made after all else, so that no file is ever
/// placed through one.
class Extraction {
public:
    Extraction(std::string const& package, std::string target, std::stop_token stop)
        : target_(std::move(target))
        , stop_(std::move(stop))
        , reader_(archive_read_new())
        , writer_(archive_write_disk_new())
        , names_(package)
    {
        archive_read_support_format_zip(reader_.get());
        constexpr std::size_t blockSize = 262'144;
        check(archive_read_open_filename(reader_.get(), package.c_str(), blockSize), reader_.get());
        archive_write_disk_set_options(writer_.get(), ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_SECURE_NODOTDOT);
    }

    void run()
    {
        for (;;) {
            archive_entry* entry = nullptr;
            auto const status = archive_read_next_header(reader_.get(), &entry);
            if (status == ARCHIVE_EOF)
                break;
            check(status, reader_.get());
            throwIfStopped(stop_);
            take(entry);
        }
        check(archive_write_close(writer_.get()), writer_.get());
        for (auto const& link : links_)
            makeLink(link);
        for (auto const& link : links_)  // Where one leads may depend on those that were made after it.
            requireInside(target_ + "/" + link.name, link.name);
    }

private:
    struct Link {
        std::string name;
        std::string leadsTo;
    };

    void take(archive_entry* entry)
    {
        auto const name = names_.take(nameOf(entry));
        if (isMacMetadata(name))
            return;
        if (name.empty() || leavesTarget(name))
            refuse(name);
        auto const type = archive_entry_filetype(entry);
        if (type != AE_IFREG && type != AE_IFDIR && type != AE_IFLNK)
            fail("The entry \"" + name + "\" is neither a file nor a folder nor a link.");
        if (type == AE_IFLNK) {
            auto const* leadsTo = archive_entry_symlink(entry);
            links_.push_back({ name, leadsTo ? leadsTo : "" });
            return;
        }
        archive_entry_copy_pathname(entry, (target_ + "/" + name).c_str());
        // Whatever the archive says, we must be able to read and to remove what we make.
        archive_entry_set_perm(entry, (archive_entry_perm(entry) & 0777) | (type == AE_IFDIR ? 0700 : 0600));
        check(archive_write_header(writer_.get(), entry), writer_.get());
        copyData(reader_.get(), writer_.get());
        check(archive_write_finish_entry(writer_.get()), writer_.get());
    }

    /// Takes the place of an earlier file or link of that name.
    void makeLink(Link const& link) const
    {
        std::filesystem::path const path(target_ + "/" + link.name);
        requireInside(path.parent_path(), link.name);
        requireInside(path.parent_path() / link.leadsTo, link.name);
        std::filesystem::create_directories(path.parent_path());
        if (!std::filesystem::is_directory(std::filesystem::symlink_status(path)))
            std::filesystem::remove(path);
        std::filesystem::create_symlink(link.leadsTo, path);
    }

    void requireInside(std::filesystem::path const& path, std::string const& name) const
    {
        auto const root = std::filesystem::canonical(target_).native();
        std::error_code failure;
        auto const end = std::filesystem::weakly_canonical(path, failure).native();
        if (failure == std::errc::too_many_symbolic_link_levels)
            return;  // It leads round in a circle, and so nowhere.
        if (failure)
            throw std::filesystem::filesystem_error("", path, failure);
        if (end != root && !end.starts_with(root + "/"))
            refuse(name);
    }

    [[noreturn]] static void refuse(std::string const& name)
    {
        fail("The entry \"" + name + "\" would leave the folder of the package.");
    }

    std::string target_;
    std::stop_token stop_;
    Reader reader_;
    Writer writer_;
    StoredNames names_;
    std::vector<Link> links_;
};

void extractWithLibarchive(std::string const& package, std::string const& target, std::stop_token stop)
{
    Utf8Locale const locale;
    try {
        Extraction(package, target, std::move(stop)).run();
    } catch (std::filesystem::filesystem_error const& error) {
        fail(error.code().message());
    }
}

awaitable<void> extractWithMacTool(std::string package, std::string target)
{
    auto const result = co_await ShellRunner::shared().run(macTool, { "-xk", package, target });
    if (result.exitCode != 0)
        fail(result.stderr);
}

}  // namespace

awaitable<void> extractZip(std::string package, std::string target, std::stop_token stop)
{
    if (fileExists(macTool)) {
        co_await extractWithMacTool(std::move(package), std::move(target));
        co_return;
    }
    auto const extract = [&] { extractWithLibarchive(package, target, stop); };
    co_await callOn(WorkerPool::executor(), extract);
}

}  // namespace harbor
