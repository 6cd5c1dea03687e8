#pragma once

#include "core/base/Async.h"
#include "core/protocol/WireRecords.h"
#include "core/site/Site.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>
#include <variant>

namespace harbor {

class AppState;

/// The panel that links a local site to a remote one, tests the link, classifies the remote and cuts the
/// link. It lives as long as the detail screen of its site.
class SyncConfigView : public QObject, public std::enable_shared_from_this<SyncConfigView> {
    Q_OBJECT
    QML_NAMED_ELEMENT(SyncConfigState)
    QML_UNCREATABLE("Made by the detail screen of a site.")
    Q_PROPERTY(bool isLinked READ isLinked NOTIFY siteChanged)
    Q_PROPERTY(QString linkedURL READ linkedURL NOTIFY siteChanged)
    Q_PROPERTY(bool isProduction READ isProduction NOTIFY siteChanged)
    Q_PROPERTY(int environment READ environment WRITE setEnvironment NOTIFY siteChanged)
    Q_PROPERTY(QStringList environments READ environments CONSTANT)
    Q_PROPERTY(QString environmentNote READ environmentNote NOTIFY siteChanged)
    Q_PROPERTY(QString remoteURL READ remoteURL WRITE setRemoteURL NOTIFY remoteURLChanged)
    Q_PROPERTY(QString apiKey READ apiKey WRITE setAPIKey NOTIFY apiKeyChanged)
    Q_PROPERTY(bool isVerifying READ isVerifying NOTIFY isVerifyingChanged)
    Q_PROPERTY(bool canConnect READ canConnect NOTIFY canConnectChanged)
    Q_PROPERTY(bool hasSucceeded READ hasSucceeded NOTIFY verifyResultChanged)
    Q_PROPERTY(bool hasFailed READ hasFailed NOTIFY verifyResultChanged)
    Q_PROPERTY(QString connectedText READ connectedText NOTIFY verifyResultChanged)
    Q_PROPERTY(QString failureText READ failureText NOTIFY verifyResultChanged)
    Q_PROPERTY(QString wordPressText READ wordPressText NOTIFY verifyResultChanged)
    Q_PROPERTY(QString phpText READ phpText NOTIFY verifyResultChanged)
    Q_PROPERTY(QString pluginText READ pluginText NOTIFY verifyResultChanged)
public:
    /// The last test: what the server answered, or why it failed.
    using VerifyResult = std::variant<VerifyResponse, std::string>;

    SyncConfigView(std::shared_ptr<AppState> app, Site site);

    /// Asks the remote first; only after it has answered, the key goes into the secret store and the site is
    /// linked.
    Q_INVOKABLE void connectAndVerify();
    /// Changes nothing that is stored.
    Q_INVOKABLE void testConnection();
    /// Cuts the link and forgets the key, without asking.
    Q_INVOKABLE void disconnectRemote();
    Q_INVOKABLE void downloadPlugin() const;

    void setSite(Site const& site);
    bool isLinked() const { return site_.remoteSyncConfig.has_value(); }
    QString linkedURL() const;
    bool isProduction() const;
    /// Index into `environments`; -1 without a link.
    int environment() const;
    void setEnvironment(int index);
    static QStringList environments();
    QString environmentNote() const;
    QString remoteURL() const { return remoteURL_; }
    void setRemoteURL(QString const& text);
    QString apiKey() const { return apiKey_; }
    void setAPIKey(QString const& text);
    bool isVerifying() const { return isVerifying_; }
    bool canConnect() const { return !remoteURL_.isEmpty() && !apiKey_.isEmpty() && !isVerifying_; }
    bool hasSucceeded() const { return response() != nullptr; }
    bool hasFailed() const { return verifyResult_ && !hasSucceeded(); }
    QString connectedText() const;
    QString failureText() const;
    QString wordPressText() const;
    QString phpText() const;
    QString pluginText() const;

Q_SIGNALS:
    void siteChanged();
    void remoteURLChanged();
    void apiKeyChanged();
    void isVerifyingChanged();
    void canConnectChanged();
    void verifyResultChanged();

private:
    using Self = std::shared_ptr<SyncConfigView>;
    static awaitable<void> runConnect(Self self, std::string remoteURL, std::string apiKey);
    static awaitable<void> runTest(Self self, Site site);
    /// In the record as it stands now, which others may have changed.
    void setLink(std::optional<RemoteSyncConfig> const& link);
    VerifyResponse const* response() const;
    void setVerifying(bool isVerifying);
    void setVerifyResult(std::optional<VerifyResult> result);

    std::shared_ptr<AppState> app_;
    Site site_;
    QString remoteURL_;
    QString apiKey_;
    bool isVerifying_ = false;
    std::optional<VerifyResult> verifyResult_;
};

}  // namespace harbor
