#pragma once

#include "app/SyncProgressState.h"

#include "core/protocol/WireRecords.h"
#include "core/site/Site.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace harbor {

class AppState;
class ProductionGuardSheet;

/// The panel that pushes to and pulls from the remote. A run that was started goes to its end, also when the
/// panel goes; nothing cancels it.
class SyncOperationView : public QObject, public std::enable_shared_from_this<SyncOperationView> {
    Q_OBJECT
    QML_NAMED_ELEMENT(SyncOperationState)
    QML_UNCREATABLE("Made by the detail screen of a site.")
    Q_MOC_INCLUDE("app/ProductionGuardSheet.h")
    Q_PROPERTY(bool isLinked READ isLinked NOTIFY siteChanged)
    Q_PROPERTY(bool syncDatabase READ syncDatabase WRITE setSyncDatabase NOTIFY scopesChanged)
    Q_PROPERTY(bool syncThemes READ syncThemes WRITE setSyncThemes NOTIFY scopesChanged)
    Q_PROPERTY(bool syncPlugins READ syncPlugins WRITE setSyncPlugins NOTIFY scopesChanged)
    Q_PROPERTY(bool syncUploads READ syncUploads WRITE setSyncUploads NOTIFY scopesChanged)
    Q_PROPERTY(bool canStart READ canStart NOTIFY canStartChanged)
    Q_PROPERTY(harbor::SyncProgressState* progress READ progress CONSTANT)
    Q_PROPERTY(bool showsProgress READ showsProgress NOTIFY canStartChanged)
    Q_PROPERTY(bool showPushConfirm READ showPushConfirm NOTIFY dialogsChanged)
    Q_PROPERTY(harbor::ProductionGuardSheet* guard READ guard NOTIFY dialogsChanged)
    Q_PROPERTY(QString conflictWarning READ conflictWarning NOTIFY conflictWarningChanged)
public:
    SyncOperationView(std::shared_ptr<AppState> app, Site site);
    ~SyncOperationView() override;

    /// Starts at once, whatever the environment.
    Q_INVOKABLE void pull();
    /// Asks first: for the typed host before a production remote is overwritten, by a plain dialog otherwise.
    Q_INVOKABLE void requestPush();
    /// The answer of the plain dialog.
    Q_INVOKABLE void confirmPush();
    Q_INVOKABLE void cancelPush();
    Q_INVOKABLE void dismissWarning();

    void setSite(Site const& site);
    bool isLinked() const { return site_.remoteSyncConfig.has_value(); }
    bool syncDatabase() const { return scope_.database; }
    bool syncThemes() const { return scope_.themes; }
    bool syncPlugins() const { return scope_.plugins; }
    bool syncUploads() const { return scope_.uploads; }
    void setSyncDatabase(bool chosen) { choose(scope_.database, chosen); }
    void setSyncThemes(bool chosen) { choose(scope_.themes, chosen); }
    void setSyncPlugins(bool chosen) { choose(scope_.plugins, chosen); }
    void setSyncUploads(bool chosen) { choose(scope_.uploads, chosen); }
    SyncScope const& scope() const { return scope_; }
    bool canStart() const { return !scope_.isEmpty() && !progress_->isActive(); }
    SyncProgressState* progress() const { return progress_.get(); }
    bool showsProgress() const { return !progress_->isIdle(); }
    bool showPushConfirm() const { return showPushConfirm_; }
    ProductionGuardSheet* guard() const { return guard_.get(); }
    QString conflictWarning() const { return conflictWarning_; }

Q_SIGNALS:
    void siteChanged();
    void scopesChanged();
    void canStartChanged();
    void dialogsChanged();
    void conflictWarningChanged();

private:
    enum class Direction { push, pull };
    void startRun(Direction direction);
    static awaitable<void> run(std::shared_ptr<SyncOperationView> self, Site site, Direction direction);
    bool isGuarded() const;
    void choose(bool& toggle, bool chosen);
    void closeDialogs();
    void setConflictWarning(QString const& text);

    std::shared_ptr<AppState> app_;
    Site site_;
    SyncScope scope_ = SyncScope::everything();
    std::shared_ptr<SyncProgressState> progress_;
    bool showPushConfirm_ = false;
    std::shared_ptr<ProductionGuardSheet> guard_;
    QString conflictWarning_;
};

}  // namespace harbor
