#include "api.h"
#include "crypto/crypto.h"

static_assert(PLATFORM_HMAC_LEN == kSha256Size);

extern "C" int computeHmacSha256(const uint8_t* key, uint32_t keyLen, const uint8_t* data,
                                 uint32_t len, uint8_t* hmac) {
    return crypto().hmacSha256({key, keyLen}, {data, len}, hmac) ? 0 : 1;
}
