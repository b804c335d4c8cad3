#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include <memory>

#include "api.h"

namespace {

using Context = std::unique_ptr<EVP_MAC_CTX, decltype(&EVP_MAC_CTX_free)>;

// Prepared once: to look up the algorithm takes longer than to compute a message.
EVP_MAC_CTX* hmacContext() {
    static const Context context = [] {
        EVP_MAC* const mac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
        Context made(mac == nullptr ? nullptr : EVP_MAC_CTX_new(mac), EVP_MAC_CTX_free);
        EVP_MAC_free(mac);
        char digest[] = "SHA256";
        const OSSL_PARAM parameters[] = {
            OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest, 0),
            OSSL_PARAM_construct_end()};
        if (made && EVP_MAC_CTX_set_params(made.get(), parameters) != 1) made.reset();
        return made;
    }();
    return context.get();
}

}  // namespace

extern "C" int computeHmacSha256(const uint8_t* key, uint32_t keyLen, const uint8_t* data,
                                 uint32_t len, uint8_t* hmac) {
    EVP_MAC_CTX* const context = hmacContext();
    size_t size = 0;
    return context != nullptr && EVP_MAC_init(context, key, keyLen, nullptr) == 1 &&
                   EVP_MAC_update(context, data, len) == 1 &&
                   EVP_MAC_final(context, hmac, &size, PLATFORM_HMAC_LEN) == 1 &&
                   size == PLATFORM_HMAC_LEN
               ? 0
               : 1;
}
