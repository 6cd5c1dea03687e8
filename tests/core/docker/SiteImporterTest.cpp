#include "core/docker/SiteImporter.h"

#include "core/base/Interrupted.h"
#include "core/base/RawDeflate.h"
#include "core/protocol/SyncError.h"
#include "tests/support/Gzipped.h"
#include "tests/support/LocalSite.h"
#include "tests/support/RecordingDocker.h"
#include "tests/support/RunToEnd.h"
#include "tests/support/ZipBuilder.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace harbor {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::ThrowsMessage;

constexpr auto manifest = R"({"site_url":"https://old.test","wp_version":"6.8","export_date":"2026-01-31"})";
constexpr auto dump
    = "INSERT INTO `wp_options` VALUES (1,'siteurl','https://old.test');\n-- Dump completed\n";

class SiteImporterTest : public testing::Test {
protected:
    RecordingDocker docker;
    asio::io_context context;
    Site site = makeLocalSite();
    SyncProgress progress { context.get_executor() };
    std::stop_source stop;
    SiteImporter importer { progress, stop.get_token() };
    std::string package = docker.home.path() + "/shop.twkb.zip";

    void makePackage()
    {
        ZipBuilder(package)
            .file("manifest.json", manifest)
            .file("database.sql.gz", gzipped(dump))
            .file("wp-content/themes/x/style.css", "body {}")
            .folder("wp-content/uploads/empty")
            .file("wp-content/plugins/hello.php", "<?php");
    }
    void import(bool database = true, bool files = true)
    {
        runToEnd(context, importer.importPackage(package, site, database, files));
    }
    void retry() { runToEnd(context, importer.retryDatabaseImport(package, site)); }
    std::string placed(std::string const& path) const
    {
        return readWholeFile(site.wpContentPath() + "/" + path);
    }

    std::vector<std::string> lines() const
    {
        std::vector<std::string> result;
        for (auto const& line : progress.logs())
            result.push_back(line.substr(std::string("[00:00:00] ").size()));
        return result;
    }
    bool leavesNothing() const { return std::filesystem::is_empty(docker.home.temporaryDirectory()); }
    /// What reached the database client.
    std::vector<std::string> loaded() const
    {
        std::vector<std::string> inputs;
        for (auto const& call : docker.calls())
            inputs.push_back(call.input);
        return inputs;
    }
};

TEST_F(SiteImporterTest, aPackageCanBeReadBeforeItIsImported)
{
    makePackage();
    EXPECT_EQ(runToEnd(context, importer.readManifest(package)).site_url, "https://old.test");
    EXPECT_TRUE(leavesNothing());
    EXPECT_THAT(docker.calls(), IsEmpty());
}

TEST_F(SiteImporterTest, aTemporaryDirectoryThatIsMissingIsMade)
{
    ScopedVariable const missing("TMPDIR", docker.home.path() + "/not/yet");
    makePackage();
    EXPECT_EQ(runToEnd(context, importer.readManifest(package)).site_url, "https://old.test");
    EXPECT_TRUE(std::filesystem::is_empty(docker.home.path() + "/not/yet"));
}

TEST_F(SiteImporterTest, anImportPlacesTheFilesAndLoadsTheRewrittenDump)
{
    makePackage();
    import();
    EXPECT_EQ(placed("themes/x/style.css"), "body {}");
    EXPECT_EQ(placed("plugins/hello.php"), "<?php");
    EXPECT_FALSE(std::filesystem::exists(site.wpContentPath() + "/uploads/empty"));
    EXPECT_THAT(loaded(),
        ElementsAre(
            "INSERT INTO `wp_options` VALUES (1,'siteurl','http://localhost:8080');\n-- Dump completed\n"));
    EXPECT_TRUE(importer.importState().filesCompleted);
    EXPECT_TRUE(importer.importState().databaseCompleted);
    EXPECT_TRUE(leavesNothing());
}

TEST_F(SiteImporterTest, anImportSaysWhatItDoes)
{
    makePackage();
    import();
    EXPECT_THAT(lines(),
        ElementsAre("Extracting package...", "Package from: https://old.test", "WordPress version: 6.8",
            "Export date: 2026-01-31", "Importing wp-content files...", "Copied 2 files to wp-content",
            "File import complete.", "Importing database...", "SQL dump: 84 bytes",
            "Rewriting URLs: https://old.test -> http://localhost:8080", "Importing into local MySQL...",
            "Database import complete.", "Import finished successfully!"));
    EXPECT_EQ(progress.phase(), Phase::complete);
    EXPECT_EQ(progress.totalFiles(), 2);
    EXPECT_EQ(progress.processedFiles(), 2);
}

