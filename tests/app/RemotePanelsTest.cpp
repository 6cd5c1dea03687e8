#include "app/ProductionGuardSheet.h"
#include "app/SyncConfigView.h"
#include "app/SyncHistoryView.h"
#include "app/SyncOperationView.h"
#include "app/Values.h"
#include "core/base/Json.h"
#include "core/site/KeychainHelper.h"
#include "core/sync/SyncConflictDetector.h"
#include "tests/app/RemoteTest.h"

#include <QSignalSpy>

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace harbor {

namespace {

QString text(char const* words) { return QString::fromUtf8(words); }
std::string plain(QString const& words) { return fromQt(words); }

/// The panel that links a site. The site is selected, and not linked yet.
class ConnectTest : public RemoteTest {
protected:
    ConnectTest()
    {
        app->select(site.id);
        makeScreens();
    }
    SyncConfigView& panel() { return *detail().config(); }

    void connectWith(std::string const& key)
    {
        panel().setRemoteURL(toQt(remote.url()));
        panel().setAPIKey(toQt(key));
        panel().connectAndVerify();
        EXPECT_TRUE(panel().isVerifying());
        EXPECT_FALSE(panel().canConnect());
        ASSERT_TRUE(waitUntil([this] { return !panel().isVerifying(); }));
    }
    void testLink()
    {
        panel().testConnection();
        ASSERT_TRUE(waitUntil([this] { return !panel().isVerifying(); }));
    }
    std::optional<RemoteSyncConfig> link() const { return app->site(site.id)->remoteSyncConfig; }

    Site const site = addSiteWithDatabase("Bakery");
};

/// The panel that pushes and pulls, of a linked site that is selected.
class SyncTest : public RemoteTest {
protected:
    explicit SyncTest(RemoteEnvironment environment = RemoteEnvironment::staging)
        : site(addLinkedSite("Bakery", remote, environment))
    {
        addLocalFile(site, "themes/a/style.css", "body {}");
        app->select(site.id);
        makeScreens();
    }
    SyncOperationView& panel() { return *detail().operations(); }
    SyncProgress& progress() { return *panel().progress()->progress(); }
    bool hasEnded() { return panel().progress()->isComplete() || panel().progress()->hasFailed(); }

    void push()
    {
        panel().requestPush();
        ASSERT_TRUE(panel().showPushConfirm());
        panel().confirmPush();
        ASSERT_TRUE(waitUntil([this] { return hasEnded(); }));
    }
    void pull()
    {
        panel().pull();
        ASSERT_TRUE(waitUntil([this] { return hasEnded(); }));
    }

    Site const site;
};

class ProductionTest : public SyncTest {
protected:
    ProductionTest()
        : SyncTest(RemoteEnvironment::production)
    {
    }
};

}  // namespace

TEST_F(ConnectTest, anythingTypedCanBeTriedAndNothingIsTrimmed)
{
    EXPECT_FALSE(panel().canConnect());
    panel().setRemoteURL(text(" "));
    EXPECT_FALSE(panel().canConnect());
    panel().setAPIKey(text(" "));
    EXPECT_TRUE(panel().canConnect());
}

TEST_F(ConnectTest, aWrongKeyStoresNothing)
{
    connectWith("wrong");
    EXPECT_EQ(panel().failureText(), text("Authentication failed: Invalid API key"));
    EXPECT_FALSE(panel().hasSucceeded());
    EXPECT_FALSE(panel().isLinked());
    EXPECT_FALSE(link());
    EXPECT_FALSE(KeychainHelper::secretExists(remote.url()));
}

TEST_F(ConnectTest, anAnswerLinksTheSiteAsProduction)
{
    connectWith(remote.key());
    EXPECT_EQ(panel().connectedText(), text("Connected! WP 6.5.2, Plugin v1.2.0"));
    EXPECT_EQ(panel().wordPressText(), text("WP 6.5.2"));
    EXPECT_EQ(panel().phpText(), text("PHP 8.2.18"));
    EXPECT_EQ(panel().pluginText(), text("v1.2.0"));
    EXPECT_EQ(link(), (RemoteSyncConfig { remote.url(), remote.url(), RemoteEnvironment::production }));
    EXPECT_EQ(KeychainHelper::readSecret(remote.url()), remote.key());
    EXPECT_TRUE(panel().isProduction());
    EXPECT_TRUE(detail().operations() && detail().content() && detail().drift() && detail().history());
    EXPECT_EQ(plain(panel().apiKey()), remote.key()) << "the field keeps what was typed";
}

TEST_F(ConnectTest, aRemoteThatNamesNoPHPShowsAQuestionMark)
{
    remote.editVerifyReply([](Json& reply) { reply.erase("php_version"); });
    connectWith(remote.key());
    EXPECT_EQ(panel().phpText(), text("PHP ?"));
}

TEST_F(ConnectTest, theKeyIsInNoFile)
{
    connectWith(remote.key());
    app->desktop().defaults->sync();
    for (auto const& entry : std::filesystem::recursive_directory_iterator(home.path())) {
        if (entry.is_regular_file())
            EXPECT_THAT(readWholeFile(entry.path()), Not(HasSubstr(remote.key()))) << entry.path();
    }
}

TEST_F(ConnectTest, aKeyThatCannotBeKeptMakesNoLink)
{
    KeychainHelper::saveSecret("of another site", "https://another.test");
    keyring.lock();
    connectWith(remote.key());
    EXPECT_THAT(plain(panel().failureText()), StartsWith("Keychain save failed: "));
    EXPECT_FALSE(link());
}

TEST_F(ConnectTest, aRemoteThatIsNotThereSaysSo)
{
    panel().setRemoteURL(text("http://127.0.0.1:1"));
    panel().setAPIKey(text("key"));
    panel().connectAndVerify();
    ASSERT_TRUE(waitUntil([this] { return !panel().isVerifying(); }));
    EXPECT_THAT(plain(panel().failureText()), StartsWith("Connection failed: "));
    EXPECT_FALSE(link());
}

TEST_F(ConnectTest, aSiteThatWasDeletedMeanwhileIsNotLinked)
{
    panel().setRemoteURL(toQt(remote.url()));
    panel().setAPIKey(toQt(remote.key()));
    panel().connectAndVerify();
    EXPECT_EQ(runToEnd(app->deleteSite(site, true)), "");
    EXPECT_TRUE(waitUntil([this] { return KeychainHelper::secretExists(remote.url()); }));
    runEvents();
    EXPECT_TRUE(app->sites().empty());
}

TEST_F(ConnectTest, aTestChangesNothingThatIsStored)
{
    connectWith(remote.key());
    auto const before = readWholeFile(SiteStore::storeURL());
    testLink();
    EXPECT_TRUE(panel().hasSucceeded());
    remote.failNext(Fault::answer(403, R"({"message":"Bad signature"})"));
    testLink();
    EXPECT_EQ(panel().failureText(), text("Authentication failed: Bad signature"));
    EXPECT_TRUE(panel().isLinked());
    EXPECT_EQ(readWholeFile(SiteStore::storeURL()), before);
}

TEST_F(ConnectTest, aTestNamesAMissingKeyAndALockedKeyring)
{
    connectWith(remote.key());
    remote.forgetRequests();
    keyring.lock();
    testLink();
    EXPECT_THAT(plain(panel().failureText()), StartsWith("Keychain read failed: "));
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(ConnectTest, disconnectingForgetsLinkKeyAndFields)
{
    connectWith(remote.key());
    panel().disconnectRemote();
    EXPECT_FALSE(panel().isLinked());
    EXPECT_FALSE(link());
    EXPECT_EQ(panel().remoteURL(), QString());
    EXPECT_EQ(panel().apiKey(), QString());
    EXPECT_FALSE(panel().hasSucceeded());
    EXPECT_FALSE(detail().operations());
    EXPECT_TRUE(waitUntil([this] { return !KeychainHelper::secretExists(remote.url()); }));
}

TEST_F(ConnectTest, aTestThatEndsAfterDisconnectingShowsNothing)
{
    connectWith(remote.key());
    panel().testConnection();
    panel().disconnectRemote();
    ASSERT_TRUE(waitUntil([this] { return !panel().isVerifying(); }));
    EXPECT_FALSE(panel().hasSucceeded());
    EXPECT_FALSE(panel().hasFailed());
}

TEST_F(ConnectTest, disconnectingWithoutAKeyStillCutsTheLink)
{
    connectWith(remote.key());
    KeychainHelper::deleteSecret(remote.url());
    testLink();
    EXPECT_EQ(panel().failureText(), text("Keychain item not found."));
    panel().disconnectRemote();
    EXPECT_FALSE(link());
}

TEST_F(ConnectTest, theEnvironmentIsKeptWithTheLink)
{
    panel().setEnvironment(1);
    EXPECT_FALSE(link()) << "without a link there is nothing to classify";
    connectWith(remote.key());
    EXPECT_EQ(SyncConfigView::environments(),
        QStringList({ text("Production"), text("Staging"), text("Development") }));
    EXPECT_EQ(panel().environmentNote(), text("Pushes require typed confirmation."));
    panel().setEnvironment(1);
    EXPECT_EQ(link(), (RemoteSyncConfig { remote.url(), remote.url(), RemoteEnvironment::staging }));
    EXPECT_EQ(panel().environment(), 1);
    EXPECT_FALSE(panel().isProduction());
    EXPECT_EQ(panel().environmentNote(), text("Pushes use the standard confirmation dialog."));
}

TEST_F(ConnectTest, aChangeOfTheCommandLineIsNotOverwritten)
{
    connectWith(remote.key());
    SiteStore other;
    auto record = *other.site(site.id);
    record.name = "Renamed";
    other.update(record);
    panel().setEnvironment(2);
    EXPECT_EQ(app->site(site.id)->name, "Renamed");
    EXPECT_EQ(link()->environment, RemoteEnvironment::development);
}

TEST_F(SyncTest, nothingChosenCannotBeStarted)
{
    EXPECT_TRUE(panel().canStart());
    panel().setSyncDatabase(false);
    panel().setSyncThemes(false);
    panel().setSyncPlugins(false);
    EXPECT_TRUE(panel().canStart());
    panel().setSyncUploads(false);
    EXPECT_FALSE(panel().canStart());
    panel().pull();
    panel().requestPush();
    runEvents();
    EXPECT_FALSE(panel().showPushConfirm());
    EXPECT_FALSE(panel().showsProgress());
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(SyncTest, aPushGoesThroughDatabaseFilesAndSnapshot)
{
    push();
    EXPECT_TRUE(panel().progress()->isComplete()) << plain(panel().progress()->error());
    EXPECT_EQ(linesOf(*panel().progress()->logs()).last(), text("Push completed successfully!"));
    EXPECT_THAT(remote.dump(), HasSubstr(remote.url()));
    EXPECT_EQ(remote.readFile("themes/a/style.css"), "body {}");
    auto const entries = journal(site);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].summary, "Pushed files (themes, plugins, uploads) to " + remote.url());
    EXPECT_EQ(entries[1].summary, "Pushed database to " + remote.url());
    EXPECT_EQ(entries[1].backupID, "backup-1");
    EXPECT_TRUE(SyncConflictDetector::loadSnapshot(site.id));
}

TEST_F(SyncTest, aPullAsksNothingAndBringsBothParts)
{
    remote.setDump(
        "INSERT INTO `wp_options` VALUES (1,'siteurl','" + remote.url() + "');\n-- Dump completed\n");
    remote.writeFile("uploads/a.jpg", "picture");
    pull();
    EXPECT_TRUE(panel().progress()->isComplete()) << plain(panel().progress()->error());
    EXPECT_THAT(docker.loaded(site.composeProjectName()), HasSubstr(site.localURL()));
    EXPECT_EQ(localFile(site, "uploads/a.jpg"), "picture");
    EXPECT_THAT(summaries(site),
        ElementsAre("Pulled files (themes, plugins, uploads) from " + remote.url(),
            "Pulled database from " + remote.url()));
}

TEST_F(SyncTest, onlyADatabaseIsPushedWithASnapshotAllTheSame)
{
    panel().setSyncThemes(false);
    panel().setSyncPlugins(false);
    panel().setSyncUploads(false);
    push();
    EXPECT_THAT(summaries(site), ElementsAre("Pushed database to " + remote.url()));
    EXPECT_FALSE(remote.hasFile("themes/a/style.css"));
    EXPECT_TRUE(SyncConflictDetector::loadSnapshot(site.id));
}

TEST_F(SyncTest, onlyUploadsTouchNoDatabase)
{
    panel().setSyncDatabase(false);
    panel().setSyncThemes(false);
    panel().setSyncPlugins(false);
    addLocalFile(site, "uploads/a.jpg", "picture");
    push();
    EXPECT_THAT(summaries(site), ElementsAre("Pushed files (uploads) to " + remote.url()));
    EXPECT_FALSE(docker.wasAsked("mysqldump"));
    EXPECT_EQ(remote.readFile("uploads/a.jpg"), "picture");
}

TEST_F(SyncTest, aRemoteThatChangedIsWarnedOfUntilTheNextRun)
{
    push();
    EXPECT_EQ(panel().conflictWarning(), QString());
    remote.writeFile("uploads/theirs.jpg", "theirs");
    push();
    EXPECT_THAT(plain(panel().conflictWarning()), HasSubstr("1 new files on remote"));
    auto const lines = linesOf(*panel().progress()->logs());
    EXPECT_EQ(lines.at(0), text("WARNING: ") + panel().conflictWarning());
    EXPECT_EQ(lines.at(1), text("Proceeding with push (remote backup will be created)..."));
    EXPECT_TRUE(panel().progress()->isComplete());
    push();
    EXPECT_EQ(panel().conflictWarning(), QString());
    remote.writeFile("uploads/more.jpg", "theirs");
    push();
    panel().dismissWarning();
    EXPECT_EQ(panel().conflictWarning(), QString());
}

TEST_F(SyncTest, aMissingKeyEndsTheRunBeforeAnyRequest)
{
    KeychainHelper::deleteSecret(remote.url());
    push();
    EXPECT_EQ(panel().progress()->error(), text("Keychain item not found."));
    EXPECT_EQ(linesOf(*panel().progress()->logs()), QStringList(text("ERROR: Keychain item not found.")));
    EXPECT_THAT(summaries(site), ElementsAre("Push (database + themes, plugins, uploads) failed"));
    EXPECT_THAT(remote.requests(), IsEmpty());
    EXPECT_TRUE(panel().canStart());
}

TEST_F(SyncTest, aLockedKeyringEndsThePull)
{
    keyring.lock();
    pull();
    EXPECT_THAT(plain(panel().progress()->error()), StartsWith("Keychain read failed: "));
    EXPECT_EQ(journal(site).at(0).kind, SyncOperationKind::databasePull);
}

TEST_F(SyncTest, filesThatFailAfterTheDatabaseLeaveBothEntriesAndTheOldSnapshot)
{
    push();
    auto const snapshot = SyncConflictDetector::loadSnapshot(site.id);
    addLocalFile(site, "themes/b/style.css", "new");
    remote.failOn("/files/archive", Fault::answer(503, R"({"message":"Maintenance"})"));
    push();
    EXPECT_TRUE(panel().progress()->hasFailed());
    EXPECT_EQ(panel().progress()->error(), text("Server error (503): Maintenance"));
    auto const entries = journal(site);
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0].summary, "Push (database + themes, plugins, uploads) failed");
    EXPECT_EQ(entries[0].kind, SyncOperationKind::databasePush);
    EXPECT_EQ(entries[0].errorMessage, "Server error (503): Maintenance");
    EXPECT_EQ(entries[1].summary, "Pushed database to " + remote.url());
    EXPECT_EQ(SyncConflictDetector::loadSnapshot(site.id), snapshot);
}

