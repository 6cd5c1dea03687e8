#include "core/base/RawDeflate.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <limits>

namespace harbor::rawDeflate {

namespace {

constexpr auto rawWindow = -MAX_WBITS;  // negative: no wrapper around the stream

/// Feeds all input through `step`, which is zlib's deflate or inflate, until the stream ends.
template <class Step>
std::optional<std::string> run(z_stream& stream, std::string_view bytes, Step step)
{
    std::string result;
    std::array<char, 65'536> block;
    for (;;) {
        // zlib counts input in 32 bits.
        auto const portion = std::min<std::size_t>(bytes.size(), std::numeric_limits<uInt>::max());
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
        stream.avail_in = static_cast<uInt>(portion);
        stream.next_out = reinterpret_cast<Bytef*>(block.data());
        stream.avail_out = block.size();
        auto const status = step(stream, portion == bytes.size());
        result.append(block.data(), block.size() - stream.avail_out);
        bytes.remove_prefix(portion - stream.avail_in);
        if (status == Z_STREAM_END)
            return result;
        // Nothing came and nothing is left to give: the stream was cut short.
        auto const stuck = bytes.empty() && stream.avail_out == block.size();
        if (stuck || (status != Z_OK && status != Z_BUF_ERROR))
            return std::nullopt;
    }
}

}  // namespace

std::optional<std::string> compress(std::string_view bytes)
{
    z_stream stream {};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, rawWindow, MAX_MEM_LEVEL, Z_DEFAULT_STRATEGY)
        != Z_OK)
        return std::nullopt;
    auto result = run(stream, bytes,
        [](z_stream& target, bool last) { return deflate(&target, last ? Z_FINISH : Z_NO_FLUSH); });
    deflateEnd(&stream);
    return result;
}

std::optional<std::string> decompress(std::string_view bytes)
{
    z_stream stream {};
    if (inflateInit2(&stream, rawWindow) != Z_OK)
        return std::nullopt;
    auto result = run(stream, bytes, [](z_stream& target, bool) { return inflate(&target, Z_NO_FLUSH); });
    inflateEnd(&stream);
    return result;
}

}  // namespace harbor::rawDeflate
