#include "app/ProductionGuardSheet.h"

#include "app/Values.h"

#include "core/sync/ProductionGuard.h"

namespace harbor {

ProductionGuardSheet::ProductionGuardSheet(
    QString const& remoteURL, QString actionTitle, QString message, std::function<void()> onConfirm)
    : remoteURL_(remoteURL)
    , actionTitle_(std::move(actionTitle))
    , message_(std::move(message))
    , onConfirm_(std::move(onConfirm))
{
}

void ProductionGuardSheet::confirm()
{
    if (!canConfirm())
        return;
    auto const push = std::exchange(onConfirm_, nullptr);
    Q_EMIT closeRequested();
    if (push)
        push();
}

void ProductionGuardSheet::cancel() { Q_EMIT closeRequested(); }

QString ProductionGuardSheet::host() const { return toQt(ProductionGuard::host(fromQt(remoteURL_))); }

void ProductionGuardSheet::setTypedHost(QString const& text)
{
    if (typedHost_ == text)
        return;
    typedHost_ = text;
    Q_EMIT typedHostChanged();
}

bool ProductionGuardSheet::canConfirm() const
{
    return ProductionGuard::confirms(fromQt(typedHost_), fromQt(remoteURL_));
}

}  // namespace harbor
