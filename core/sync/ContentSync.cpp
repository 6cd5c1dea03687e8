#include "core/sync/ContentSync.h"

#include "core/docker/DumpRewrite.h"
#include "core/rewrite/SearchReplace.h"

#include <array>

namespace harbor {

namespace {

constexpr std::array rewrittenColumns { "post_content", "post_excerpt", "post_content_filtered", "guid",
    "to_ping", "pinged" };

}  // namespace

ContentSync::ContentSync(Site site, std::string remoteURL, SyncClient& client)
    : site_(std::move(site))
    , remoteURL_(std::move(remoteURL))
    , client_(client)
    , localStore_(site_)
{
}

awaitable<std::vector<ContentTypeInfo>> ContentSync::localContentTypes()
{
    co_return co_await localStore_.listContentTypes();
}

awaitable<std::vector<ContentTypeInfo>> ContentSync::remoteContentTypes()
{
    auto reply = co_await client_.fetchContentTypes();
    co_return std::move(reply.types);
}

awaitable<std::vector<ContentItemSummary>> ContentSync::localContentItems(std::string type)
{
    co_return co_await localStore_.listContentItems(std::move(type), localPageSize);
}

awaitable<std::vector<ContentItemSummary>> ContentSync::remoteContentItems(std::string type)
{
    auto reply = co_await client_.fetchContentList(std::move(type), 1, remotePageSize);
    co_return std::move(reply.items);
}

awaitable<ContentImportResponse> ContentSync::pushItem(std::int64_t id, bool backup)
{
    refuseEndlessPair(site_.localURL(), remoteURL_);
    auto payload = co_await localStore_.readContentItem(id);
    payload = rewritePayload(std::move(payload), site_.localURL(), remoteURL_);
    co_return co_await client_.importContentItem(std::move(payload), backup);
}

awaitable<void> ContentSync::pullItem(std::int64_t id)
{
    auto payload = co_await client_.fetchContentItem(id);
    auto const from = payload.site_url.empty() ? remoteURL_ : payload.site_url;
    refuseEndlessPair(from, site_.localURL());
    payload = rewritePayload(std::move(payload), from, site_.localURL());
    co_await localStore_.upsertContentItem(std::move(payload));
}

PostPayload ContentSync::rewritePayload(PostPayload payload, std::string const& from, std::string const& to)
{
    for (auto const* column : rewrittenColumns) {
        auto const found = payload.post.find(column);
        // A value without "//" holds no address of either form.
        if (found != payload.post.end() && found->second.find("//") != std::string::npos)
            found->second = SearchReplace::rewriteValue(found->second, from, to);
    }
    for (auto& entry : payload.meta)
        entry.value = SearchReplace::rewriteValue(entry.value, from, to);
    return payload;
}

}  // namespace harbor
