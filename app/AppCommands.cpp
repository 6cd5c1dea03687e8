#include "app/AppCommands.h"

#include "app/AppState.h"

#include "core/base/Hosts.h"
#include "core/base/NotificationCenter.h"

#include <QGuiApplication>
#include <QKeySequence>
#include <QWindow>

namespace harbor {

AppCommands::AppCommands(std::shared_ptr<AppState> app)
    : app_(std::move(app))
{
    build();
    showMenus();
    connect(app_.get(), &AppState::selectionChanged, this, &AppCommands::showMenus);
    connect(app_.get(), &AppState::statusChanged, this, &AppCommands::showMenus);
    connect(app_.get(), &AppState::sitesChanged, this, &AppCommands::showMenus);
    connect(app_.get(), &AppState::becameIdle, this, &AppCommands::stayOpen);
}

void AppCommands::build()
{
    auto const text = [](char const* words) { return QString::fromUtf8(words); };
    auto const always = [] { return true; };
    auto const hasSite = [this] { return app_->selectedSite().has_value(); };
    auto const isRunning = [this] {
        auto const site = app_->selectedSite();
        return site && app_->status(site->id) == SiteStatus::running;
    };
    auto const canStart = [hasSite, isRunning] { return hasSite() && !isRunning(); };
    auto const separator
        = [](RowModel* menu, std::function<bool()> shown) { return Command { menu, {}, {}, shown, [] { } }; };
    auto const post = [](char const* name) { NotificationCenter::shared().post(name, ""); };
    auto const open = [this](char const* address) { app_->desktop().openURL(QUrl(QLatin1String(address))); };

    commands_ = {
        { &application_, text("Preferences..."), text("Ctrl+,"), always, [this] { preferencesRequested(); } },
        { &application_, text("Quit"), text("Ctrl+Q"), always, [this] { quit(); } },

        { &site_, text("New Site..."), text("Ctrl+N"), always, [post] { post("showCreateSite"); } },
        { &site_, text("Import Package..."), text("Ctrl+Shift+I"), always,
            [post] { post("showImportSite"); } },
        separator(&site_, hasSite),
        { &site_, text("Stop Site"), text("Ctrl+."), isRunning, [this] { app_->stop(selected()); } },
        { &site_, text("Start Site"), text("Ctrl+R"), canStart, [this] { app_->start(selected()); } },
        separator(&site_, hasSite),
        { &site_, text("Open in Browser"), text("Ctrl+O"), hasSite,
            [this] { app_->openInBrowser(selected()); } },
        { &site_, text("Open WP Admin"), text("Ctrl+Shift+O"), hasSite,
            [this] { app_->openWPAdmin(selected()); } },
        { &site_, text("Open Site Folder"), text("Ctrl+Shift+F"), hasSite,
            [this] { app_->openFolder(selected()); } },
        separator(&site_, hasSite),
        { &site_, text("Refresh Status"), text("Ctrl+Shift+R"), hasSite,
            [this] { app_->refresh(selected()); } },

        { &help_, text("Download WordPress Plugin..."), {}, always,
            [open] { open(hosts::pluginDownloadPage); } },
        { &help_, text("Tallowick Network Website"), {}, always, [open] { open(hosts::makerSite); } },
    };
}

void AppCommands::showMenus()
{
    for (auto* const menu : { &application_, &site_, &help_ }) {
        QList<ModelRow> rows;
        for (std::size_t i = 0; i < commands_.size(); ++i) {
            auto const& command = commands_[i];
            if (command.menu != menu)
                continue;
            auto const key = QString::number(i);
            auto const keys = QKeySequence::fromString(command.shortcut);
            rows.append({ key,
                QVariant::fromValue(CommandValue { .key = key,
                    .title = command.title,
                    .shortcut = command.shortcut,
                    .shortcutText = keys.toString(QKeySequence::NativeText),
                    .isSeparator = command.title.isEmpty(),
                    .shown = command.shown() }) });
        }
        menu->assign(rows);
    }
}

void AppCommands::trigger(QString const& key)
{
    auto const& command = commands_.at(key.toULong());
    if (command.shown())
        command.action();
}

void AppCommands::openMainWindow() const
{
    for (auto* const window : QGuiApplication::topLevelWindows()) {
        if (!window->title().contains(QLatin1String("Tallowick")) && window != QGuiApplication::focusWindow())
            continue;
        window->setVisible(true);
        if (window->windowStates() & Qt::WindowMinimized)
            window->showNormal();
        window->raise();
        window->requestActivate();
        return;
    }
}

void AppCommands::quit()
{
    if (!app_->isKeptAlive()) {
        quitNow();
        return;
    }
    askToQuit(true);
    openMainWindow();
}

void AppCommands::quitNow() { Q_EMIT quitRequested(); }
void AppCommands::stayOpen() { askToQuit(false); }

void AppCommands::askToQuit(bool asks)
{
    if (asksToQuit_ == asks)
        return;
    asksToQuit_ = asks;
    Q_EMIT asksToQuitChanged();
}

QString AppCommands::selected() const
{
    auto const id = app_->selectedSiteID();
    return id ? toQt(id->text()) : QString();
}

}  // namespace harbor
