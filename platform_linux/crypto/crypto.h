// The cryptography that the library needs. Whatever links libcrypto has 400 kB of memory less, so
// only a module does, libvmCrypto.so, which is loaded when something is first asked of it.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "base/bytes.h"
#include "common/secret.h"

inline constexpr size_t kSha256Size = 32;
inline constexpr size_t kDhSize = 192;  // of public keys and shared secrets, with leading zeros
inline constexpr size_t kAesSize = 16;  // of a block and of a key

using DhPublic = std::array<uint8_t, kDhSize>;

// A secret of N bytes.
template <size_t N>
struct Secret {
    std::array<uint8_t, N> bytes{};
    ~Secret() { eraseSecret(bytes); }
};

// The SHA-256 of what is added.
class Sha256 {
  public:
    virtual ~Sha256() = default;
    [[nodiscard]] virtual bool add(Bytes bytes) = 0;
    // Call it once.
    [[nodiscard]] virtual bool finish(std::span<uint8_t, kSha256Size> out) = 0;
};

// A pair of keys of Diffie-Hellman group 5 (1536 bits).
class DhKey {
  public:
    virtual ~DhKey() = default;  // erases it
    [[nodiscard]] virtual bool publicKey(DhPublic& out) const = 0;
    // The SHA-256 of the secret that is shared with the owner of that public key. False if this is
    // no element of the group.
    [[nodiscard]] virtual bool deriveSecret(Bytes peerPublic, Secret<kSha256Size>& out) const = 0;
};

enum class CipherRun { kEncrypt, kDecrypt };

// Without the module everything fails: results are false, 0 or nullptr.
class Crypto {
  public:
    virtual ~Crypto() = default;
    [[nodiscard]] virtual bool hmacSha256(Bytes /*key*/, Bytes /*data*/, uint8_t* /*out*/) const {
        return false;
    }
    virtual std::unique_ptr<Sha256> sha256() const { return nullptr; }
    [[nodiscard]] virtual bool pbkdf2Sha256(Bytes /*text*/, Bytes /*salt*/, int /*rounds*/,
                                            std::span<uint8_t, kSha256Size> /*out*/) const {
        return false;
    }
    // With that private key, or a random one if it is empty.
    virtual std::unique_ptr<DhKey> dhKey(Bytes /*privateKey*/ = {}) const { return nullptr; }
    // AES-128-CBC with padding. Returns the size of the result. The output has room for the input
    // and one more block.
    virtual size_t aesCbc(CipherRun /*run*/, std::span<const uint8_t, kAesSize> /*key*/,
                          std::span<const uint8_t, kAesSize> /*vector*/, Bytes /*in*/,
                          uint8_t* /*out*/) const {
        return 0;
    }
    // Whether a text in PEM is an Ed25519 public key, and whether that key has signed a text.
    virtual bool isSigningKey(std::string_view /*pem*/) const { return false; }
    virtual bool hasSigned(std::string_view /*pem*/, std::string_view /*text*/,
                           std::string_view /*signature*/) const {
        return false;
    }
};

// Loads the module if that has not been tried. A failure is logged at level 1.
const Crypto& crypto();

// What the module exports: a function of this name and type.
inline constexpr const char* kCryptoEntry = "vm1905Crypto";
using CryptoEntry = const Crypto* (*)();
