#pragma once

#include <deque>
#include <map>
#include <string>

namespace harbor {

/// The names of a zip archive's entries as the archive stores them. libarchive composes the letters of names
/// that are marked as UTF-8: a file from a Mac, whose letters are decomposed, would lie under another name
/// than the database knows, and two files whose names differ in nothing else would become one.
class StoredNames {
public:
    /// Reads the central directory (APPNOTE.TXT 4.3.12 to 4.3.16). What cannot be read there leaves names
    /// unknown: whoever extracts the archive tells what is wrong with it.
    explicit StoredNames(std::string const& archive);

    /// The stored form of the next entry's name, which libarchive gives as `name`. To be asked for each
    /// entry, in the order of the archive.
    std::string take(std::string const& name);

private:
    void readDirectory(std::string const& archive);

    /// By their composed form. ASCII names are left out.
    std::map<std::string, std::deque<std::string>> names_;
};

}  // namespace harbor
