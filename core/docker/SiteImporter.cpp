#include "core/docker/SiteImporter.h"

#include "core/base/File.h"
#include "core/base/FileSize.h"
#include "core/base/Interrupted.h"
#include "core/base/Paths.h"
#include "core/base/RawDeflate.h"
#include "core/base/Unicode.h"
#include "core/base/WorkerPool.h"
#include "core/docker/DumpRewrite.h"
#include "core/docker/PackageExtraction.h"

#include <boost/asio/post.hpp>

#include <array>
#include <filesystem>

namespace harbor {

namespace {

std::string dumpIn(TemporaryDirectory const& package) { return package.path() + "/database.sql.gz"; }
std::string contentIn(TemporaryDirectory const& package) { return package.path() + "/wp-content"; }

ImportManifest manifestIn(TemporaryDirectory const& package)
{
    auto const path = package.path() + "/manifest.json";
    if (!fileExists(path))
        throw ImportError::noManifest();
    return JsonReader(parseJson(readWholeFile(path))).as<ImportManifest>();
}

/// Unpacks the dump beside itself: by `gunzip`, by `gzip`, and where both are missing in memory.
awaitable<void> decompress(std::string gzPath, std::string sqlPath)
{
    auto& shell = ShellRunner::shared();
    auto const first = co_await shell.shell("gunzip -k '" + gzPath + "' -f");
    if (first.exitCode == 0)
        co_return;
    auto const second = co_await shell.shell("gzip -d -k -f '" + gzPath + "'");
    if (second.exitCode == 0)
        co_return;
    auto const plain = rawDeflate::decompress(readWholeFile(gzPath));
    if (!plain)
        throw ImportError::databaseImportFailed("Could not decompress database file");
    auto file = File::createForWriting(sqlPath, 0600);
    file.write(*plain);
    file.close();
}

struct ContentFile {
    std::string relativePath;
    std::string path;
};

std::vector<ContentFile> filesBelow(std::string const& root)
{
    std::error_code failure;
    std::filesystem::recursive_directory_iterator entries(root, failure);
    if (failure)
        throw ImportError::fileImportFailed("Could not read package wp-content directory");
    std::vector<ContentFile> files;
    for (auto const& entry : entries) {
        if (entry.exists(failure)
            && !entry.is_directory(failure))  // A link that leads nowhere does not exist.
            files.push_back({ entry.path().native().substr(root.size() + 1), entry.path().native() });
    }
    return files;
}

/// Puts a copy in the place of `destination`. The web server reads it under another user, hence the modes.
void replaceFile(std::string const& source, std::string const& destination)
{
    createDirectories(destination.substr(0, destination.rfind('/')), 0755);
    if (std::filesystem::symlink_status(destination).type() != std::filesystem::file_type::not_found)
        removeFile(destination);
    auto from = File::openForReading(source);
    auto to = File::createNew(destination, 0644);
    to.setMode(0644);
    std::array<char, 262'144> block;
    while (auto const count = from.read(block))
        to.write({ block.data(), count });
    to.close();
}

}  // namespace

SiteImporter::SiteImporter(SyncProgress& progress, std::stop_token stop)
    : docker_(DockerCLI::shared())
    , progress_(progress)
    , stop_(std::move(stop))
    , executor_(WorkerPool::makeSerialExecutor())
{
}

awaitable<ImportManifest> SiteImporter::readManifest(std::string packagePath)
{
    return runOn(executor_, read(std::move(packagePath)));
}

awaitable<void> SiteImporter::importPackage(
    std::string packagePath, Site site, bool includeDatabase, bool includeFiles)
{
    return runOn(executor_, import(std::move(packagePath), std::move(site), includeDatabase, includeFiles));
}

awaitable<void> SiteImporter::retryDatabaseImport(std::string packagePath, Site site)
{
    return runOn(executor_, retry(std::move(packagePath), std::move(site)));
}

awaitable<TemporaryDirectory> SiteImporter::extractPackage(std::string packagePath)
{
    createDirectories(Paths::temporaryDirectory(), 0700);  // It may only be named yet.
    TemporaryDirectory target("twkb-import-");
    co_await extractZip(std::move(packagePath), target.path(), stop_);
    co_return target;
}

awaitable<ImportManifest> SiteImporter::read(std::string packagePath)
{
    auto const package = co_await extractPackage(std::move(packagePath));
    co_return manifestIn(package);
}

awaitable<void> SiteImporter::import(
    std::string packagePath, Site site, bool includeDatabase, bool includeFiles)
{
    importState_ = {};
    co_await enter(progress_, Phase::connecting);
    co_await log(progress_, "Extracting package...");
    auto const package = co_await extractPackage(std::move(packagePath));
    auto const manifest = manifestIn(package);
    co_await log(progress_, "Package from: " + manifest.site_url);
    if (manifest.wp_version)
        co_await log(progress_, "WordPress version: " + *manifest.wp_version);
    if (manifest.export_date)
        co_await log(progress_, "Export date: " + *manifest.export_date);
    auto const loadsDatabase = includeDatabase && fileExists(dumpIn(package));
    if (loadsDatabase)
        refuseEndlessPair(manifest.site_url, site.localURL());
    throwIfStopped(stop_);

    if (includeFiles && fileExists(contentIn(package))) {
        co_await enter(progress_, Phase::syncingFiles);
        co_await log(progress_, "Importing wp-content files...");
        co_await copyWPContent(contentIn(package), site);
        importState_.filesCompleted = true;
        co_await log(progress_, "File import complete.");
    } else {
        importState_.filesCompleted = true;
    }
    throwIfStopped(stop_);

    if (loadsDatabase) {
        co_await enter(progress_, Phase::importingDatabase);
        co_await log(progress_, "Importing database...");
        co_await importDatabaseDump(dumpIn(package), site, manifest.site_url);
        importState_.databaseCompleted = true;
        co_await log(progress_, "Database import complete.");
    } else {
        importState_.databaseCompleted = true;
    }

    co_await enter(progress_, Phase::complete);
    co_await log(progress_, "Import finished successfully!");
}

awaitable<void> SiteImporter::retry(std::string packagePath, Site site)
{
    co_await update(progress_, [](SyncProgress& progress) {
        progress.setPhase(Phase::connecting);
        progress.setError(std::nullopt);
        progress.log("Retrying database import...");
    });
    auto const package = co_await extractPackage(std::move(packagePath));
    auto const manifest = manifestIn(package);
    if (!fileExists(dumpIn(package)))
        throw ImportError::databaseImportFailed("No database dump found in package");
    refuseEndlessPair(manifest.site_url, site.localURL());
    throwIfStopped(stop_);

    co_await enter(progress_, Phase::importingDatabase);
    co_await log(progress_, "Importing database...");
    co_await importDatabaseDump(dumpIn(package), site, manifest.site_url);
    importState_.databaseCompleted = true;

    co_await enter(progress_, Phase::complete);
    co_await log(progress_, "Database import complete!");
}

awaitable<void> SiteImporter::importDatabaseDump(std::string gzPath, Site site, std::string sourceURL)
{
    auto const sqlPath = gzPath.substr(0, gzPath.size() - std::string_view(".gz").size());
    co_await decompress(gzPath, sqlPath);
    if (!fileExists(sqlPath))
        throw ImportError::databaseImportFailed("Decompressed SQL file not found");
    auto sql = readWholeFile(sqlPath);
    if (!unicode::isValidUtf8(sql))
        throw ImportError::databaseImportFailed("The dump is not valid UTF-8 text");
    co_await log(progress_, "SQL dump: " + fileSizeText(std::ssize(sql)));

    sql = co_await rewriteDumpURLs(progress_, std::move(sql), sourceURL, site.localURL());
    TemporaryFile const file("twkb-import-sql-", ".sql");
    file.write(sql);
    throwIfStopped(stop_);

    co_await enter(progress_, Phase::importingDatabase);
    co_await log(progress_, "Importing into local MySQL...");
    co_await docker_.importSQL(site.siteDirectory(), site.composeProjectName(), file.path());
}

awaitable<void> SiteImporter::copyWPContent(std::string sourcePath, Site site)
{
    auto const target = site.wpContentPath();
    createDirectories(target, 0755);
    auto const files = filesBelow(sourcePath);
    auto const count = std::ssize(files);
    for (std::int64_t i = 0; i < count; ++i) {
        throwIfStopped(stop_);
        auto const& file = files[static_cast<std::size_t>(i)];
        replaceFile(file.path, target + "/" + file.relativePath);
        if (i % 50 == 0 || i == count - 1) {
            asio::post(progress_.mainThread(),
                [&progress = progress_, count, done = i + 1, name = file.relativePath] {
                    progress.setTotalFiles(count);
                    progress.setProcessedFiles(done);
                    progress.setCurrentFile(name);
                });
        }
    }
    asio::post(progress_.mainThread(), [&progress = progress_, count] {
        progress.log("Copied " + std::to_string(count) + " files to wp-content");
    });
    co_return;
}

}  // namespace harbor
