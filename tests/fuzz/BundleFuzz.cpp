#include "core/protocol/FileBundle.h"

#include <cstdlib>
#include <sys/mman.h>

using namespace harbor;

namespace {

/// A file in memory: a disk would not stand thousands a second.
File memoryFile() { return File::adopt(::memfd_create("twkb-fuzz", MFD_CLOEXEC), "memory"); }

std::string pathOf(File const& file) { return "/proc/self/fd/" + std::to_string(file.descriptor()); }

}  // namespace

// Whatever the bytes, reading a bundle ends, either clean or with a `BundleError`, and what it delivers lies
// within the file: never more data than there are bytes. The first byte chooses which entries are skipped.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const choice = size > 0 ? data[0] : 0;
    std::string_view const bytes(reinterpret_cast<char const*>(data) + (size > 0), size > 0 ? size - 1 : 0);
    auto bundle = memoryFile();
    bundle.write(bytes);

    try {
        BundleReader reader(pathOf(bundle), choice & 1 ? 1000 : UINT64_MAX);
        std::size_t delivered = 16;
        for (int index = 0; auto const entry = reader.nextEntry(); ++index) {
            delivered += 12 + entry->path.size() + (entry->sha256 ? 32 : 0);
            if (choice >> (1 + index % 7) & 1) {
                reader.skipEntryData(*entry);
                continue;
            }
            auto target = memoryFile();
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
