#pragma once

#include "core/base/Async.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace harbor {

class AppState;

/// Stands in the place of the main window's content while Docker cannot be used.
class DockerOnboardingView : public QObject, public std::enable_shared_from_this<DockerOnboardingView> {
    Q_OBJECT
    QML_NAMED_ELEMENT(DockerOnboardingState)
    QML_UNCREATABLE("Made by the main window.")
    Q_PROPERTY(bool isChecking READ isChecking NOTIFY isCheckingChanged)
    Q_PROPERTY(QStringList tips READ tips CONSTANT)
public:
    explicit DockerOnboardingView(std::shared_ptr<AppState> app);

    Q_INVOKABLE void checkAgain();
    /// Opens the page that Docker is downloaded from.
    Q_INVOKABLE void download() const;

    bool isChecking() const { return isChecking_; }
    QStringList tips() const;

Q_SIGNALS:
    void isCheckingChanged();

private:
    static awaitable<void> check(std::shared_ptr<DockerOnboardingView> self);

    std::shared_ptr<AppState> app_;
    bool isChecking_ = false;
};

}  // namespace harbor
