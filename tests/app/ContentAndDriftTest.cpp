#include "app/ContentBrowserView.h"
#include "app/DriftReportView.h"
#include "app/ProductionGuardSheet.h"
#include "app/Values.h"
#include "core/site/KeychainHelper.h"
#include "tests/app/RemoteTest.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace harbor {

namespace {

constexpr std::int64_t remoteChange
    = 1'769'851'800;  // 2026-01-31 09:30:00, the date of a post that tests make

QString text(char const* words) { return QString::fromUtf8(words); }

std::string localItem(std::int64_t id, std::string const& title, std::string const& slug,
    std::int64_t modified, std::string const& status = "publish")
{
    return Json {
        { "id", id }, { "title", title }, { "slug", slug }, { "status", status }, { "type", "page" },
        { "modified_gmt", modified }
    }.dump()
        + "\n";
}

/// The content browser of a linked site that is selected and runs.
class ContentTest : public RemoteTest {
protected:
    explicit ContentTest(RemoteEnvironment environment = RemoteEnvironment::staging)
        : site(addLinkedSite("Bakery", remote, environment))
    {
        docker.answerQuery("information_schema", "wp_posts\n");
        docker.answerQuery("GROUP BY post_type",
            R"({"name": "page", "count": 3})"
            "\n"
            R"({"name": "event", "count": 1})"
            "\n");
        docker.answerQuery("ORDER BY post_modified_gmt",
            localItem(1, "About", "about", remoteChange) + localItem(2, "Prices", "prices", remoteChange + 60)
                + localItem(3, "Contact", "contact", remoteChange - 60)
                + localItem(4, "", "draft-page", remoteChange, "draft")
                + localItem(5, "Old", "old-slug", remoteChange));
        remote.setPost(1, TestRemote::makePost("page", "About", "about"));
        remote.setPost(2, TestRemote::makePost("page", "Prices", "prices"));
        remote.setPost(3, TestRemote::makePost("page", "Contact", "contact"));
        remote.setPost(5, TestRemote::makePost("page", "Old", "new-slug"));
        remote.setPost(6, TestRemote::makePost("page", "Theirs", "theirs"));
        remote.setPost(7, TestRemote::makePost("post", "News", "news"));
        app->select(site.id);
        makeScreens();
        letRun(site);
    }
    ContentBrowserView& panel() { return *detail().content(); }

    void load()
    {
        panel().appear();
        ASSERT_TRUE(panel().isLoading());
        ASSERT_TRUE(waitUntil([this] { return !panel().isLoading(); }));
    }
    void waitForAction()
    {
        ASSERT_FALSE(panel().busyItemID().isEmpty());
        ASSERT_TRUE(waitUntil([this] { return panel().busyItemID().isEmpty(); }));
    }
    ContentRowValue row(char const* id)
    {
        for (int i = 0; i < panel().rows()->count(); ++i) {
            if (auto value = panel().rows()->at(i).value<ContentRowValue>(); value.itemID == text(id))
                return value;
        }
        return {};
    }
    QStringList ids()
    {
        QStringList result;
        for (int i = 0; i < panel().rows()->count(); ++i)
            result.append(panel().rows()->at(i).value<ContentRowValue>().itemID);
        return result;
    }

    Site const site;
};

class ProductionContentTest : public ContentTest {
protected:
    ProductionContentTest()
        : ContentTest(RemoteEnvironment::production)
    {
    }
};

class DriftTest : public RemoteTest {
protected:
    DriftTest()
    {
        app->select(site.id);
        makeScreens();
    }
    DriftReportView& panel() { return *detail().drift(); }
    void check()
    {
        panel().check();
        EXPECT_TRUE(panel().isChecking());
        ASSERT_TRUE(waitUntil([this] { return !panel().isChecking(); }));
    }
    void addOnBothSides(std::string const& path)
    {
        addLocalFile(site, path, "same");
        remote.writeFile(path, "same");
    }
    static DriftValue row(RowModel& rows, int index) { return rows.at(index).value<DriftValue>(); }

    Site const site = addLinkedSite("Bakery", remote);
};

}  // namespace

