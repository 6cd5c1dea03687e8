#pragma once

#include <exception>
#include <string>

namespace harbor {

/// Whatever is wrong with an export package or its import. `what()` is the sentence that the user reads.
class ImportError : public std::exception {
public:
    enum class Case { invalidPackage, extractionFailed, databaseImportFailed, fileImportFailed, noManifest };

    static ImportError invalidPackage(std::string const& text);
    static ImportError extractionFailed(std::string const& text);
    static ImportError databaseImportFailed(std::string const& text);
    static ImportError fileImportFailed(std::string const& text);
    static ImportError noManifest();

    Case kind() const { return kind_; }
    char const* what() const noexcept override { return description_.c_str(); }

private:
    ImportError(Case kind, std::string description);
    Case kind_;
    std::string description_;
};

}  // namespace harbor
