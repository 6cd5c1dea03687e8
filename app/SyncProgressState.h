#pragma once

#include "app/RowModel.h"

#include "core/progress/SyncProgress.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace harbor {

/// A `SyncProgress` for QML. The engines write to the progress; this tells the screen.
class SyncProgressState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the panel that runs the operation.")
    Q_PROPERTY(QString phaseText READ phaseText NOTIFY phaseChanged)
    Q_PROPERTY(bool isActive READ isActive NOTIFY phaseChanged)
    Q_PROPERTY(bool isComplete READ isComplete NOTIFY phaseChanged)
    Q_PROPERTY(bool hasFailed READ hasFailed NOTIFY phaseChanged)
    Q_PROPERTY(double fraction READ fraction NOTIFY countsChanged)
    Q_PROPERTY(QString filesText READ filesText NOTIFY countsChanged)
    Q_PROPERTY(QString bytesText READ bytesText NOTIFY countsChanged)
    Q_PROPERTY(QString currentFile READ currentFile NOTIFY currentFileChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)
    Q_PROPERTY(harbor::RowModel* logs READ logs CONSTANT)
public:
    SyncProgressState();

    /// Outlives the screen while an engine still writes to it.
    std::shared_ptr<SyncProgress> const& progress() const { return progress_; }

    QString phaseText() const;
    bool isActive() const { return progress_->isActive(); }
    bool isComplete() const { return progress_->phase() == Phase::complete; }
    bool hasFailed() const { return progress_->phase() == Phase::failed; }
    bool isIdle() const { return progress_->phase() == Phase::idle; }
    double fraction() const { return progress_->fraction(); }
    /// "3/12 files"; empty while the number of files is not known.
    QString filesText() const;
    /// "1.2 MB / 3 MB"; empty while the number of bytes is not known.
    QString bytesText() const;
    QString currentFile() const;
    QString error() const;
    /// Rows are `LogLine`.
    RowModel* logs() { return &logs_; }

Q_SIGNALS:
    void phaseChanged();
    void countsChanged();
    void currentFileChanged();
    void errorChanged();

private:
    void tell(SyncProgress::Field field);
    void showLastLine();

    std::shared_ptr<SyncProgress> progress_;
    RowModel logs_;
};

}  // namespace harbor
