#include "wsc/crypto.h"

#include <openssl/core_names.h>
#include <openssl/params.h>
#include <openssl/rand.h>

#include <algorithm>
#include <string_view>

#include "platform/integrity.h"
#include "wsc/attributes.h"

namespace {

constexpr std::string_view kGroup = "modp_1536";

using KeyContext = std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)>;
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;
using Digest = std::array<uint8_t, PLATFORM_HMAC_LEN>;

KeyContext dhContext() {
    return {EVP_PKEY_CTX_new_from_name(nullptr, "DH", nullptr), EVP_PKEY_CTX_free};
}

OSSL_PARAM groupParam() {
    return OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME,
                                            const_cast<char*>(kGroup.data()), kGroup.size());
}

// A key of the group with this public part.
DhKey importPublic(Bytes bytes) {
    DhKey key;
    const KeyContext context = dhContext();
    OSSL_PARAM parameters[] = {groupParam(), OSSL_PARAM_construct_end()};
    if (!context || EVP_PKEY_fromdata_init(context.get()) != 1) return key;
    EVP_PKEY* made = nullptr;
    const int result = EVP_PKEY_fromdata(context.get(), &made, EVP_PKEY_KEY_PARAMETERS, parameters);
    key.reset(made);
    if (result != 1 || EVP_PKEY_set1_encoded_public_key(made, bytes.data(), bytes.size()) != 1) {
        key.reset();
    }
    return key;
}

// HMAC-SHA-256 of the concatenated parts.
bool hmacOf(Bytes key, std::initializer_list<Bytes> parts, Digest& out) {
    WscField<4096> all;
    ByteWriter writer(all.buffer());
    for (const Bytes part : parts) writer.bytes(part);
    return writer.ok() &&
           computeHmacSha256(key.data(), static_cast<uint32_t>(key.size()), all.buffer().data(),
                             static_cast<uint32_t>(writer.position()), out.data()) == 0;
}

// Fills out with HMACs over a counter, the label and the number of bits.
bool expand(Bytes key, std::span<uint8_t> out) {
    constexpr std::string_view kLabel = "Wi-Fi Easy and Secure Key Derivation";
    std::array<uint8_t, 4> counter{}, bits{};
    ByteWriter(bits).u32(static_cast<uint32_t>(out.size() * 8));
    Digest digest{};
    bool good = true;
    for (uint32_t i = 1; good && !out.empty(); i++) {
        ByteWriter(counter).u32(i);
        good = hmacOf(key, {counter, wscBytes(kLabel), bits}, digest);
        const size_t n = std::min(out.size(), digest.size());
        std::copy_n(digest.begin(), n, out.begin());
        out = out.subspan(n);
    }
    OPENSSL_cleanse(digest.data(), digest.size());
    return good;
}

enum class Direction { kEncrypt, kDecrypt };

size_t runCipher(Direction direction, const WscKeys& keys, Bytes vector, Bytes in, uint8_t* out) {
    const CipherContext context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    int size = 0, rest = 0;
    const bool good =
        context &&
        EVP_CipherInit_ex2(context.get(), EVP_aes_128_cbc(), keys.wrap.data(), vector.data(),
                           direction == Direction::kEncrypt ? 1 : 0, nullptr) == 1 &&
        EVP_CipherUpdate(context.get(), out, &size, in.data(), static_cast<int>(in.size())) == 1 &&
        EVP_CipherFinal_ex(context.get(), out + size, &rest) == 1;
    return good ? static_cast<size_t>(size + rest) : 0;
}

}  // namespace

bool fillRandom(std::span<uint8_t> out) {
    return RAND_bytes(out.data(), static_cast<int>(out.size())) == 1;
}

DhKey makeDhKey() {
    const KeyContext context = dhContext();
    const OSSL_PARAM parameters[] = {groupParam(), OSSL_PARAM_construct_end()};
    EVP_PKEY* made = nullptr;
    if (context && EVP_PKEY_keygen_init(context.get()) == 1 &&
        EVP_PKEY_CTX_set_params(context.get(), parameters) == 1) {
        (void)EVP_PKEY_generate(context.get(), &made);
    }
    return DhKey(made);
}