TEST_F(SyncTest, aRemoteThatGoesInTheMiddleOfAReplyEndsTheRun)
{
    remote.failOn("/database", Fault::cut(ReplyPlace::middleOfBody));
    pull();
    EXPECT_THAT(plain(panel().progress()->error()), StartsWith("Connection failed: "));
    EXPECT_EQ(docker.loaded(site.composeProjectName()), "");
    EXPECT_THAT(summaries(site), ElementsAre("Pull (database + themes, plugins, uploads) failed"));
    pull();
    EXPECT_TRUE(panel().progress()->isComplete()) << "the next run is whole again";
}

TEST_F(SyncTest, aDockerThatStopsInTheMiddleEndsTheRun)
{
    docker.hold("exec");
    panel().requestPush();
    panel().confirmPush();
    ASSERT_TRUE(waitUntil([this] { return docker.wasAsked("mysqldump"); }));
    EXPECT_FALSE(panel().canStart());
    docker.fail("exec", "Cannot connect to the Docker daemon");
    docker.release("exec");
    ASSERT_TRUE(waitUntil([this] { return hasEnded(); }));
    EXPECT_EQ(
        panel().progress()->error(), text("Docker command failed: Cannot connect to the Docker daemon"));
    EXPECT_THAT(remote.requestsTo("/database"), IsEmpty());
}

