#include "app/SyncConfigView.h"

#include "app/AppState.h"
#include "app/QtMainThread.h"
#include "app/Values.h"

#include "core/base/Describe.h"
#include "core/base/Hosts.h"
#include "core/protocol/SyncClient.h"
#include "core/sync/RemoteKey.h"

namespace harbor {

SyncConfigView::SyncConfigView(std::shared_ptr<AppState> app, Site site)
    : app_(std::move(app))
    , site_(std::move(site))
{
    connect(this, &SyncConfigView::remoteURLChanged, this, &SyncConfigView::canConnectChanged);
    connect(this, &SyncConfigView::apiKeyChanged, this, &SyncConfigView::canConnectChanged);
    connect(this, &SyncConfigView::isVerifyingChanged, this, &SyncConfigView::canConnectChanged);
}

void SyncConfigView::connectAndVerify()
{
    if (!canConnect())
        return;
    setVerifying(true);
    setVerifyResult(std::nullopt);
    start(runConnect(shared_from_this(), fromQt(remoteURL_), fromQt(apiKey_)));
}

awaitable<void> SyncConfigView::runConnect(Self self, std::string remoteURL, std::string apiKey)
{
    try {
        SyncClient client(remoteURL, apiKey);
        self->setVerifyResult(co_await client.verify());
        co_await saveKey(remoteURL, apiKey);
        self->setLink(RemoteSyncConfig { remoteURL, remoteURL, RemoteEnvironment::production });
    } catch (std::exception const& error) {
        self->setVerifyResult(describe(error));
    }
    self->setVerifying(false);
}

void SyncConfigView::testConnection()
{
    if (!isLinked())
        return;
    setVerifying(true);
    setVerifyResult(std::nullopt);
    start(runTest(shared_from_this(), site_));
}

awaitable<void> SyncConfigView::runTest(Self self, Site site)
{
    VerifyResult result;
    try {
        auto key = co_await readKeyOf(site, keyFromSecretStore());
        SyncClient client(site.remoteSyncConfig->remoteURL, std::move(key));
        result = co_await client.verify();
    } catch (std::exception const& error) {
        result = describe(error);
    }
    // A remote that was disconnected meanwhile has no result to show.
    if (self->linkedURL() == toQt(site.remoteSyncConfig->remoteURL))
        self->setVerifyResult(std::move(result));
    self->setVerifying(false);
}

void SyncConfigView::disconnectRemote()
{
    if (isLinked())
        start(forgetKey(site_.remoteSyncConfig->apiKeyRef));
    setLink(std::nullopt);
    setRemoteURL({});
    setAPIKey({});
    setVerifyResult(std::nullopt);
}

void SyncConfigView::setLink(std::optional<RemoteSyncConfig> const& link)
{
    app_->changeSites([&](SiteStore& sites) {
        auto site = sites.site(site_.id);
        if (!site)
            return;  // It was deleted meanwhile.
        site->remoteSyncConfig = link;
        sites.update(*site);
    });
}

void SyncConfigView::downloadPlugin() const
{
    app_->desktop().openURL(QUrl(toQt(hosts::pluginDownloadPage)));
}

void SyncConfigView::setSite(Site const& site)
{
    if (site_ == site)
        return;
    site_ = site;
    Q_EMIT siteChanged();
}

QString SyncConfigView::linkedURL() const
{
    return isLinked() ? toQt(site_.remoteSyncConfig->remoteURL) : QString();
}

bool SyncConfigView::isProduction() const
{
    return isLinked() && harbor::isProduction(site_.remoteSyncConfig->environment);
}

int SyncConfigView::environment() const
{
    return isLinked() ? static_cast<int>(site_.remoteSyncConfig->environment) : -1;
}

void SyncConfigView::setEnvironment(int index)
{
    if (!isLinked() || index == environment() || index < 0
        || index >= static_cast<int>(allRemoteEnvironments.size()))
        return;
    auto link = *site_.remoteSyncConfig;
    link.environment = static_cast<RemoteEnvironment>(index);
    setLink(link);
}

QStringList SyncConfigView::environments()
{
    QStringList labels;
    for (auto const environment : allRemoteEnvironments)
        labels.append(toQt(displayName(environment)));
    return labels;
}

QString SyncConfigView::environmentNote() const
{
    return isProduction() ? QStringLiteral("Pushes require typed confirmation.")
                          : QStringLiteral("Pushes use the standard confirmation dialog.");
}

void SyncConfigView::setRemoteURL(QString const& text)
{
    if (remoteURL_ == text)
        return;
    remoteURL_ = text;
    Q_EMIT remoteURLChanged();
}

void SyncConfigView::setAPIKey(QString const& text)
{
    if (apiKey_ == text)
        return;
    apiKey_ = text;
    Q_EMIT apiKeyChanged();
}

VerifyResponse const* SyncConfigView::response() const
{
    return verifyResult_ ? std::get_if<VerifyResponse>(&*verifyResult_) : nullptr;
}

QString SyncConfigView::connectedText() const
{
    auto const* reply = response();
    return reply ? toQt("Connected! WP " + reply->wp_version + ", Plugin v" + reply->plugin_version)
                 : QString();
}

QString SyncConfigView::failureText() const
{
    return hasFailed() ? toQt(std::get<std::string>(*verifyResult_)) : QString();
}

QString SyncConfigView::wordPressText() const
{
    auto const* reply = response();
    return reply ? toQt("WP " + reply->wp_version) : QString();
}

QString SyncConfigView::phpText() const
{
    auto const* reply = response();
    return reply ? toQt("PHP " + reply->php_version.value_or("?")) : QString();
}

QString SyncConfigView::pluginText() const
{
    auto const* reply = response();
    return reply ? toQt("v" + reply->plugin_version) : QString();
}

void SyncConfigView::setVerifying(bool isVerifying)
{
    if (isVerifying_ == isVerifying)
        return;
    isVerifying_ = isVerifying;
    Q_EMIT isVerifyingChanged();
}

void SyncConfigView::setVerifyResult(std::optional<VerifyResult> result)
{
    verifyResult_ = std::move(result);
    Q_EMIT verifyResultChanged();
}

}  // namespace harbor
