#pragma once

#include "app/AppState.h"
#include "app/QtMainThread.h"
#include "app/State.h"

#include "tests/app/FakeDocker.h"
#include "tests/support/TemporaryHome.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <memory>

/// Lets a failed expectation show its texts.
inline void PrintTo(QString const& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

namespace harbor {

/// Runs the event loop until `isTrue`. A test that waits in vain fails after a long while.
testing::AssertionResult waitUntil(
    std::function<bool()> const& isTrue, std::chrono::seconds patience = std::chrono::seconds(60));
/// Runs all events that are waiting now.
void runEvents();

/// What the screens asked of the desktop. Tasks that outlive a test may still ask.
struct RecordedDesktop {
    QStringList openedURLs;
    QStringList shownFolders;
    QString clipboard;
    bool isInFront = true;
    QStringList notifications;  ///< "Push complete: Bakery"
    std::function<TimePoint()> now = Clock::system().now;
    int sleeps = 0;                     ///< Waits that were begun.
    std::function<void()> wakeSleeper;  ///< Ends the wait that is under way.
};

/// A home, a `docker` and a desktop of its own for each test, and the application state on top.
class AppTest : public testing::Test {
protected:
    AppTest();
    ~AppTest() override;

    /// A site in the store, with its folder.
    Site addSite(std::string const& name, int port = 18080);
    /// Makes Docker say that the site runs, and the state know it.
    void letRun(Site const& site);
    /// Runs a task of the main thread to its end; the words of its failure, or nothing.
    std::string runToEnd(awaitable<void> task);

    TemporaryHome home;
    FakeDocker docker { home.path() };
    std::shared_ptr<RecordedDesktop> record = std::make_shared<RecordedDesktop>();
    RecordedDesktop& desktop = *record;
    std::shared_ptr<AppState> app;
};

/// Warnings that Qt and QML gave since the last call.
QStringList takeWarnings();

}  // namespace harbor
