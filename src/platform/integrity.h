/* Cryptography for the key of the mesh (MESH_KEY). */
#ifndef VM1905_PLATFORM_INTEGRITY_H
#define VM1905_PLATFORM_INTEGRITY_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define PLATFORM_HMAC_LEN 32

/* Stores the HMAC-SHA-256 of len bytes of data under a key of keyLen bytes. 0 on success. May be
 * called before initNetCtrl. Optional: with a library that lacks it, the daemon refuses to start if
 * MESH_KEY is set. Called for every message that is sent or received then. */
int computeHmacSha256(const uint8_t* key, uint32_t keyLen, const uint8_t* data, uint32_t len,
                      uint8_t* hmac);

#ifdef __cplusplus
}
#endif
#endif
