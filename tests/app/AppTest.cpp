#include "tests/app/AppTest.h"

#include "core/base/Describe.h"

#include <boost/asio/experimental/channel.hpp>

#include <QApplication>
#include <QDeadlineTimer>
#include <QTimer>

namespace harbor {

testing::AssertionResult waitUntil(std::function<bool()> const& isTrue, std::chrono::seconds patience)
{
    QDeadlineTimer const deadline(patience);
    QTimer look;  // What is waited for may come without an event of this thread.
    look.start(std::chrono::milliseconds(5));
    while (!isTrue()) {
        if (deadline.hasExpired())
            return testing::AssertionFailure() << "waited in vain";
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return testing::AssertionSuccess();
}

void runEvents()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

namespace {

using Channel = asio::experimental::channel<void(boost::system::error_code)>;

awaitable<void> waitOn(std::shared_ptr<Channel> channel)
{
    co_await channel->async_receive(asio::use_awaitable);
}

awaitable<void> keepFailure(awaitable<void> task, std::shared_ptr<std::optional<std::string>> into)
{
    std::string words;
    try {
        co_await std::move(task);
    } catch (std::exception const& error) {
        words = describe(error);
    }
    *into = words;
}

Desktop recordedDesktop(std::shared_ptr<RecordedDesktop> record, std::string const& home)
{
    auto const sleep = [record](double) {
        ++record->sleeps;
        auto channel = std::make_shared<Channel>(qtMainThread(), 1);
        record->wakeSleeper = [channel] { channel->try_send(boost::system::error_code()); };
        return waitOn(channel);
    };
    return {
        .openURL = [record](QUrl const& url) { record->openedURLs.append(url.toString()); },
        .showFolder = [record](QString const& folder) { record->shownFolders.append(folder); },
        .copyText = [record](QString const& text) { record->clipboard = text; },
        .isInFront = [record] { return record->isInFront; },
        .notify
        = [record](QString const& title,
              QString const& text) { record->notifications.append(title + QLatin1String(": ") + text); },
        .defaults = std::make_shared<QSettings>(toQt(home + "/defaults.ini"), QSettings::IniFormat),
        .clock = { .now = [record] { return record->now(); }, .sleep = sleep },
    };
}

}  // namespace

AppTest::AppTest()
    : app(makeState<AppState>(recordedDesktop(record, home.path())))
{
    takeWarnings();
}

/// Waits for the tasks that still run: they hold the state, and ask the Docker of this test.
AppTest::~AppTest()
{
    docker.releaseAll();
    std::weak_ptr<AppState> const state = std::exchange(app, nullptr);
    EXPECT_TRUE(waitUntil([&] {
        if (desktop.wakeSleeper)
            desktop.wakeSleeper();
        return state.expired();
    }));
    runEvents();
}

Site AppTest::addSite(std::string const& name, int port)
{
    Site site(name, PHPVersion::php83, WebServer::apache, port, port + 1000, port + 15000);
    createDirectories(site.siteDirectory());
    app->siteStore().add(site);
    return site;
}

void AppTest::letRun(Site const& site)
{
    docker.setContainers(site.composeProjectName(), FakeDocker::container("wordpress"));
    app->setStatus(site.id, SiteStatus::running);
}

std::string AppTest::runToEnd(awaitable<void> task)
{
    auto const failure = std::make_shared<std::optional<std::string>>();
    start(keepFailure(std::move(task), failure));
    EXPECT_TRUE(waitUntil([&] { return failure->has_value(); }));
    return failure->value_or("did not end");
}

}  // namespace harbor
