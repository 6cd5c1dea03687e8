#include "core/sync/SipHash.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>

#include <memory>
#include <stdexcept>

namespace harbor {

std::uint64_t sipHash13(std::array<std::byte, 16> const& key, std::string_view bytes)
{
    static EVP_MAC* const algorithm = EVP_MAC_fetch(nullptr, "SIPHASH", nullptr);
    auto const free = [](EVP_MAC_CTX* context) { EVP_MAC_CTX_free(context); };
    std::unique_ptr<EVP_MAC_CTX, decltype(free)> const context(EVP_MAC_CTX_new(algorithm), free);

    std::array<unsigned char, 8> result {};
    std::size_t size = result.size();
    unsigned roundsForWord = 1;
    unsigned roundsAtEnd = 3;
    std::array const parameters { OSSL_PARAM_construct_size_t(OSSL_MAC_PARAM_SIZE, &size),
        OSSL_PARAM_construct_uint(OSSL_MAC_PARAM_C_ROUNDS, &roundsForWord),
        OSSL_PARAM_construct_uint(OSSL_MAC_PARAM_D_ROUNDS, &roundsAtEnd), OSSL_PARAM_construct_end() };
    auto const done = context
        && EVP_MAC_init(
            context.get(), reinterpret_cast<unsigned char const*>(key.data()), key.size(), parameters.data())
        && EVP_MAC_update(context.get(), reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size())
        && EVP_MAC_final(context.get(), result.data(), &size, result.size());
    if (!done)
        throw std::runtime_error("SipHash is not available.");

    std::uint64_t number = 0;
    for (std::size_t i = 0; i < result.size(); ++i)
        number |= std::uint64_t { result[i] } << (8 * i);
    return number;
}

}  // namespace harbor
