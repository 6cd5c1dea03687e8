#pragma once

#include "core/base/TemporaryFile.h"
#include "core/docker/DockerCLI.h"
#include "core/docker/ImportError.h"
#include "core/docker/ImportManifest.h"
#include "core/progress/SyncProgress.h"
#include "core/site/Site.h"

#include <stop_token>
#include <string>

namespace harbor {

/// How far an import came.
struct ImportState {
    bool filesCompleted = false;
    bool databaseCompleted = false;
};

/// Fills a local site from an export package of the remote plugin: a zip with "manifest.json" and, both
/// optional, "database.sql.gz" and "wp-content". Every operation unpacks the package anew into a private
/// temporary folder that does not outlive it. Failures of file access, processes and JSON pass through
/// unchanged.
class SiteImporter {
public:
    /// @param stop  ends an import at its next step or file with `Interrupted`
    explicit SiteImporter(SyncProgress& progress, std::stop_token stop = {});

    awaitable<ImportManifest> readManifest(std::string packagePath);

    /// @throws ImportError, DockerError  `importState` tells how far it came; nothing is taken back
    /// @throws SyncError  the dump's addresses cannot be rewritten; nothing was placed
    awaitable<void> importPackage(
        std::string packagePath, Site site, bool includeDatabase, bool includeFiles);

    /// Loads the database again; the files are left alone.
    awaitable<void> retryDatabaseImport(std::string packagePath, Site site);

    /// Of the last import. Read between operations.
    ImportState importState() const { return importState_; }

private:
    awaitable<ImportManifest> read(std::string packagePath);
    awaitable<void> import(std::string packagePath, Site site, bool includeDatabase, bool includeFiles);
    awaitable<void> retry(std::string packagePath, Site site);

    awaitable<TemporaryDirectory> extractPackage(std::string packagePath);
    awaitable<void> importDatabaseDump(std::string gzPath, Site site, std::string sourceURL);
    awaitable<void> copyWPContent(std::string sourcePath, Site site);

    DockerCLI& docker_;
    SyncProgress& progress_;
    std::stop_token stop_;
    ImportState importState_;
    SerialExecutor executor_;
};

}  // namespace harbor
