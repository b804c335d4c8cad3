// The cryptography of Wi-Fi Simple Configuration: Diffie-Hellman in group 5 (1536 bits), the keys
// that follow from it, and what they protect.
#pragma once

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <array>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>

#include "base/bytes.h"
#include "base/mac_addr.h"

inline constexpr size_t kDhSize = 192;  // of public keys and shared secrets, with leading zeros
inline constexpr size_t kWscNonceSize = 16;
inline constexpr size_t kWscTagSize = 8;      // of both authenticators
inline constexpr size_t kWscBlockSize = 16;   // of the cipher
inline constexpr size_t kWscDigestSize = 32;  // of SHA-256

using WscNonce = std::array<uint8_t, kWscNonceSize>;
using WscTag = std::array<uint8_t, kWscTagSize>;
using DhPublic = std::array<uint8_t, kDhSize>;

struct FreeKey {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }  // also erases it
};
using DhKey = std::unique_ptr<EVP_PKEY, FreeKey>;

// The digest of the shared secret, from which the keys of an exchange are derived.
struct DhSecret {
    std::array<uint8_t, kWscDigestSize> bytes{};
    ~DhSecret() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
};

struct WscKeys {
    std::array<uint8_t, 32> auth{};
    std::array<uint8_t, 16> wrap{};
    ~WscKeys() { OPENSSL_cleanse(this, sizeof *this); }
};

// All functions that return bool return false if OpenSSL fails, or for the reason they name.

// Random bytes.
[[nodiscard]] bool fillRandom(std::span<uint8_t> out);

// A new pair of keys; empty if OpenSSL fails.
DhKey makeDhKey();
[[nodiscard]] bool publicKeyOf(const DhKey& key, DhPublic& out);
// False for a public key that is no element of the group.
[[nodiscard]] bool deriveSecret(const DhKey& own, Bytes peerPublic, DhSecret& out);

// A digest of a text from which its secrets can hardly be guessed.
[[nodiscard]] bool slowDigest(Bytes text, Bytes salt, std::span<uint8_t, kWscDigestSize> out);

// The keys of the exchange with these nonces. The MAC address is the one in the M1.
[[nodiscard]] bool deriveKeys(const DhSecret& secret, const WscNonce& enrollee, const MacAddr& mac,
                              const WscNonce& registrar, WscKeys& out);

// The first bytes of the HMAC-SHA-256 of these parts. They have at most 4096 bytes together.
[[nodiscard]] bool authenticate(const WscKeys& keys, std::initializer_list<Bytes> parts,
                                WscTag& tag);
// Compares without revealing by its duration where they differ.
bool isSame(Bytes a, Bytes b);

// AES-128-CBC with a random initialization vector in front. Both return the size of the result, 0
// if they fail: the buffer is too small, or the text was not encrypted with this key.
size_t encryptWsc(const WscKeys& keys, Bytes plain, std::span<uint8_t> out);
size_t decryptWsc(const WscKeys& keys, Bytes encrypted, std::span<uint8_t> out);
