#pragma once

#include "app/RowModel.h"

#include "core/base/NotificationCenter.h"
#include "core/sync/SyncHistoryStore.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <vector>

namespace harbor {

class AppState;

/// An entry of the journal, as its row shows it.
struct HistoryValue {
    Q_GADGET
    Q_PROPERTY(QString summary MEMBER summary)
    Q_PROPERTY(QString kindLabel MEMBER kindLabel)
    Q_PROPERTY(QString mark MEMBER mark)
    Q_PROPERTY(double date MEMBER date)
    Q_PROPERTY(QString errorMessage MEMBER errorMessage)
    Q_PROPERTY(QString backupID MEMBER backupID)
public:
    QString summary;
    QString kindLabel;     ///< "Database push"
    QString mark;          ///< Symbol: failed, pushed or pulled.
    double date = 0;       ///< In milliseconds since 1970.
    QString errorMessage;  ///< Empty when there is none, as the next.
    QString backupID;

    bool operator==(HistoryValue const&) const = default;
};

/// The panel that lists the journal of a site. It reads it again whenever an entry was added.
class SyncHistoryView : public QObject, public std::enable_shared_from_this<SyncHistoryView> {
    Q_OBJECT
    QML_NAMED_ELEMENT(SyncHistoryState)
    QML_UNCREATABLE("Made by the detail screen of a site.")
    Q_PROPERTY(harbor::RowModel* visibleEntries READ visibleEntries CONSTANT)
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY entriesChanged)
    Q_PROPERTY(bool hasToggle READ hasToggle NOTIFY entriesChanged)
    Q_PROPERTY(QString toggleText READ toggleText NOTIFY entriesChanged)
public:
    SyncHistoryView(std::shared_ptr<AppState> app, Site site);

    /// Reads the journal, and listens for changes from then on.
    Q_INVOKABLE void appear();
    Q_INVOKABLE void toggleShowAll();
    Q_INVOKABLE void copyBackupID(QString const& backupID) const;

    void setSite(Site const& site) { site_ = site; }
    /// Rows are `HistoryValue`.
    RowModel* visibleEntries() { return &visible_; }
    /// False until the journal was read once, so that no empty text flashes up.
    bool isEmpty() const { return hasRead_ && entries_.empty(); }
    bool hasToggle() const;
    QString toggleText() const;

Q_SIGNALS:
    void entriesChanged();

private:
    static awaitable<void> read(std::shared_ptr<SyncHistoryView> self);
    void showRows();

    std::shared_ptr<AppState> app_;
    Site site_;
    std::vector<SyncHistoryEntry> entries_;
    bool showAll_ = false;
    bool hasRead_ = false;
    RowModel visible_;
    NotificationCenter::Subscription changes_;
};

}  // namespace harbor
