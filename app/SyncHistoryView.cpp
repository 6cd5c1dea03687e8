#include "app/SyncHistoryView.h"

#include "app/AppState.h"
#include "app/QtMainThread.h"
#include "app/Values.h"

#include <boost/asio/post.hpp>

namespace harbor {

namespace {

constexpr std::size_t recentEntries = 8;

QString markOf(SyncHistoryEntry const& entry)
{
    if (!entry.success)
        return QStringLiteral("xmark.circle.fill");
    auto const isPush = entry.kind == SyncOperationKind::contentPush
        || entry.kind == SyncOperationKind::databasePush || entry.kind == SyncOperationKind::filesPush;
    return isPush ? QStringLiteral("arrow.up.circle.fill") : QStringLiteral("arrow.down.circle.fill");
}

HistoryValue valueOf(SyncHistoryEntry const& entry)
{
    return {
        .summary = toQt(entry.summary),
        .kindLabel = toQt(displayName(entry.kind)),
        .mark = markOf(entry),
        .date = toMilliseconds(entry.date),
        .errorMessage = toQt(entry.errorMessage.value_or("")),
        .backupID = toQt(entry.backupID.value_or("")),
    };
}

}  // namespace

SyncHistoryView::SyncHistoryView(std::shared_ptr<AppState> app, Site site)
    : app_(std::move(app))
    , site_(std::move(site))
{
}

void SyncHistoryView::appear()
{
    // The notification comes on the journal's own executor.
    auto const changed = [weak = weak_from_this(), siteID = site_.id](std::string const& object) {
        if (Uuid::parse(object) != siteID)
            return;
        asio::post(qtMainThread(), [weak] {
            if (auto self = weak.lock())
                start(read(std::move(self)));
        });
    };
    changes_ = NotificationCenter::shared().subscribe(TWKBSyncHistoryDidChange, changed);
    start(read(shared_from_this()));
}

awaitable<void> SyncHistoryView::read(std::shared_ptr<SyncHistoryView> self)
{
    self->entries_ = co_await SyncHistoryStore::shared().entries(self->site_);
    self->hasRead_ = true;
    self->showRows();
}

void SyncHistoryView::toggleShowAll()
{
    showAll_ = !showAll_;
    showRows();
}

void SyncHistoryView::showRows()
{
    auto const count = showAll_ ? entries_.size() : std::min(entries_.size(), recentEntries);
    QList<ModelRow> rows;
    for (std::size_t i = 0; i < count; ++i)
        rows.append({ toQt(entries_[i].id.text()), QVariant::fromValue(valueOf(entries_[i])) });
    visible_.assign(rows);
    Q_EMIT entriesChanged();
}

void SyncHistoryView::copyBackupID(QString const& backupID) const { app_->desktop().copyText(backupID); }

bool SyncHistoryView::hasToggle() const { return entries_.size() > recentEntries; }

QString SyncHistoryView::toggleText() const
{
    if (showAll_)
        return QStringLiteral("Show Recent");
    return QStringLiteral("Show All (") + QString::number(entries_.size()) + QLatin1Char(')');
}

}  // namespace harbor
