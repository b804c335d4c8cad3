#include "wsc/crypto.h"

#include <sys/random.h>

#include <algorithm>
#include <string_view>

#include "wsc/attributes.h"

namespace {

using Digest = std::array<uint8_t, kSha256Size>;

// HMAC-SHA-256 of the concatenated parts.
bool hmacOf(Bytes key, std::initializer_list<Bytes> parts, Digest& out) {
    WscField<4096> all;
    ByteWriter writer(all.buffer());
    for (const Bytes part : parts) writer.bytes(part);
    return writer.ok() &&
           crypto().hmacSha256(key, Bytes(all.buffer()).first(writer.position()), out.data());
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
    eraseSecret(digest);
    return good;
}

}  // namespace

bool fillRandom(std::span<uint8_t> out) {
    // Up to 256 bytes are never cut short.
    return getrandom(out.data(), out.size(), 0) == static_cast<ssize_t>(out.size());
}

bool slowDigest(Bytes text, Bytes salt, std::span<uint8_t, kSha256Size> out) {
    constexpr int kRounds = 1000;
    return crypto().pbkdf2Sha256(text, salt, kRounds, out);
}

bool deriveKeys(const DhSecret& secret, const WscNonce& enrollee, const MacAddr& mac,
                const WscNonce& registrar, WscKeys& out) {
    Digest kdk{};
    WscField<80> all;  // the protocol derives one more key, which is not used here
    const bool good =
        hmacOf(secret.bytes, {enrollee, mac.b, registrar}, kdk) && expand(kdk, all.buffer());
    eraseSecret(kdk);
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
    if (a.size() != b.size()) return false;
    unsigned difference = 0;
    for (size_t i = 0; i < a.size(); i++) difference |= a[i] ^ b[i];
    return difference == 0;
}

size_t encryptWsc(const WscKeys& keys, Bytes plain, std::span<uint8_t> out) {
    const size_t needed = kAesSize + (plain.size() / kAesSize + 1) * kAesSize;
    if (out.size() < needed || !fillRandom(out.first(kAesSize))) return 0;
    const size_t size = crypto().aesCbc(CipherRun::kEncrypt, keys.wrap, out.first<kAesSize>(),
                                        plain, &out[kAesSize]);
    return size == 0 ? 0 : kAesSize + size;
}

size_t decryptWsc(const WscKeys& keys, Bytes encrypted, std::span<uint8_t> out) {
    // Before the padding is removed, the result has the size of what was encrypted.
    if (encrypted.size() < 2 * kAesSize || encrypted.size() % kAesSize != 0 ||
        out.size() < encrypted.size() - kAesSize) {
        return 0;
    }
    return crypto().aesCbc(CipherRun::kDecrypt, keys.wrap, encrypted.first<kAesSize>(),
                           encrypted.subspan(kAesSize), out.data());
}
