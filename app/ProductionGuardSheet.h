#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>

namespace harbor {

/// The typed confirmation that stands before anything is pushed to a production site.
class ProductionGuardSheet : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(ProductionGuardState)
    QML_UNCREATABLE("Made by the panel that wants to push.")
    Q_PROPERTY(QString actionTitle READ actionTitle CONSTANT)
    Q_PROPERTY(QString message READ message CONSTANT)
    Q_PROPERTY(QString host READ host CONSTANT)
    Q_PROPERTY(QString typedHost READ typedHost WRITE setTypedHost NOTIFY typedHostChanged)
    Q_PROPERTY(bool canConfirm READ canConfirm NOTIFY typedHostChanged)
public:
    /// @param onConfirm  runs after the sheet was closed by a confirmation
    ProductionGuardSheet(
        QString const& remoteURL, QString actionTitle, QString message, std::function<void()> onConfirm);

    /// Does nothing while the typed text is not the host, whoever calls it.
    Q_INVOKABLE void confirm();
    Q_INVOKABLE void cancel();

    QString actionTitle() const { return actionTitle_; }
    QString message() const { return message_; }
    QString host() const;
    QString typedHost() const { return typedHost_; }
    void setTypedHost(QString const& text);
    bool canConfirm() const;

Q_SIGNALS:
    void typedHostChanged();
    void closeRequested();

private:
    QString remoteURL_;
    QString actionTitle_;
    QString message_;
    QString typedHost_;
    std::function<void()> onConfirm_;
};

}  // namespace harbor