TEST_F(SyncTest, aManifestThatFailsAtTheEndChangesNothing)
{
    panel().setSyncThemes(false);
    panel().setSyncPlugins(false);
    panel().setSyncUploads(false);
    remote.failOn("/manifest", Fault::answer(500));
    push();
    EXPECT_TRUE(panel().progress()->isComplete());
    EXPECT_FALSE(SyncConflictDetector::loadSnapshot(site.id));
}

TEST_F(SyncTest, aFailureIsToldWithTheTogglesOfThatMoment)
{
    docker.hold("exec");
    panel().pull();
    ASSERT_TRUE(waitUntil([this] { return docker.wasAsked("mysql mysql"); }));
    panel().setSyncDatabase(false);
    panel().setSyncUploads(false);
    docker.fail("exec", "gone");
    docker.release("exec");
    ASSERT_TRUE(waitUntil([this] { return hasEnded(); }));
    auto const entry = journal(site).at(0);
    EXPECT_EQ(entry.summary, "Pull (themes, plugins) failed");
    EXPECT_EQ(entry.kind, SyncOperationKind::filesPull);
}

TEST_F(SyncTest, aDialogThatStayedOpenStartsNoSecondRun)
{
    docker.hold("exec");
    panel().pull();
    panel().requestPush();
    ASSERT_TRUE(panel().showPushConfirm()) << "the first stage has not begun";
    ASSERT_TRUE(waitUntil([this] { return panel().progress()->isActive(); }));
    panel().confirmPush();
    EXPECT_FALSE(panel().showPushConfirm());
    docker.release("exec");
    ASSERT_TRUE(waitUntil([this] { return hasEnded(); }));
    EXPECT_THAT(summaries(site), Not(Contains(StartsWith("Push"))));
}