TEST_F(ContentTest, everyStateHasItsBadge)
{
    load();
    EXPECT_EQ(ids(), QStringList({ text("2"), text("6"), text("5"), text("4"), text("3"), text("1") }));
    struct Look {
        char const* id;
        char const* state;
        char const* badge;
        char const* symbol;
    };
    for (auto const& look : { Look { "1", "inSync", "In sync", "checkmark.circle.fill" },
             Look { "2", "localNewer", "Local newer", "arrow.up.circle.fill" },
             Look { "3", "remoteNewer", "Remote newer", "arrow.down.circle.fill" },
             Look { "4", "localOnly", "Local only", "laptopcomputer" },
             Look { "5", "slugMismatch", "Mismatch", "exclamationmark.triangle.fill" },
             Look { "6", "remoteOnly", "Remote only", "globe" } }) {
        EXPECT_EQ(row(look.id).state, text(look.state));
        EXPECT_EQ(row(look.id).badge, text(look.badge));
        EXPECT_EQ(row(look.id).symbol, text(look.symbol));
    }
    EXPECT_EQ(row("4").title, text("(no title)"));
    EXPECT_EQ(row("4").status, text("draft"));
    EXPECT_EQ(row("1").status, QString());
    EXPECT_EQ(row("5").remoteSlugNote, text("different slug on remote: new-slug"));
    EXPECT_EQ(row("6").localDate, -1);
    EXPECT_EQ(row("6").remoteDate, double(remoteChange) * 1000);
}

TEST_F(ContentTest, typesOfBothSidesAreOffered)
{
    EXPECT_EQ(panel().typeLabels(), QStringList(text("Page (0)"))) << "before they were read";
    load();
    EXPECT_EQ(panel().typeLabels(), QStringList({ text("Pages (5)"), text("Posts (1)"), text("Event (1)") }));
    EXPECT_EQ(panel().selectedTypeIndex(), 0);
}

TEST_F(ContentTest, aTypeThatIsNotOfferedGivesWayToTheFirst)
{
    docker.answerQuery("GROUP BY post_type", "");
    for (auto const id : { 1, 2, 3, 5, 6 })
        remote.setPost(id, TestRemote::makePost("post", "News", "news"));
    load();
    EXPECT_EQ(panel().selectedType(), text("post"));
}

TEST_F(ContentTest, nothingIsLoadedUntilTheSiteRuns)
{
    app->setStatus(site.id, SiteStatus::stopped);
    panel().appear();
    EXPECT_FALSE(panel().isSiteRunning());
    EXPECT_FALSE(panel().isLoading());
    app->setStatus(site.id, SiteStatus::running);
    EXPECT_TRUE(panel().isLoading());
    ASSERT_TRUE(waitUntil([this] { return !panel().isLoading(); }));
    EXPECT_EQ(panel().rows()->count(), 6);
    remote.forgetRequests();
    app->setStatus(site.id, SiteStatus::starting);
    app->setStatus(site.id, SiteStatus::running);
    runEvents();
    EXPECT_FALSE(panel().isLoading()) << "it loads by itself once";
}

TEST_F(ContentTest, anotherTypeLoadsItsItemsOnly)
{
    load();
    remote.forgetRequests();
    docker.answerQuery("ORDER BY post_modified_gmt", "");
    panel().selectTypeAt(1);
    ASSERT_TRUE(waitUntil([this] { return !panel().isLoading(); }));
    EXPECT_EQ(ids(), QStringList(text("7")));
    EXPECT_THAT(remote.requestsTo("/content/types"), IsEmpty());
}

TEST_F(ContentTest, aLateReplyOfAnotherTypeIsDropped)
{
    load();
    docker.hold("exec");
    panel().selectTypeAt(1);
    panel().selectTypeAt(2);
    docker.answerQuery("ORDER BY post_modified_gmt", "");
    docker.release("exec");
    ASSERT_TRUE(waitUntil([this] { return !panel().isLoading(); }));
    EXPECT_EQ(panel().rows()->count(), 0);
    EXPECT_EQ(panel().emptyText(), text("No event found on either site."));
}