bool publicKeyOf(const DhKey& key, DhPublic& out) {
    // The encoded form is as long as the prime.
    size_t size = 0;
    return EVP_PKEY_get_octet_string_param(key.get(), OSSL_PKEY_PARAM_ENCODED_PUBLIC_KEY,
                                           out.data(), out.size(), &size) == 1 &&
           size == out.size();
}

bool deriveSecret(const DhKey& own, Bytes peerPublic, DhSecret& out) {
    const DhKey peer = importPublic(peerPublic);
    const KeyContext context(
        own ? EVP_PKEY_CTX_new_from_pkey(nullptr, own.get(), nullptr) : nullptr, EVP_PKEY_CTX_free);
    unsigned pad = 1;
    const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_uint(OSSL_EXCHANGE_PARAM_PAD, &pad),
                                     OSSL_PARAM_construct_end()};
    WscField<kDhSize> secret;
    size_t size = kDhSize;
    // set_peer also checks the peer's key.
    return peer && context && EVP_PKEY_derive_init_ex(context.get(), parameters) == 1 &&
           EVP_PKEY_derive_set_peer(context.get(), peer.get()) == 1 &&
           EVP_PKEY_derive(context.get(), secret.buffer().data(), &size) == 1 && size == kDhSize &&
           EVP_Q_digest(nullptr, "SHA256", nullptr, secret.buffer().data(), size, out.bytes.data(),
                        nullptr) == 1;
}

bool slowDigest(Bytes text, Bytes salt, std::span<uint8_t, kWscDigestSize> out) {
    constexpr int kRounds = 1000;
    return PKCS5_PBKDF2_HMAC(reinterpret_cast<const char*>(text.data()),
                             static_cast<int>(text.size()), salt.data(),
                             static_cast<int>(salt.size()), kRounds, EVP_sha256(), kWscDigestSize,
                             out.data()) == 1;
}

bool deriveKeys(const DhSecret& secret, const WscNonce& enrollee, const MacAddr& mac,
                const WscNonce& registrar, WscKeys& out) {
    Digest kdk{};
    WscField<80> all;  // the protocol derives one more key, which is not used here
    const bool good =
        hmacOf(secret.bytes, {enrollee, mac.b, registrar}, kdk) && expand(kdk, all.buffer());
    OPENSSL_cleanse(kdk.data(), kdk.size());
    ByteReader reader(all.buffer());
    std::ranges::copy(reader.take(out.auth.size()), out.auth.begin());
    std::ranges::copy(reader.take(out.wrap.size()), out.wrap.begin());
    return good;
}

bool authenticate(const WscKeys& keys, std::initializer_list<Bytes> parts, WscTag& tag) {
    Digest digest{};
    const bool good = hmacOf(keys.auth, parts, digest);
    std::copy_n(digest.begin(), tag.size(), tag.begin());
    return good;
}

bool isSame(Bytes a, Bytes b) {
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

size_t encryptWsc(const WscKeys& keys, Bytes plain, std::span<uint8_t> out) {
    const size_t needed = kWscBlockSize + (plain.size() / kWscBlockSize + 1) * kWscBlockSize;
    if (out.size() < needed || !fillRandom(out.first(kWscBlockSize))) return 0;
    const size_t size =
        runCipher(Direction::kEncrypt, keys, out.first(kWscBlockSize), plain, &out[kWscBlockSize]);
    return size == 0 ? 0 : kWscBlockSize + size;
}

size_t decryptWsc(const WscKeys& keys, Bytes encrypted, std::span<uint8_t> out) {
    // Before the padding is removed, the result has the size of what was encrypted.
    if (encrypted.size() < 2 * kWscBlockSize || encrypted.size() % kWscBlockSize != 0 ||
        out.size() < encrypted.size() - kWscBlockSize) {
        return 0;
    }
    return runCipher(Direction::kDecrypt, keys, encrypted.first(kWscBlockSize),
                     encrypted.subspan(kWscBlockSize), out.data());
}
