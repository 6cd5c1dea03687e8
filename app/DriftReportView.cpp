#include "app/DriftReportView.h"

#include "app/AppState.h"
#include "app/QtMainThread.h"
#include "app/Values.h"

#include "core/base/Describe.h"
#include "core/sync/DriftCheck.h"

namespace harbor {

namespace {

struct Look {
    QString label;
    QString symbol;
};

Look lookOf(DriftStatus status)
{
    switch (status) {
    case DriftStatus::inSync:
        return { QStringLiteral("In sync"), QStringLiteral("checkmark.circle.fill") };
    case DriftStatus::modified:
        return { QStringLiteral("Modified"), QStringLiteral("exclamationmark.triangle.fill") };
    case DriftStatus::localOnly:
        return { QStringLiteral("Local only"), QStringLiteral("laptopcomputer") };
    case DriftStatus::remoteOnly:
        break;
    }
    return { QStringLiteral("Remote only"), QStringLiteral("globe") };
}

ModelRow rowOf(DriftItem const& item)
{
    auto const look = lookOf(item.status);
    DriftValue const value {
        .name = toQt(item.name),
        .kind = toQt(rawValue(item.kind)),
        .status = toQt(rawValue(item.status)),
        .label = look.label,
        .symbol = look.symbol,
        .summary = item.status == DriftStatus::modified ? toQt(item.summary()) : QString(),
    };
    return { toQt(item.id()), QVariant::fromValue(value) };
}

}  // namespace

DriftReportView::DriftReportView(std::shared_ptr<AppState> app, Site site)
    : app_(std::move(app))
    , site_(std::move(site))
{
}

void DriftReportView::check()
{
    if (isChecking_)
        return;
    setChecking(true);
    setErrorMessage({});
    start(runCheck(shared_from_this(), site_));
}

awaitable<void> DriftReportView::runCheck(std::shared_ptr<DriftReportView> self, Site site)
{
    try {
        self->show(co_await checkDrift(std::move(site), keyFromSecretStore()));
    } catch (std::exception const& error) {
        self->setErrorMessage(toQt(describe(error)));
    }
    self->setChecking(false);
}

void DriftReportView::show(std::vector<DriftItem> items)
{
    QList<ModelRow> drifted;
    QList<ModelRow> matching;
    for (auto const& item : items)
        (item.status == DriftStatus::inSync ? matching : drifted).append(rowOf(item));
    items_ = std::move(items);
    checkedAt_ = app_->desktop().clock.now();
    drifted_.assign(drifted);
    matching_.assign(matching);
    Q_EMIT reportChanged();
}

void DriftReportView::toggleInSync()
{
    showInSync_ = !showInSync_;
    Q_EMIT showInSyncChanged();
}

double DriftReportView::checkedAt() const { return checkedAt_ ? toMilliseconds(*checkedAt_) : -1; }

QString DriftReportView::message() const
{
    if (!items_)
        return isChecking_ ? QString()
                           : QStringLiteral("Compare local plugin and theme files against the remote to spot "
                                            "version drift before it bites.");
    if (items_->empty())
        return QStringLiteral("No plugins or themes found to compare.");
    if (isAllInSync())
        return QStringLiteral("All ") + QString::number(items_->size())
            + QStringLiteral(" plugins and themes match the remote.");
    return {};
}

bool DriftReportView::isAllInSync() const { return items_ && !items_->empty() && drifted_.count() == 0; }

QString DriftReportView::matchingText() const
{
    if (drifted_.count() == 0 || matching_.count() == 0)
        return {};
    return QString::number(matching_.count()) + QStringLiteral(" in sync");
}

void DriftReportView::setChecking(bool isChecking)
{
    isChecking_ = isChecking;
    Q_EMIT isCheckingChanged();
    Q_EMIT reportChanged();
}

void DriftReportView::setErrorMessage(QString const& text)
{
    if (errorMessage_ == text)
        return;
    errorMessage_ = text;
    Q_EMIT errorMessageChanged();
}

}  // namespace harbor
