#include "core/protocol/WireRecords.h"
#include "core/sync/SyncHistoryStore.h"

#include <cstdlib>

using namespace harbor;

namespace {

template <class Record>
std::optional<Record> decode(Json const& document)
{
    try {
        return JsonReader(document).as<Record>();
    } catch (JsonError const&) {
        return std::nullopt;
    }
}

/// What was read and can be written again reads back the same.
template <class Record>
void checkThereAndBack(Json const& document)
{
    auto const record = decode<Record>(document);
    if (!record)
        return;
    auto const written = toJson(*record);
    auto const again = decode<Record>(parseJson(compactJson(written)));
    if (!again || toJson(*again) != written)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Json document;
    try {
        document = parseJson({ reinterpret_cast<char const*>(data), size });
    } catch (JsonError const&) {
        return 0;
    }
    checkThereAndBack<VerifyResponse>(document);
    checkThereAndBack<ContentTypeInfo>(document);
    checkThereAndBack<ContentItemSummary>(document);
    checkThereAndBack<PostPayload>(document);
    checkThereAndBack<ContentImportResponse>(document);
    checkThereAndBack<SyncHistoryEntry>(document);
    checkThereAndBack<Site>(document);
    decode<FileChunkResponse>(document);
    decode<DatabaseImportResponse>(document);
    decode<FinalizeResponse>(document);
    decode<ArchiveApplyResponse>(document);
    decode<ContentTypesResponse>(document);
    decode<ContentListResponse>(document);
    return 0;
}
