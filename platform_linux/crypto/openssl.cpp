// The module libvmCrypto.so.
#include <openssl/bio.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <openssl/pem.h>

#include <algorithm>
#include <vector>

#include "crypto/crypto.h"

namespace {

// Frees what OpenSSL has made.
template <auto Free>
struct Freer {
    void operator()(auto* object) const { Free(object); }
};
using Key = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Freer<EVP_PKEY_CTX_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Freer<EVP_MD_CTX_free>>;
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, Freer<EVP_CIPHER_CTX_free>>;
using MacContext = std::unique_ptr<EVP_MAC_CTX, Freer<EVP_MAC_CTX_free>>;
using Text = std::unique_ptr<BIO, Freer<BIO_free>>;

const uint8_t* bytesOf(std::string_view text) {
    return reinterpret_cast<const uint8_t*>(text.data());
}

class OpensslSha256 : public Sha256 {
  public:
    bool start() {
        return context_ && EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) == 1;
    }
    bool add(Bytes bytes) override {
        return EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1;
    }
    bool finish(std::span<uint8_t, kSha256Size> out) override {
        return EVP_DigestFinal_ex(context_.get(), out.data(), nullptr) == 1;
    }

  private:
    DigestContext context_{EVP_MD_CTX_new()};
};

KeyContext dhContext() {
    return KeyContext(EVP_PKEY_CTX_new_from_name(nullptr, "DH", nullptr));
}

OSSL_PARAM groupParam() {
    static char group[] = "modp_1536";
    return OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, group, 0);
}

// A key of the group from its parameters.
Key importDh(int selection, OSSL_PARAM* parameters) {
    const KeyContext context = dhContext();
    EVP_PKEY* made = nullptr;
    if (!context || EVP_PKEY_fromdata_init(context.get()) != 1 ||
        EVP_PKEY_fromdata(context.get(), &made, selection, parameters) != 1) {
        return nullptr;
    }
    return Key(made);
}

Key publicDh(Bytes bytes) {
    OSSL_PARAM parameters[] = {groupParam(), OSSL_PARAM_construct_end()};
    Key key = importDh(EVP_PKEY_KEY_PARAMETERS, parameters);
    if (key && EVP_PKEY_set1_encoded_public_key(key.get(), bytes.data(), bytes.size()) != 1) {
        key.reset();
    }
    return key;
}

Key privateDh(Bytes bytes) {
    std::vector<uint8_t> number(bytes.begin(), bytes.end());
    if constexpr (std::endian::native == std::endian::little) std::ranges::reverse(number);
    OSSL_PARAM parameters[] = {
        groupParam(),
        OSSL_PARAM_construct_BN(OSSL_PKEY_PARAM_PRIV_KEY, number.data(), number.size()),
        OSSL_PARAM_construct_end()};
    return importDh(EVP_PKEY_KEYPAIR, parameters);
}

Key randomDh() {
    const KeyContext context = dhContext();
    const OSSL_PARAM parameters[] = {groupParam(), OSSL_PARAM_construct_end()};
    EVP_PKEY* made = nullptr;
    if (context && EVP_PKEY_keygen_init(context.get()) == 1 &&
        EVP_PKEY_CTX_set_params(context.get(), parameters) == 1) {
        (void)EVP_PKEY_generate(context.get(), &made);
    }
    return Key(made);
}

class OpensslDhKey : public DhKey {
  public:
    explicit OpensslDhKey(Key key) : key_(std::move(key)) {}

    bool publicKey(DhPublic& out) const override {
        // The encoded form is as long as the prime.
        size_t size = 0;
        return EVP_PKEY_get_octet_string_param(key_.get(), OSSL_PKEY_PARAM_ENCODED_PUBLIC_KEY,
                                               out.data(), out.size(), &size) == 1 &&
               size == out.size();
    }

    bool deriveSecret(Bytes peerPublic, Secret<kSha256Size>& out) const override {
        const Key peer = publicDh(peerPublic);
        const KeyContext context(EVP_PKEY_CTX_new_from_pkey(nullptr, key_.get(), nullptr));
        unsigned pad = 1;
        const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_uint(OSSL_EXCHANGE_PARAM_PAD, &pad),
                                         OSSL_PARAM_construct_end()};
        Secret<kDhSize> secret;
        size_t size = kDhSize;
        // set_peer also checks the peer's key.
        return peer && context && EVP_PKEY_derive_init_ex(context.get(), parameters) == 1 &&
               EVP_PKEY_derive_set_peer(context.get(), peer.get()) == 1 &&
               EVP_PKEY_derive(context.get(), secret.bytes.data(), &size) == 1 && size == kDhSize &&
               EVP_Q_digest(nullptr, "SHA256", nullptr, secret.bytes.data(), size, out.bytes.data(),
                            nullptr) == 1;
    }

  private:
    Key key_;
};

