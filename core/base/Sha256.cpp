#include "core/base/Sha256.h"

#include "core/base/ASCII.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <limits>
#include <new>
#include <stdexcept>

namespace harbor {

namespace {

/// Looked up once: finding an algorithm costs more than hashing a small file.
EVP_MD const* algorithm()
{
    static EVP_MD const* const sha256 = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return sha256;
}

void check(int outcome)
{
    if (outcome != 1)
        throw std::runtime_error("SHA-256 is not available.");
}

}  // namespace

void Sha256::Free::operator()(evp_md_ctx_st* context) const { EVP_MD_CTX_free(context); }

Sha256::Sha256()
    : context_(EVP_MD_CTX_new())
{
    if (!context_)
        throw std::bad_alloc();
    check(EVP_DigestInit_ex2(context_.get(), algorithm(), nullptr));
}

void Sha256::update(std::string_view bytes)
{
    check(EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()));
}

Sha256::Digest Sha256::digest()
{
    Digest result;
    check(EVP_DigestFinal_ex(context_.get(), result.data(), nullptr));
    return result;
}

std::string Sha256::hexDigest() { return hexText(digest()); }

std::string hexText(Sha256::Digest const& digest)
{
    static constexpr auto digits = "0123456789abcdef";
    std::string result;
    result.reserve(2 * digest.size());
    for (auto const byte : digest) {
        result += digits[byte >> 4];
        result += digits[byte & 15];
    }
    return result;
}

std::optional<Sha256::Digest> parseHexDigest(std::string_view text)
{
    Sha256::Digest result;
    if (text.size() != 2 * result.size())
        return std::nullopt;
    for (std::size_t i = 0; i < result.size(); ++i) {
        auto const high = ascii::hexDigitValue(text[2 * i]);
        auto const low = ascii::hexDigitValue(text[2 * i + 1]);
        if (!high || !low)
            return std::nullopt;
        result[i] = static_cast<std::uint8_t>(*high * 16 + *low);
    }
    return result;
}

std::string sha256Hex(std::string_view bytes)
{
    Sha256 sha256;
    sha256.update(bytes);
    return sha256.hexDigest();
}

std::string hmacSha256Hex(std::string_view key, std::string_view message)
{
    if (key.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::length_error("The key is too long.");
    Sha256::Digest result;
    auto const* const outcome = HMAC(algorithm(), key.empty() ? "" : key.data(), static_cast<int>(key.size()),
        reinterpret_cast<unsigned char const*>(message.data()), message.size(), result.data(), nullptr);
    check(outcome ? 1 : 0);
    return hexText(result);
}

}  // namespace harbor
