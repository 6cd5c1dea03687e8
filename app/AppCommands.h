#pragma once

#include "app/RowModel.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <vector>

namespace harbor {

class AppState;

/// An entry of the menus, as QML reads it.
struct CommandValue {
    Q_GADGET
    Q_PROPERTY(QString key MEMBER key)
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString shortcut MEMBER shortcut)
    Q_PROPERTY(QString shortcutText MEMBER shortcutText)
    Q_PROPERTY(bool isSeparator MEMBER isSeparator)
    Q_PROPERTY(bool shown MEMBER shown)
public:
    QString key;
    QString title;
    QString shortcut;      ///< As "Ctrl+Shift+I"; Qt makes Command of Ctrl on a Mac.
    QString shortcutText;  ///< The same as the platform writes it.
    bool isSeparator = false;
    bool shown = true;

    bool operator==(CommandValue const&) const = default;
};

/// The one list behind the menus and their shortcuts: text, shortcut, condition and action of each entry.
class AppCommands : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the program.")
    Q_PROPERTY(harbor::RowModel* application READ application CONSTANT)
    Q_PROPERTY(harbor::RowModel* site READ site CONSTANT)
    Q_PROPERTY(harbor::RowModel* help READ help CONSTANT)
    Q_PROPERTY(bool asksToQuit READ asksToQuit NOTIFY asksToQuitChanged)
public:
    explicit AppCommands(std::shared_ptr<AppState> app);

    Q_INVOKABLE void trigger(QString const& key);
    /// Brings the program forward: its first window whose title names it or that has the keys.
    Q_INVOKABLE void openMainWindow() const;
    /// Ends the program. While a push, a pull, an import or the like is at work, the main window asks first.
    Q_INVOKABLE void quit();
    /// The answers to that question, which goes by itself when the work ends.
    Q_INVOKABLE void quitNow();
    Q_INVOKABLE void stayOpen();

    RowModel* application() { return &application_; }
    RowModel* site() { return &site_; }
    RowModel* help() { return &help_; }
    bool asksToQuit() const { return asksToQuit_; }

Q_SIGNALS:
    void preferencesRequested();
    void quitRequested();
    void asksToQuitChanged();

private:
    struct Command {
        RowModel* menu;
        QString title;  ///< Empty for a separator.
        QString shortcut;
        std::function<bool()> shown;
        std::function<void()> action;
    };
    void build();
    void showMenus();
    QString selected() const;
    void askToQuit(bool asks);

    std::shared_ptr<AppState> app_;
    std::vector<Command> commands_;
    RowModel application_;
    RowModel site_;
    RowModel help_;
    bool asksToQuit_ = false;
};

}  // namespace harbor