TEST_F(ContentTest, theFilterReadsTitlesAndSlugs)
{
    load();
    panel().setSearchText(text(" \t "));
    EXPECT_EQ(panel().rows()->count(), 6);
    panel().setSearchText(text(" ABOUT\t"));
    EXPECT_EQ(ids(), QStringList(text("1")));
    panel().setSearchText(text("draft-"));
    EXPECT_EQ(ids(), QStringList(text("4")));
    panel().setSearchText(text("zebra"));
    EXPECT_EQ(panel().emptyText(), text("No pages found on either site."));
}

TEST_F(ContentTest, aLoadThatFailsEmptiesTheListAndSaysWhy)
{
    load();
    remote.failOn("/content", Fault::answer(500, R"({"message":"Broken"})"));
    panel().selectTypeAt(1);
    ASSERT_TRUE(waitUntil([this] { return !panel().isLoading(); }));
    EXPECT_EQ(panel().errorMessage(), text("Server error (500): Broken"));
    EXPECT_EQ(panel().rows()->count(), 0);
    panel().selectTypeAt(0);
    ASSERT_TRUE(waitUntil([this] { return !panel().isLoading(); }));
    EXPECT_EQ(panel().errorMessage(), QString());
}

TEST_F(ContentTest, aMissingKeyIsSaidSo)
{
    KeychainHelper::deleteSecret(remote.url());
    load();
    EXPECT_EQ(panel().errorMessage(), text("Keychain item not found."));
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(ContentTest, aStoppedDockerIsSaidSoAndRefreshTriesAgain)
{
    docker.fail("exec", "Cannot connect to the Docker daemon");
    load();
    EXPECT_EQ(panel().errorMessage(), text("Docker command failed: Cannot connect to the Docker daemon"));
    docker.fail("exec", "");
    panel().refresh();
    ASSERT_TRUE(waitUntil([this] { return !panel().isLoading(); }));
    EXPECT_EQ(panel().errorMessage(), QString());
    EXPECT_EQ(panel().rows()->count(), 6);
}

TEST_F(ContentTest, aPushAsksNamesTheBackupAndReadsAgain)
{
    load();
    docker.answerQuery("'_row'",
        R"({"_row": "post", "ID": "2", "post_type": "page", "post_title": "Prices", "post_name": "prices", "post_content": "Bread"})"
        "\n");
    panel().pushClicked(text("2"));
    EXPECT_EQ(panel().dialogTitle(), text("Push \"Prices\" to remote?"));
    EXPECT_EQ(panel().dialogMessage(),
        text(
            "This will overwrite \"Prices\" (prices) on the remote site with your local version. A backup of "
            "the remote item will be created first."));
    remote.forgetRequests();
    panel().confirmPush();
    EXPECT_FALSE(panel().hasPendingPush());
    waitForAction();
    EXPECT_EQ(panel().statusMessage(), text("Pushed \"Prices\" to remote (backup: backup-1)"));
    EXPECT_EQ(panel().errorMessage(), QString());
    EXPECT_EQ(remote.posts().at(2).at("post").at("post_content"), "Bread");
    EXPECT_EQ(remote.requestsTo("/content").size(), 1U);
    auto const entry = journal(site).at(0);
    EXPECT_EQ(entry.summary, "Pushed page \"Prices\" (ID 2) to remote");
    EXPECT_EQ(entry.kind, SyncOperationKind::contentPush);
    EXPECT_EQ(entry.backupID, "backup-1");
}

TEST_F(ContentTest, aPushThatFailsLeavesNoStatusAndReadsNothingAgain)
{
    load();
    remote.forgetRequests();
    docker.fail("exec", "gone");
    panel().pushClicked(text("4"));
    EXPECT_EQ(panel().dialogMessage(), text("This will create the item on the remote site."));
    panel().confirmPush();
    waitForAction();
    EXPECT_EQ(panel().statusMessage(), QString());
    EXPECT_EQ(panel().errorMessage(), text("Push failed: Docker command failed: gone"));
    EXPECT_EQ(panel().rows()->count(), 6);
    EXPECT_THAT(remote.requestsTo("/content"), IsEmpty());
    EXPECT_THAT(summaries(site), ElementsAre("Push of page \"\" (ID 4) failed"));
}

TEST_F(ContentTest, aPullAsksAndBringsTheItem)
{
    load();
    panel().pullClicked(text("6"));
    EXPECT_EQ(panel().dialogTitle(), text("Pull \"Theirs\" from remote?"));
    EXPECT_EQ(panel().dialogMessage(), text("This will create the item on your local site."));
    panel().cancelPending();
    EXPECT_FALSE(panel().hasPendingPull());
    EXPECT_EQ(panel().dialogTitle(), text("Pull \"Theirs\" from remote?")) << "while the dialog fades";
    panel().pullClicked(text("3"));
    EXPECT_EQ(panel().dialogMessage(), text("This will overwrite your local version with the remote one."));
    panel().confirmPull();
    waitForAction();
    EXPECT_EQ(panel().statusMessage(), text("Pulled \"Contact\" from remote"));
    EXPECT_THAT(summaries(site), ElementsAre("Pulled page \"Contact\" (ID 3) from remote"));
}

TEST_F(ContentTest, aPullThatFailsIsWrittenDown)
{
    load();
    remote.failOn("/content/item", Fault::answer(500, R"({"message":"Broken"})"));
    panel().pullClicked(text("3"));
    panel().confirmPull();
    waitForAction();
    EXPECT_EQ(panel().errorMessage(), text("Pull failed: Server error (500): Broken"));
    EXPECT_THAT(summaries(site), ElementsAre("Pull of page \"Contact\" (ID 3) failed"));
}

TEST_F(ContentTest, oneItemMovesAtATime)
{
    load();
    docker.hold("exec");
    panel().pushClicked(text("2"));
    panel().confirmPush();
    EXPECT_EQ(panel().busyItemID(), text("2"));
    panel().pullClicked(text("3"));
    panel().pushClicked(text("1"));
    EXPECT_FALSE(panel().hasPendingPull() || panel().hasPendingPush());
    docker.release("exec");
    waitForAction();
}

TEST_F(ContentTest, aSideThatHasNoItemOffersNothingToMove)
{
    load();
    panel().pushClicked(text("6"));
    panel().pullClicked(text("4"));
    EXPECT_FALSE(panel().hasPendingPull() || panel().hasPendingPush());
}

TEST_F(ContentTest, anActionEndsAfterTheSiteWasLeft)
{
    auto const other = addSite("Other", 18081);
    load();
    panel().pullClicked(text("3"));
    panel().confirmPull();
    app->select(other.id);
    EXPECT_TRUE(waitUntil([this] { return !summaries(site).empty(); }));
}

TEST_F(ProductionContentTest, aHostThatIsNoLongerTheRemotesOpensTheGuardAnew)
{
    load();
    panel().pushClicked(text("2"));
    auto relinked = *app->site(site.id);
    relinked.remoteSyncConfig->remoteURL = "https://other.example.test";
    app->changeSites([&](SiteStore& sites) { sites.update(relinked); });
    runEvents();
    auto* const shown = panel().guard();
    shown->setTypedHost(text("127.0.0.1"));
    shown->confirm();
    ASSERT_TRUE(panel().guard());
    EXPECT_EQ(panel().guard()->host(), text("other.example.test"));
    EXPECT_TRUE(panel().busyItemID().isEmpty());
    EXPECT_THAT(summaries(site), IsEmpty());
}

TEST_F(ProductionContentTest, aPushMeetsTheGuard)
{
    load();
    panel().pushClicked(text("5"));
    EXPECT_FALSE(panel().hasPendingPush());
    ASSERT_TRUE(panel().guard());
    EXPECT_EQ(panel().guard()->actionTitle(), text("Push \"Old\" to remote"));
    EXPECT_EQ(panel().guard()->message(),
        text("This will overwrite \"Old\" (new-slug) on the remote site with your local version. A backup of "
             "the remote item will be created first."));
    panel().guard()->confirm();
    ASSERT_TRUE(panel().guard());
    panel().guard()->setTypedHost(text("127.0.0.1"));
    panel().guard()->confirm();
    EXPECT_FALSE(panel().guard());
    waitForAction();
    EXPECT_THAT(summaries(site), ElementsAre(HasSubstr("page \"Old\" (ID 5)")));
}

TEST_F(ProductionContentTest, aPullAsksPlainly)
{
    load();
    panel().pullClicked(text("3"));
    EXPECT_FALSE(panel().guard());
    EXPECT_TRUE(panel().hasPendingPull());
}

TEST_F(DriftTest, nothingIsCheckedByItself)
{
    EXPECT_EQ(panel().buttonText(), text("Check Drift"));
    EXPECT_EQ(panel().message(),
        text("Compare local plugin and theme files against the remote to spot version drift before it "
             "bites."));
    EXPECT_LT(panel().checkedAt(), 0);
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(DriftTest, everyStatusHasItsRow)
{
    addOnBothSides("plugins/akismet/akismet.php");
    addOnBothSides("themes/plain/style.css");
    addOnBothSides("themes/other/style.css");
    for (auto const* file : { "a.php", "b.php", "c.php" }) {
        addLocalFile(site, std::string("plugins/shop/") + file, "old");
        remote.writeFile(std::string("plugins/shop/") + file, "new");
    }
    remote.writeFile("plugins/shop/d.php", "new");
    addLocalFile(site, "plugins/mine/mine.php", "x");
    remote.writeFile("themes/theirs/style.css", "x");
    check();
    auto& drifted = *panel().drifted();
    ASSERT_EQ(drifted.count(), 3);
    EXPECT_EQ(row(drifted, 0),
        (DriftValue { text("mine"), text("plugin"), text("localOnly"), text("Local only"),
            text("laptopcomputer"), QString() }));
    EXPECT_EQ(row(drifted, 1),
        (DriftValue { text("shop"), text("plugin"), text("modified"), text("Modified"),
            text("exclamationmark.triangle.fill"), text("3 changed, 1 only remote") }));
    EXPECT_EQ(row(drifted, 2),
        (DriftValue { text("theirs"), text("theme"), text("remoteOnly"), text("Remote only"), text("globe"),
            QString() }));
    EXPECT_EQ(panel().matchingText(), text("3 in sync"));
    EXPECT_EQ(panel().matching()->count(), 3);
    EXPECT_FALSE(panel().showInSync());
    panel().toggleInSync();
    EXPECT_TRUE(panel().showInSync());
    EXPECT_EQ(panel().message(), QString());
    EXPECT_EQ(panel().buttonText(), text("Re-check"));
    EXPECT_GT(panel().checkedAt(), 0);
}

TEST_F(DriftTest, twelveThatMatchHaveNothingToUnfold)
{
    for (int i = 0; i < 12; ++i)
        addOnBothSides("plugins/p" + std::to_string(i) + "/p.php");
    check();
    EXPECT_EQ(panel().message(), text("All 12 plugins and themes match the remote."));
    EXPECT_TRUE(panel().isAllInSync());
    EXPECT_EQ(panel().matchingText(), QString());
}

TEST_F(DriftTest, nothingToCompareIsSaidSo)
{
    check();
    EXPECT_EQ(panel().message(), text("No plugins or themes found to compare."));
}

TEST_F(DriftTest, aFailedCheckKeepsTheReportBelowItsError)
{
    addLocalFile(site, "plugins/mine/mine.php", "x");
    check();
    auto const checkedAt = panel().checkedAt();
    remote.failNext(Fault::answer(500, R"({"message":"Broken"})"));
    check();
    EXPECT_EQ(panel().errorMessage(), text("Server error (500): Broken"));
    EXPECT_EQ(panel().drifted()->count(), 1);
    EXPECT_EQ(panel().checkedAt(), checkedAt);
    check();
    EXPECT_EQ(panel().errorMessage(), QString());
}

TEST_F(DriftTest, aFirstCheckThatFailsGoesBackToTheIntroduction)
{
    keyring.lock();
    check();
    EXPECT_THAT(fromQt(panel().errorMessage()), StartsWith("Keychain read failed: "));
    EXPECT_EQ(panel().buttonText(), text("Check Drift"));
    EXPECT_THAT(fromQt(panel().message()), StartsWith("Compare local plugin"));
}

TEST_F(DriftTest, aCheckEndsAfterTheSiteWasLeft)
{
    auto const other = addSite("Other", 18081);
    panel().check();
    panel().check();
    app->select(other.id);
    EXPECT_TRUE(waitUntil([this] { return remote.requestsTo("/manifest").size() == 2; }));
}

}  // namespace harbor
