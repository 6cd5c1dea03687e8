#pragma once

#include "app/LineModel.h"

#include "core/base/Async.h"
#include "core/site/ShellRunner.h"
#include "core/site/Site.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>

namespace harbor {

class AppState;

/// One of the commands that need no typing.
struct QuickAction {
    Q_GADGET
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString symbol MEMBER symbol)
    Q_PROPERTY(QString command MEMBER command)
public:
    QString title;
    QString symbol;
    QString command;
};

/// A small console that runs one WP-CLI command at a time inside a site's php container. The recent commands
/// of each site outlast the panel, in the user's defaults.
class WPCLIPanelView : public QObject, public std::enable_shared_from_this<WPCLIPanelView> {
    Q_OBJECT
    QML_NAMED_ELEMENT(WPCLIPanelState)
    QML_UNCREATABLE("Made by the detail screen of a site.")
    Q_PROPERTY(bool isSiteRunning READ isSiteRunning NOTIFY isSiteRunningChanged)
    Q_PROPERTY(QString command READ command WRITE setCommand NOTIFY commandChanged)
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY isRunningChanged)
    Q_PROPERTY(bool canRun READ canRun NOTIFY canRunChanged)
    Q_PROPERTY(QString lastCommand READ lastCommand NOTIFY outputChanged)
    Q_PROPERTY(bool hasOutput READ hasOutput NOTIFY outputChanged)
    Q_PROPERTY(bool isOutputEmpty READ isOutputEmpty NOTIFY outputChanged)
    Q_PROPERTY(int exitCode READ exitCode NOTIFY outputChanged)
    Q_PROPERTY(harbor::LineModel* lines READ lines CONSTANT)
    Q_PROPERTY(QStringList history READ history NOTIFY historyChanged)
    Q_PROPERTY(QList<harbor::QuickAction> quickActions READ quickActions CONSTANT)
public:
    WPCLIPanelView(std::shared_ptr<AppState> app, Site site);

    Q_INVOKABLE void run();
    Q_INVOKABLE void runQuickAction(int index);
    /// Puts a recent command into the field, without running it.
    Q_INVOKABLE void pickRecent(int index);
    Q_INVOKABLE void clearHistory();
    /// The whole of standard output as it came, or of standard error when there is none.
    Q_INVOKABLE void copyOutput() const;
    Q_INVOKABLE void copyLines(int first, int last) const;

    bool isSiteRunning() const;
    QString command() const { return command_; }
    void setCommand(QString const& command);
    bool isRunning() const { return isRunning_; }
    bool canRun() const;
    QString lastCommand() const { return lastCommand_; }
    std::optional<ShellResult> const& output() const { return output_; }
    bool hasOutput() const { return output_.has_value(); }
    /// Not a byte came. Line breaks alone are output, though nothing shows of them.
    bool isOutputEmpty() const { return output_ && output_->stdout.empty() && output_->stderr.empty(); }
    int exitCode() const { return output_ ? output_->exitCode : 0; }
    /// What the block below the command shows: rows are `LogLine`.
    LineModel* lines() { return &lines_; }
    QStringList history() const { return history_; }
    static QList<QuickAction> quickActions();

Q_SIGNALS:
    void isSiteRunningChanged();
    void commandChanged();
    void isRunningChanged();
    void canRunChanged();
    void outputChanged();
    void historyChanged();

private:
    static awaitable<void> runCommand(std::shared_ptr<WPCLIPanelView> self, Site site, std::string command);
    /// What is said of a command that needs a terminal; nothing for any other.
    std::optional<std::string> refusal(std::string const& command) const;
    void setRunning(bool isRunning);
    void setOutput(std::optional<ShellResult> output);
    void remember(QString const& command);
    QString historyKey() const;

    std::shared_ptr<AppState> app_;
    Site site_;
    QString command_;
    bool isRunning_ = false;
    std::optional<ShellResult> output_;
    QString lastCommand_;
    QStringList history_;
    LineModel lines_;
};

}  // namespace harbor
