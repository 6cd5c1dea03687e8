#include "core/sync/DatabaseSync.h"

#include "core/base/FileSize.h"
#include "core/base/Interrupted.h"
#include "core/base/TemporaryFile.h"
#include "core/base/Unicode.h"
#include "core/base/WorkerPool.h"
#include "core/docker/DumpRewrite.h"
#include "core/sync/DumpCompression.h"

namespace harbor {

DatabaseSync::DatabaseSync(SyncClient& syncClient, SyncProgress& progress, std::stop_token stop)
    : syncClient_(syncClient)
    , docker_(DockerCLI::shared())
    , progress_(progress)
    , stop_(std::move(stop))
    , executor_(WorkerPool::makeSerialExecutor())
{
}

awaitable<void> DatabaseSync::pullDatabase(Site site, std::string remoteURL)
{
    return runOn(executor_, pull(std::move(site), std::move(remoteURL)));
}

awaitable<std::optional<std::string>> DatabaseSync::pushDatabase(Site site, std::string remoteURL)
{
    return runOn(executor_, push(std::move(site), std::move(remoteURL)));
}

awaitable<void> DatabaseSync::pull(Site site, std::string remoteURL)
{
    refuseEndlessPair(remoteURL, site.localURL());
    co_await enter(progress_, Phase::exportingDatabase);
    co_await log(progress_, "Downloading database from " + remoteURL + "...");
    auto sql = co_await syncClient_.exportDatabase("all");
    co_await log(progress_, "Downloaded " + fileSizeText(std::ssize(sql)));

    if (auto plain = co_await gunzipIfNeeded(sql))
        sql = std::move(*plain);
    if (sql.empty() || !unicode::isValidUtf8(sql))
        throw SyncError::decodingFailed("Empty or invalid SQL dump");
    co_await log(progress_, "Decompressed to " + fileSizeText(std::ssize(sql)));
    throwIfStopped(stop_);

    sql = co_await rewriteDumpURLs(progress_, std::move(sql), remoteURL, site.localURL());
    throwIfStopped(stop_);

    co_await enter(progress_, Phase::importingDatabase);
    co_await log(progress_, "Importing database into local site...");
    TemporaryFile const file("twkb-import-", ".sql");
    file.write(sql);
    co_await docker_.importSQL(site.siteDirectory(), site.composeProjectName(), file.path());
    co_await log(progress_, "Database import complete.");
}

awaitable<std::optional<std::string>> DatabaseSync::push(Site site, std::string remoteURL)
{
    refuseEndlessPair(site.localURL(), remoteURL);
    co_await enter(progress_, Phase::exportingDatabase);
    co_await log(progress_, "Exporting local database...");
    auto sql = co_await docker_.dumpDatabase(site.siteDirectory(), site.composeProjectName());
    co_await log(progress_, "Exported " + fileSizeText(std::ssize(sql)));
    throwIfStopped(stop_);

    sql = co_await rewriteDumpURLs(progress_, std::move(sql), site.localURL(), remoteURL);
    auto compressed = co_await gzipData(std::move(sql));
    if (!compressed)
        throw SyncError::connectionFailed("Failed to compress SQL dump");
    throwIfStopped(stop_);

    co_await enter(progress_, Phase::importingDatabase);
    co_await log(progress_, "Uploading database to " + remoteURL + "...");
    auto const reply = co_await syncClient_.importDatabase(std::move(*compressed), true);
    if (reply.backup_id)
        co_await log(progress_, "Remote backup created: " + *reply.backup_id);
    if (reply.rows_affected)
        co_await log(progress_, "Imported " + std::to_string(*reply.rows_affected) + " rows on remote.");
    co_await log(progress_, "Database push complete.");
    co_return reply.backup_id;
}

}  // namespace harbor
