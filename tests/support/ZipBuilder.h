#pragma once

#include <archive.h>
#include <archive_entry.h>

#include <string>
#include <string_view>

namespace harbor {

/// Makes zip archives for tests, hostile ones too: names are written as they are given.
class ZipBuilder {
public:
    explicit ZipBuilder(std::string const& path)
        : archive_(archive_write_new())
    {
        archive_write_set_format_zip(archive_);
        archive_write_open_filename(archive_, path.c_str());
    }
    ZipBuilder(ZipBuilder const&) = delete;
    ZipBuilder& operator=(ZipBuilder const&) = delete;
    ~ZipBuilder() { archive_write_free(archive_); }

    /// Makes the archive whole before the builder goes.
    void close() { archive_write_close(archive_); }

    ZipBuilder& file(std::string const& name, std::string_view content, unsigned mode = 0644)
    {
        auto* entry = newEntry(name, AE_IFREG, mode);
        archive_entry_set_size(entry, static_cast<la_int64_t>(content.size()));
        archive_write_header(archive_, entry);
        archive_write_data(archive_, content.data(), content.size());
        archive_entry_free(entry);
        return *this;
    }
    ZipBuilder& folder(std::string const& name, unsigned mode = 0755)
    {
        auto* entry = newEntry(name, AE_IFDIR, mode);
        archive_write_header(archive_, entry);
        archive_entry_free(entry);
        return *this;
    }
    ZipBuilder& link(std::string const& name, std::string const& leadsTo)
    {
        auto* entry = newEntry(name, AE_IFLNK, 0777);
        archive_entry_copy_symlink(entry, leadsTo.c_str());
        archive_entry_set_size(entry, static_cast<la_int64_t>(leadsTo.size()));
        archive_write_header(archive_, entry);
        archive_entry_free(entry);
        return *this;
    }

private:
    static archive_entry* newEntry(std::string const& name, unsigned type, unsigned mode)
    {
        auto* entry = archive_entry_new();
        archive_entry_copy_pathname(entry, name.c_str());
        archive_entry_set_filetype(entry, type);
        archive_entry_set_perm(entry, mode);
        return entry;
    }

    archive* archive_;
};

}  // namespace harbor
