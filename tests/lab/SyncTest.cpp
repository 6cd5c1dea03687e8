#include "core/docker/SiteImporter.h"
#include "core/sync/ContentSync.h"
#include "core/sync/DatabaseSync.h"
#include "core/sync/FileSync.h"
#include "tests/lab/InstalledSite.h"
#include "tests/support/Gzipped.h"
#include "tests/support/TestRemote.h"
#include "tests/support/ZipBuilder.h"

#include <filesystem>

namespace harbor {

namespace {

using namespace testing;

/// A real WordPress on this side, and a remote that a test can look into on the other.
class SyncedSite : public InstalledSite {
protected:
    TestRemote remote;
    SyncProgress progress { context.get_executor() };
    SyncClient client { remote.url(), remote.key() };

    void pushDatabase()
    {
        DatabaseSync sync(client, progress);
        runToEnd(context, sync.pushDatabase(site, remote.url()));
    }
    void pullDatabase()
    {
        DatabaseSync sync(client, progress);
        runToEnd(context, sync.pullDatabase(site, remote.url()));
    }
    /// Puts values into the options table that a careless rewrite would break.
    void addDelicateOptions()
    {
        auto const url = site.localURL();
        query("REPLACE INTO wp_options (option_name, option_value) VALUES "
              "('lab_serialized', 'a:2:{s:3:\"url\";s:"
            + std::to_string(url.size() + 2) + ":\"" + url
            + "/x\";s:4:\"text\";s:9:\"gr\xC3\xBC\xC3\x9F d\\n\";}'), "
              "('lab_json', '{\"url\":\""
            + url
            + "/y\",\"n\":[1,2]}'), "
              "('lab_emoji', 'Ahoy \xF0\x9F\x9A\xA2 \xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB at "
            + url
            + "'), "
              "('lab_quotes', 'It\\'s \\\"fine\\\" \\\\ done'), ('lab_lines', "
              "'one\\ntwo\\r\\nthree\\tfour')");
    }
};

TEST_P(SyncedSite, comesBackUnchangedFromTheRemote)
{
    addDelicateOptions();
    auto const before = checksums();

    pushDatabase();
    EXPECT_THAT(remote.dump(), HasSubstr("'siteurl','" + remote.url() + "'"));
    EXPECT_THAT(remote.dump(), Not(HasSubstr(site.localURL() + "/")));
    query("DELETE FROM wp_options WHERE option_name LIKE 'lab_%'");
    remote.setDump(remote.dump());
    pullDatabase();

    EXPECT_EQ(checksums(), before);
    EXPECT_EQ(query("SELECT HEX(option_value) FROM wp_options WHERE option_name = 'lab_lines'"),
        "6F6E650A74776F0D0A746872656509666F7572\n");
    EXPECT_EQ(wp({ "eval", "echo get_option('lab_serialized')['url'];" }).stdout, site.localURL() + "/x");
    EXPECT_EQ(lab.answerOf(site.localURL() + "/"), "200 ");
}

TEST_P(SyncedSite, cannotBeHarmedByAMarkBehindAQuote)
{
    query("REPLACE INTO wp_options (option_name, option_value) VALUES ('lab_planted', '\\'\xCC\x81); DROP "
          "TABLE "
          "wp_links; -- ')");
    auto const before = checksums();
    pushDatabase();
    remote.setDump(remote.dump());
    pullDatabase();
    EXPECT_EQ(checksums(), before);
}

TEST_P(SyncedSite, storesAnItemAsItWasGiven)
{
    PostPayload payload;
    payload.site_url = remote.url();
    payload.post
        = { { "ID", "4711" }, { "post_author", "1" }, { "post_type", "page" }, { "post_status", "publish" },
              { "post_date", "2026-01-31 09:30:00" }, { "post_date_gmt", "2026-01-31 09:30:00" },
              { "post_modified", "2026-01-31 09:30:00" }, { "post_modified_gmt", "2026-01-31 09:30:00" },
              { "post_name", "ahoy" }, { "post_title", "It's \"A\" \\ \xF0\x9F\x9A\xA2 '\xCC\x81" },
              { "post_content", "See " + remote.url() + "/x\r\nand\n\tmore\xE2\x80\x8C'" },
              { "post_excerpt", "" }, { "to_ping", "" }, { "pinged", "" }, { "post_content_filtered", "" } };
    payload.meta = { { "big", std::string(1'048'576, 'm') }, { "color", "red" } };
    payload.terms = { { "category", { { "It's news", "its-news" } } } };
    for (int i = 0; i < 200; ++i)
        payload.terms[0].terms.push_back({ "Term " + std::to_string(i), "term-" + std::to_string(i) });
    remote.setPost(4711, toJson(payload));
    auto const others = query("SELECT COUNT(*) FROM wp_posts WHERE ID <> 4711");

    ContentSync sync(site, remote.url(), client);
    runToEnd(context, sync.pullItem(4711));

    LocalContentStore store(site);
    auto stored = runToEnd(context, store.readContentItem(4711));
    EXPECT_EQ(stored.post["post_title"], payload.post["post_title"]);
    EXPECT_EQ(stored.post["post_content"], "See " + site.localURL() + "/x\r\nand\n\tmore\xE2\x80\x8C'");
    EXPECT_EQ(stored.meta, payload.meta);
    ASSERT_THAT(stored.terms, SizeIs(1));
    EXPECT_THAT(stored.terms[0].terms, UnorderedElementsAreArray(payload.terms[0].terms));
    EXPECT_EQ(query("SELECT COUNT(*) FROM wp_posts WHERE ID <> 4711"), others);

    runToEnd(context, sync.pushItem(4711, true));
    auto const pushed = JsonReader(remote.posts().at(4711)).as<PostPayload>();
    EXPECT_EQ(pushed.post.at("post_content"), payload.post["post_content"]);
    EXPECT_EQ(pushed.meta, payload.meta);
}

TEST_P(SyncedSite, sendsAndFetchesItsFiles)
{
    auto const folder = site.wpContentPath() + "/uploads/lab";
    for (int i = 0; i < 3'000; ++i) {
        auto const path
            = folder + "/" + std::to_string(i % 50) + "/" + std::to_string(i) + (i % 3 ? ".txt" : ".jpg");
        createDirectories(path.substr(0, path.rfind('/')));
        auto file = File::createForWriting(path, 0644);
        file.write(std::string(static_cast<std::size_t>(i), static_cast<char>('a' + i % 26)));
        file.close();
    }
    FileSync sync(client, progress);
    std::vector<std::string> const scopes { "themes", "plugins", "uploads" };
    runToEnd(context, sync.pushFiles(site, scopes, false));

    auto const local = FileSync::buildLocalManifest(site.wpContentPath(), scopes);
    EXPECT_GE(local.size(), 3'000u);
    for (auto const& file : local)
        ASSERT_EQ(remote.hashOf(file.path), file.hash) << file.path;

    std::filesystem::remove_all(folder);
    runToEnd(context, sync.pullFiles(site, scopes, false));
    EXPECT_THAT(FileSync::buildLocalManifest(site.wpContentPath(), scopes).size(), local.size());
    std::filesystem::remove_all(folder);
}

TEST_P(SyncedSite, showsTheContentOfAnImportedPackage)
{
    query("UPDATE wp_posts SET post_title = 'Imported ahoy' WHERE post_type = 'post' LIMIT 1");
    pushDatabase();
    query("UPDATE wp_posts SET post_title = 'Something else' WHERE post_type = 'post' LIMIT 1");
    auto const package = site.siteDirectory() + "/lab.twkb.zip";
    ZipBuilder(package)
        .file("manifest.json", R"({"site_url":")" + remote.url() + R"("})")
        .file("database.sql.gz", gzipped(remote.dump()))
        .file("wp-content/uploads/imported.txt", "from the package");

    SiteImporter importer(progress);
    runToEnd(context, importer.importPackage(package, site, true, true));

    auto const page
        = lab.wait(ShellRunner::shared().run("/usr/bin/curl", { "--silent", site.localURL() + "/" }));
    EXPECT_THAT(page.stdout, HasSubstr("Imported ahoy"));
    auto const upload = lab.wait(ShellRunner::shared().run(
        "/usr/bin/curl", { "--silent", site.localURL() + "/wp-content/uploads/imported.txt" }));
    EXPECT_EQ(upload.stdout, "from the package");
}

INSTANTIATE_TEST_SUITE_P(
    OnNginx, SyncedSite, Values(WebServer::nginx), [](auto const& test) { return rawValue(test.param); });

}  // namespace

}  // namespace harbor
