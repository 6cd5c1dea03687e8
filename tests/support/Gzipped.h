#pragma once

#include <zlib.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace harbor {

/// The bytes as a gzip stream.
inline std::string gzipped(std::string_view bytes)
{
    constexpr auto gzipWrapper = 16 + MAX_WBITS;
    z_stream stream {};
    if (deflateInit2(
            &stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzipWrapper, MAX_MEM_LEVEL, Z_DEFAULT_STRATEGY)
        != Z_OK)
        throw std::runtime_error("zlib gives no compressor.");
    std::string result(deflateBound(&stream, bytes.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}

}  // namespace harbor
