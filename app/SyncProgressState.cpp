#include "app/SyncProgressState.h"

#include "app/QtMainThread.h"
#include "app/Values.h"

#include "core/base/FileSize.h"

#include <QPointer>

namespace harbor {

SyncProgressState::SyncProgressState()
    : progress_(std::make_shared<SyncProgress>(qtMainThread()))
{
    progress_->observe([self = QPointer(this)](SyncProgress::Field field) {
        if (self)
            self->tell(field);
    });
}

QString SyncProgressState::phaseText() const { return toQt(harbor::phaseText(progress_->phase())); }

QString SyncProgressState::filesText() const
{
    if (progress_->totalFiles() < 1)
        return {};
    return QString::number(progress_->processedFiles()) + QLatin1Char('/')
        + QString::number(progress_->totalFiles()) + QStringLiteral(" files");
}

QString SyncProgressState::bytesText() const
{
    if (progress_->totalBytes() < 1)
        return {};
    return toQt(fileSizeText(progress_->transferredBytes()) + " / " + fileSizeText(progress_->totalBytes()));
}

QString SyncProgressState::currentFile() const { return toQt(progress_->currentFile()); }
QString SyncProgressState::error() const { return toQt(progress_->error().value_or("")); }

void SyncProgressState::tell(SyncProgress::Field field)
{
    using Field = SyncProgress::Field;
    switch (field) {
    case Field::phase:
        Q_EMIT phaseChanged();
        break;
    case Field::totalBytes:
    case Field::transferredBytes:
    case Field::totalFiles:
    case Field::processedFiles:
        Q_EMIT countsChanged();
        break;
    case Field::currentFile:
        Q_EMIT currentFileChanged();
        break;
    case Field::error:
        Q_EMIT errorChanged();
        break;
    case Field::logs:
        showLastLine();
        break;
    }
}

/// Lines are only ever added at the end, or all taken away by a reset.
void SyncProgressState::showLastLine()
{
    if (progress_->logs().empty()) {
        logs_.clear();
        return;
    }
    LogLine const line { toQt(progress_->logs().back()), {} };
    logs_.append({ QVariant::fromValue(line) }, static_cast<int>(SyncProgress::longestLog));
}

}  // namespace harbor
