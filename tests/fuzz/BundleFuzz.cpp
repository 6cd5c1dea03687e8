#include "core/base/TemporaryFile.h"
#include "core/protocol/FileBundle.h"

#include <cstdlib>

using namespace harbor;

// Whatever the bytes, reading a bundle ends, either clean or with a `BundleError`, and what it delivers lies
// within the file: never more data than there are bytes. The first byte chooses which entries are skipped.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static TemporaryFile const bundle("twkb-fuzz-", ".bundle");
    static TemporaryFile const out("twkb-fuzz-", ".out");
    auto const choice = size > 0 ? data[0] : 0;
    std::string_view const bytes(reinterpret_cast<char const*>(data) + (size > 0), size > 0 ? size - 1 : 0);
    {
        auto file = File::createForWriting(bundle.path());
        file.write(bytes);
    }

    try {
        BundleReader reader(bundle.path(), choice & 1 ? 1000 : UINT64_MAX);
        std::size_t delivered = 16;
        for (int index = 0; auto const entry = reader.nextEntry(); ++index) {
            delivered += 12 + entry->path.size() + (entry->sha256 ? 32 : 0);
            if (choice >> (1 + index % 7) & 1) {
                reader.skipEntryData(*entry);
                continue;
            }
            auto target = File::createForWriting(out.path());
            reader.copyEntryData(*entry, target);
            delivered += entry->dataLen;
            if (static_cast<std::uint64_t>(target.size()) != entry->dataLen)
                std::abort();
        }
        if (delivered > bytes.size())
            std::abort();
    } catch (BundleError const&) {
        // The one way in which a malformed bundle may end.
    }
    return 0;
}