TEST_F(SyncTest, leavingTheSiteLetsItsRunEndUnseen)
{
    auto const other = addSiteWithDatabase("Other", 18081);
    docker.hold("exec");
    panel().requestPush();
    panel().confirmPush();
    ASSERT_TRUE(waitUntil([this] { return docker.wasAsked("mysqldump"); }));
    app->select(other.id);
    EXPECT_FALSE(detail().operations());
    app->select(site.id);
    EXPECT_FALSE(panel().showsProgress()) << "the new panel knows of no run";
    EXPECT_TRUE(panel().canStart());
    docker.release("exec");
    ASSERT_TRUE(waitUntil([this] { return summaries(site).size() == 2; }));
    EXPECT_EQ(remote.readFile("themes/a/style.css"), "body {}");
    EXPECT_FALSE(panel().showsProgress());
}

TEST_F(SyncTest, aSiteUnlinkedDuringItsRunKeepsItsRunToTheEnd)
{
    docker.hold("exec");
    panel().requestPush();
    panel().confirmPush();
    ASSERT_TRUE(waitUntil([this] { return docker.wasAsked("mysqldump"); }));
    detail().config()->disconnectRemote();
    EXPECT_FALSE(detail().operations());
    docker.release("exec");
    EXPECT_TRUE(waitUntil([this] { return summaries(site).size() == 2; }));
}

