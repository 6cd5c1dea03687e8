#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace harbor {

/// SHA-256 (FIPS 180-4) over bytes that come piece by piece.
class Sha256 {
public:
    using Digest = std::array<std::uint8_t, 32>;

    Sha256();
    void update(std::string_view bytes);
    /// Ends the calculation; nothing may follow but another object.
    Digest digest();
    /// The same as 64 lower-case hexadecimal digits.
    std::string hexDigest();

private:
    struct Free {
        void operator()(evp_md_ctx_st* context) const;
    };
    std::unique_ptr<evp_md_ctx_st, Free> context_;
};

/// 64 lower-case hexadecimal digits.
std::string hexText(Sha256::Digest const& digest);

/// Reads exactly 64 hexadecimal digits of either case, or gives nothing.
std::optional<Sha256::Digest> parseHexDigest(std::string_view text);

/// SHA-256 of `bytes` as 64 lower-case hexadecimal digits.
std::string sha256Hex(std::string_view bytes);

/// HMAC-SHA256 (RFC 2104) as 64 lower-case hexadecimal digits. Any key will do, the empty one included.
std::string hmacSha256Hex(std::string_view key, std::string_view message);

}  // namespace harbor