TEST_F(SiteImporterTest, aFileOfThePackageReplacesALocalOneAndOthersStay)
{
    createDirectories(site.wpContentPath() + "/themes/x");
    writeAtomically(site.wpContentPath() + "/themes/x/style.css", "mine", 0600);
    writeAtomically(site.wpContentPath() + "/themes/x/other.css", "mine too", 0600);
    makePackage();
    import();
    EXPECT_EQ(placed("themes/x/style.css"), "body {}");
    EXPECT_EQ(placed("themes/x/other.css"), "mine too");
    auto const mode = std::filesystem::status(site.wpContentPath() + "/themes/x/style.css").permissions();
    EXPECT_EQ(static_cast<unsigned>(mode), 0644U);
}

TEST_F(SiteImporterTest, aLocalLinkIsReplacedAndNotWrittenThrough)
{
    createDirectories(site.wpContentPath() + "/plugins");
    auto const outside = docker.home.path() + "/outside.php";
    writeAtomically(outside, "precious", 0600);
    std::filesystem::create_symlink(outside, site.wpContentPath() + "/plugins/hello.php");
    makePackage();
    import();
    EXPECT_EQ(placed("plugins/hello.php"), "<?php");
    EXPECT_EQ(readWholeFile(outside), "precious");
}

TEST_F(SiteImporterTest, aPackageWithoutADumpImportsItsFiles)
{
    ZipBuilder(package).file("manifest.json", manifest).file("wp-content/a.txt", "a");
    import();
    EXPECT_EQ(lines().back(), "Import finished successfully!");
    EXPECT_THAT(docker.calls(), IsEmpty());
    EXPECT_THAT([this] { retry(); },
        ThrowsMessage<ImportError>("Database import failed: No database dump found in package"));
    EXPECT_TRUE(leavesNothing());
}

TEST_F(SiteImporterTest, aPackageWithoutFilesSkipsThatStep)
{
    ZipBuilder(package).file("manifest.json", manifest).file("database.sql.gz", gzipped(dump));
    import();
    EXPECT_THAT(lines(), Not(Contains("Importing wp-content files...")));
    EXPECT_TRUE(importer.importState().filesCompleted);
}