TEST_F(SyncTest, aRunKeepsTheProgramAliveToItsEnd)
{
    QSignalSpy const idle(app.get(), &AppState::becameIdle);
    EXPECT_FALSE(app->isKeptAlive());
    docker.hold("exec");
    panel().pull();
    ASSERT_TRUE(waitUntil([this] { return panel().progress()->isActive(); }));
    EXPECT_TRUE(app->isKeptAlive());
    EXPECT_EQ(idle.count(), 0);
    docker.release("exec");
    EXPECT_TRUE(waitUntil([&] { return idle.count() == 1; }));
    EXPECT_FALSE(app->isKeptAlive());
    EXPECT_TRUE(hasEnded());
}

TEST_F(SyncTest, twoRunsAtOnceDoNotMix)
{
    TestRemote second;
    auto const other = addLinkedSite("Other", second, RemoteEnvironment::staging, 18081);
    addLocalFile(other, "themes/b/style.css", "b {}");
    docker.hold("exec");
    auto const mine = detail().operations()->shared_from_this();
    mine->requestPush();
    mine->confirmPush();
    app->select(other.id);
    panel().requestPush();
    panel().confirmPush();
    ASSERT_TRUE(waitUntil([&] { return mine->progress()->isActive() && panel().progress()->isActive(); }));
    docker.release("exec");
    ASSERT_TRUE(
        waitUntil([&] { return mine->progress()->isComplete() && panel().progress()->isComplete(); }));

    EXPECT_THAT(remote.files(), ElementsAre("themes/a/style.css"));
    EXPECT_THAT(second.files(), ElementsAre("themes/b/style.css"));
    EXPECT_THAT(remote.dump(), AllOf(HasSubstr(remote.url()), Not(HasSubstr(second.url()))));
    EXPECT_THAT(second.dump(), AllOf(HasSubstr(second.url()), Not(HasSubstr(remote.url()))));
    EXPECT_EQ(summaries(site).size(), 2U);
    EXPECT_EQ(summaries(other).size(), 2U);
    auto const mentions = [](SyncOperationView& view, std::string const& words) {
        return linesOf(*view.progress()->logs()).join(QLatin1Char('\n')).contains(toQt(words));
    };
    EXPECT_TRUE(mentions(*mine, remote.url()));
    EXPECT_FALSE(mentions(*mine, second.url()));
    EXPECT_TRUE(mentions(panel(), second.url()));
    EXPECT_FALSE(mentions(panel(), remote.url()));
}

