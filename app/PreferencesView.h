#pragma once

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace harbor {

class AppState;

/// Two choices that are stored and shown; the sheets that make sites start from fixed values all the same.
class PreferencesView : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(PreferencesState)
    QML_UNCREATABLE("Made by the main window.")
    Q_PROPERTY(int defaultPHPVersion READ defaultPHPVersion WRITE setDefaultPHPVersion NOTIFY changed)
    Q_PROPERTY(int defaultWebServer READ defaultWebServer WRITE setDefaultWebServer NOTIFY changed)
    Q_PROPERTY(QStringList phpVersions READ phpVersions CONSTANT)
    Q_PROPERTY(QStringList webServers READ webServers CONSTANT)
    Q_PROPERTY(QString configDirectory READ configDirectory CONSTANT)
public:
    explicit PreferencesView(std::shared_ptr<AppState> app);

    /// Index into the labels; -1 for a stored value that names no case.
    int defaultPHPVersion() const;
    int defaultWebServer() const;
    /// Stored at once.
    void setDefaultPHPVersion(int index);
    void setDefaultWebServer(int index);
    QStringList phpVersions() const;
    QStringList webServers() const;
    /// The folder that the fixed text on screen stands for.
    QString configDirectory() const;

Q_SIGNALS:
    void changed();

private:
    std::shared_ptr<AppState> app_;
};

}  // namespace harbor
