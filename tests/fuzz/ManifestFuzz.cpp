#include "core/protocol/WireRecords.h"

#include <cstdlib>

namespace harbor {

static void readJson(JsonReader const& reader, ManifestFile& result)
{
    result.path = reader.required<std::string>("path");
    result.hash = reader.required<std::string>("hash");
    result.size = reader.required<std::int64_t>("size");
    result.modified = reader.required<std::int64_t>("modified");
}

}  // namespace harbor

using namespace harbor;

namespace {

std::optional<std::vector<ManifestFile>> fast(std::string const& json)
{
    try {
        return decodeManifestFiles(json);
    } catch (JsonError const&) {
        return std::nullopt;
    }
}

std::optional<std::vector<ManifestFile>> slow(std::string const& json)
{
    try {
        auto const document = parseJson(json);
        return JsonReader(document).as<std::vector<ManifestFile>>();
    } catch (JsonError const&) {
        return std::nullopt;
    }
}

}  // namespace

// The fast decoder of manifests accepts and refuses what the reader of all other records does, with the same
// values.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const json(reinterpret_cast<char const*>(data), size);
    if (fast(json) != slow(json))
        std::abort();
    try {
        decodeManifest(json);
    } catch (JsonError const&) {
        // The one way in which a malformed manifest may end.
    }
    return 0;
}
