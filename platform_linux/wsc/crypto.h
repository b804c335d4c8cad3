// The keys of Wi-Fi Simple Configuration that follow from a Diffie-Hellman secret, and what they
// protect.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <span>

#include "base/bytes.h"
#include "base/mac_addr.h"
#include "crypto/crypto.h"

inline constexpr size_t kWscNonceSize = 16;
inline constexpr size_t kWscTagSize = 8;  // of both authenticators

using WscNonce = std::array<uint8_t, kWscNonceSize>;
using WscTag = std::array<uint8_t, kWscTagSize>;
// The digest of the shared secret, from which the keys of an exchange are derived.
using DhSecret = Secret<kSha256Size>;

struct WscKeys {
    std::array<uint8_t, 32> auth{};
    std::array<uint8_t, 16> wrap{};
    ~WscKeys() {
        eraseSecret(auth);
        eraseSecret(wrap);
    }
};

// All functions that return bool return false if cryptography or random bytes are unavailable, or
// for the reason they name.

// Random bytes.
[[nodiscard]] bool fillRandom(std::span<uint8_t> out);

// A digest of a text from which its secrets can hardly be guessed.
[[nodiscard]] bool slowDigest(Bytes text, Bytes salt, std::span<uint8_t, kSha256Size> out);

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