// Empty if it is none, or one of another kind than Ed25519.
Key signingKey(std::string_view pem) {
    const Text text(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    // Without this function an encrypted file would make OpenSSL ask for its password.
    const auto noPassword = [](char*, int, int, void*) { return -1; };
    Key key(text ? PEM_read_bio_PUBKEY(text.get(), nullptr, noPassword, nullptr) : nullptr);
    if (key && EVP_PKEY_is_a(key.get(), "ED25519") != 1) key.reset();
    return key;
}

class Openssl final : public Crypto {
  public:
    bool hmacSha256(Bytes key, Bytes data, uint8_t* out) const override {
        // Prepared once: to look up the algorithm takes longer than to compute a message.
        static const MacContext context = [] {
            EVP_MAC* const mac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
            MacContext made(mac == nullptr ? nullptr : EVP_MAC_CTX_new(mac));
            EVP_MAC_free(mac);
            char digest[] = "SHA256";
            const OSSL_PARAM parameters[] = {
                OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest, 0),
                OSSL_PARAM_construct_end()};
            if (made && EVP_MAC_CTX_set_params(made.get(), parameters) != 1) made.reset();
            return made;
        }();
        size_t size = 0;
        return context && EVP_MAC_init(context.get(), key.data(), key.size(), nullptr) == 1 &&
               EVP_MAC_update(context.get(), data.data(), data.size()) == 1 &&
               EVP_MAC_final(context.get(), out, &size, kSha256Size) == 1 && size == kSha256Size;
    }

    std::unique_ptr<Sha256> sha256() const override {
        auto made = std::make_unique<OpensslSha256>();
        if (!made->start()) made.reset();
        return made;
    }

    bool pbkdf2Sha256(Bytes text, Bytes salt, int rounds,
                      std::span<uint8_t, kSha256Size> out) const override {
        return PKCS5_PBKDF2_HMAC(reinterpret_cast<const char*>(text.data()),
                                 static_cast<int>(text.size()), salt.data(),
                                 static_cast<int>(salt.size()), rounds, EVP_sha256(), kSha256Size,
                                 out.data()) == 1;
    }

    std::unique_ptr<DhKey> dhKey(Bytes privateKey) const override {
        Key key = privateKey.empty() ? randomDh() : privateDh(privateKey);
        return key ? std::make_unique<OpensslDhKey>(std::move(key)) : nullptr;
    }

    size_t aesCbc(CipherRun run, std::span<const uint8_t, kAesSize> key,
                  std::span<const uint8_t, kAesSize> vector, Bytes in,
                  uint8_t* out) const override {
        const CipherContext context(EVP_CIPHER_CTX_new());
        int size = 0, rest = 0;
        const bool good =
            context &&
            EVP_CipherInit_ex2(context.get(), EVP_aes_128_cbc(), key.data(), vector.data(),
                               run == CipherRun::kEncrypt ? 1 : 0, nullptr) == 1 &&
            EVP_CipherUpdate(context.get(), out, &size, in.data(), static_cast<int>(in.size())) ==
                1 &&
            EVP_CipherFinal_ex(context.get(), out + size, &rest) == 1;
        return good ? static_cast<size_t>(size + rest) : 0;
    }

    bool isSigningKey(std::string_view pem) const override { return signingKey(pem) != nullptr; }

    bool hasSigned(std::string_view pem, std::string_view text,
                   std::string_view signature) const override {
        const Key key = signingKey(pem);
        const DigestContext context(EVP_MD_CTX_new());
        return key && context &&
               EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) == 1 &&
               EVP_DigestVerify(context.get(), bytesOf(signature), signature.size(), bytesOf(text),
                                text.size()) == 1;
    }
};

}  // namespace

extern "C" __attribute__((visibility("default"))) const Crypto* vm1905Crypto() {
    static const Openssl made;
    return &made;
}