TEST_F(ProductionTest, aPushMeetsTheGuardWithItsWords)
{
    panel().setSyncDatabase(false);
    panel().requestPush();
    EXPECT_FALSE(panel().showPushConfirm());
    ASSERT_TRUE(panel().guard());
    EXPECT_EQ(panel().guard()->actionTitle(), text("Push themes, plugins, uploads to remote"));
    EXPECT_EQ(panel().guard()->message(),
        text("This will overwrite the remote site's themes, plugins, uploads with your local version. A "
             "backup will be created on the remote site first."));
    EXPECT_EQ(panel().guard()->host(), text("127.0.0.1"));
    EXPECT_EQ(panel().guard()->typedHost(), QString());
}

TEST_F(ProductionTest, onlyTheTypedHostStartsThePush)
{
    panel().requestPush();
    auto* const guard = panel().guard();
    for (auto const* wrong : { "", " ", "127.0.0.2", "http://127.0.0.1", "127.0.0.1\n", "www.127.0.0.1" }) {
        guard->setTypedHost(text(wrong));
        EXPECT_FALSE(guard->canConfirm()) << wrong;
        guard->confirm();
        EXPECT_EQ(panel().guard(), guard) << wrong;
    }
    EXPECT_THAT(remote.requests(), IsEmpty());
    guard->setTypedHost(text(" 127.0.0.1\t"));
    guard->confirm();
    EXPECT_FALSE(panel().guard());
    EXPECT_TRUE(waitUntil([this] { return hasEnded(); }));
    EXPECT_TRUE(panel().progress()->isComplete());
}

TEST_F(ProductionTest, aPlainAnswerDoesNotPassASiteThatBecameProductionMeanwhile)
{
    detail().config()->setEnvironment(1);
    panel().requestPush();
    ASSERT_TRUE(panel().showPushConfirm());
    detail().config()->setEnvironment(0);
    panel().confirmPush();
    EXPECT_TRUE(panel().guard());
    EXPECT_FALSE(panel().showPushConfirm());
    panel().guard()->cancel();
    EXPECT_FALSE(panel().guard());
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(ProductionTest, aPlainAnswerThatNobodyAskedForStartsNothing)
{
    panel().confirmPush();
    runEvents();
    EXPECT_FALSE(panel().showsProgress());
    EXPECT_THAT(remote.requests(), IsEmpty());
}

TEST_F(ProductionTest, aPullIsNotGuarded)
{
    pull();
    EXPECT_FALSE(panel().guard());
    EXPECT_TRUE(panel().progress()->isComplete());
}

}  // namespace harbor