TEST_F(SiteImporterTest, partsThatWereNotChosenAreLeftAlone)
{
    makePackage();
    import(false, false);
    EXPECT_THAT(docker.calls(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(site.wpContentPath() + "/themes"));
    EXPECT_TRUE(importer.importState().databaseCompleted);
}

TEST_F(SiteImporterTest, aPackageWithoutAManifestIsRefused)
{
    ZipBuilder(package).file("database.sql.gz", gzipped(dump));
    EXPECT_THAT([this] { import(); }, ThrowsMessage<ImportError>("Package is missing manifest.json"));
    EXPECT_THAT([this] { runToEnd(context, importer.readManifest(package)); },
        ThrowsMessage<ImportError>("Package is missing manifest.json"));
    EXPECT_TRUE(leavesNothing());
}

TEST_F(SiteImporterTest, aDumpThatDoesNotLoadLeavesTheRetry)
{
    makePackage();
    docker.answer("exec -T mysql mysql", 1, "", "ERROR 2002\n");
    EXPECT_THAT([this] { import(); }, ThrowsMessage<DockerError>("Docker command failed: ERROR 2002\n"));
    EXPECT_TRUE(importer.importState().filesCompleted);
    EXPECT_FALSE(importer.importState().databaseCompleted);
    EXPECT_TRUE(leavesNothing());

    docker.answer("exec -T mysql mysql", 0);
    std::filesystem::remove(site.wpContentPath() + "/plugins/hello.php");
    retry();

    EXPECT_TRUE(importer.importState().databaseCompleted);
    EXPECT_EQ(lines().back(), "Database import complete!");
    EXPECT_FALSE(std::filesystem::exists(site.wpContentPath() + "/plugins/hello.php"));
    EXPECT_TRUE(leavesNothing());
}

TEST_F(SiteImporterTest, aBrokenGzipIsRefused)
{
    ZipBuilder(package).file("manifest.json", manifest).file("database.sql.gz", "\x1F\x8B broken");
    EXPECT_THAT([this] { import(); },
        ThrowsMessage<ImportError>("Database import failed: Could not decompress database file"));
    EXPECT_THAT(docker.calls(), IsEmpty());
    EXPECT_TRUE(leavesNothing());
}

TEST_F(SiteImporterTest, aDumpThatIsNoTextIsRefused)
{
    ZipBuilder(package).file("manifest.json", manifest).file("database.sql.gz", gzipped("\xFF\xFE\x00"));
    EXPECT_THAT([this] { import(); },
        ThrowsMessage<ImportError>("Database import failed: The dump is not valid UTF-8 text"));
}

TEST_F(SiteImporterTest, whereGunzipIsMissingTheSecondCommandIsTried)
{
    makePackage();
    docker.putProgram("gunzip", "#!/bin/sh\nexit 127\n");
    import(true, false);
    EXPECT_THAT(loaded(), testing::SizeIs(1));
}

TEST_F(SiteImporterTest, whereBothToolsFailOnlyARawStreamCanBeRead)
{
    docker.putProgram("gunzip", "#!/bin/sh\nexit 127\n");
    docker.putProgram("gzip", "#!/bin/sh\nexit 127\n");
    makePackage();
    EXPECT_THAT([this] { import(true, false); },
        ThrowsMessage<ImportError>("Database import failed: Could not decompress database file"));

    ZipBuilder(package)
        .file("manifest.json", manifest)
        .file("database.sql.gz", rawDeflate::compress(dump).value());
    import();
    EXPECT_THAT(loaded(), ElementsAre(testing::HasSubstr("'http://localhost:8080'")));
    EXPECT_TRUE(leavesNothing());
}

TEST_F(SiteImporterTest, aToolThatLeavesNoFileIsNoSuccess)
{
    makePackage();
    docker.putProgram("gunzip", "#!/bin/sh\nexit 0\n");
    EXPECT_THAT([this] { import(true, false); },
        ThrowsMessage<ImportError>("Database import failed: Decompressed SQL file not found"));
    EXPECT_THAT(docker.calls(), IsEmpty());
}

TEST_F(SiteImporterTest, aSlashAtTheEndOfTheSourceGoesIntoTheRewriteAsItStands)
{
    ZipBuilder(package)
        .file("manifest.json", R"({"site_url":"https://old.test/"})")
        .file("database.sql.gz", gzipped("INSERT INTO t VALUES ('https://old.test/x https://old.test');\n"));
    import();
    EXPECT_THAT(loaded(), ElementsAre("INSERT INTO t VALUES ('http://localhost:8080x https://old.test');\n"));
    EXPECT_THAT(lines(), Contains("Rewriting URLs: https://old.test/ -> http://localhost:8080"));
}

struct CopyCase {
    std::string behaviour;
    int files;
    std::vector<std::int64_t> told;  ///< The counts of processed files that the progress showed.
};

class CopiedFiles : public SiteImporterTest, public testing::WithParamInterface<CopyCase> { };

TEST_P(CopiedFiles, areToldEveryFiftyAndAtTheLast)
{
    ZipBuilder zip(package);
    zip.file("manifest.json", manifest);
    for (int i = 0; i < GetParam().files; ++i)
        zip.file("wp-content/" + std::to_string(i), "x");
    zip.close();
    std::vector<std::int64_t> told;
    progress.observe([&](SyncProgress::Field field) {
        if (field == SyncProgress::Field::processedFiles)
            told.push_back(progress.processedFiles());
    });
    import();
    EXPECT_EQ(told, GetParam().told);
    EXPECT_EQ(progress.totalFiles(), GetParam().files);
}

INSTANTIATE_TEST_SUITE_P(Cases, CopiedFiles,
    testing::Values(CopyCase { "aSingleFile", 1, { 1 } }, CopyCase { "fiftyFiles", 50, { 1, 50 } },
        CopyCase { "oneMore", 51, { 1, 51 } }, CopyCase { "andAnother", 52, { 1, 51, 52 } }),
    [](auto const& test) { return test.param.behaviour; });

TEST_F(SiteImporterTest, aPairThatWouldNeverEndIsRefusedBeforeAnythingIsPlaced)
{
    ZipBuilder(package)
        .file("manifest.json", R"({"site_url":"http://localhost:80"})")
        .file("database.sql.gz", gzipped(dump))
        .file("wp-content/a.php", "x");
    EXPECT_THAT([this] { import(); },
        ThrowsMessage<SyncError>(testing::AllOf(testing::StartsWith("Connection failed: "),
            testing::HasSubstr("http://localhost:80"), testing::HasSubstr("http://localhost:8080"))));
    EXPECT_THROW(retry(), SyncError);
    EXPECT_THAT(docker.calls(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(site.wpContentPath() + "/a.php"));

    import(false, true);
    EXPECT_EQ(placed("a.php"), "x");
}

TEST_F(SiteImporterTest, wpContentThatIsNoFolderFails)
{
    ZipBuilder(package).file("manifest.json", manifest).file("wp-content", "a file");
    EXPECT_THAT([this] { import(); },
        ThrowsMessage<ImportError>("File import failed: Could not read package wp-content directory"));
    EXPECT_TRUE(leavesNothing());
}

TEST_F(SiteImporterTest, aFileThatCannotBePlacedStopsTheCopyAndKeepsWhatWasCopied)
{
    makePackage();
    createDirectories(site.wpContentPath() + "/plugins/hello.php/precious");
    EXPECT_THROW(import(), FileError);
    EXPECT_TRUE(std::filesystem::exists(site.wpContentPath() + "/plugins/hello.php/precious"));
    EXPECT_FALSE(importer.importState().filesCompleted);
    EXPECT_TRUE(leavesNothing());
}

TEST_F(SiteImporterTest, aStoppedImportEndsAtTheNextStep)
{
    makePackage();
    stop.request_stop();
    EXPECT_THROW(import(), Interrupted);
    EXPECT_THAT(docker.calls(), IsEmpty());
    EXPECT_TRUE(leavesNothing());
}

}  // namespace
}  // namespace harbor
