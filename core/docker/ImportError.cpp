#include "core/docker/ImportError.h"

namespace harbor {

ImportError::ImportError(Case kind, std::string description)
    : kind_(kind)
    , description_(std::move(description))
{
}

ImportError ImportError::invalidPackage(std::string const& text)
{
    return { Case::invalidPackage, "Invalid import package: " + text };
}
ImportError ImportError::extractionFailed(std::string const& text)
{
    return { Case::extractionFailed, "Extraction failed: " + text };
}
ImportError ImportError::databaseImportFailed(std::string const& text)
{
    return { Case::databaseImportFailed, "Database import failed: " + text };
}
ImportError ImportError::fileImportFailed(std::string const& text)
{
    return { Case::fileImportFailed, "File import failed: " + text };
}
ImportError ImportError::noManifest() { return { Case::noManifest, "Package is missing manifest.json" }; }

}  // namespace harbor
