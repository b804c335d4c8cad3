#include "wsc/exchange.h"

#include <algorithm>

namespace {

constexpr uint8_t kVersion1 = 0x10;
constexpr std::array<uint8_t, 6> kVersion2 = {0x00, 0x37, 0x2A, 0x00, 0x01, 0x20};
constexpr std::array<uint8_t, 3> kOwnVendor = {0x0A, 0x3C, 0x71};
constexpr uint8_t kOwnBand = 1;  // item of our extension
constexpr std::array<uint8_t, 8> kAccessPoint = {0x00, 0x06, 0x00, 0x50, 0xF2, 0x04, 0x00, 0x01};

constexpr uint32_t kPushButton = 0x0280;  // method: a button in software
constexpr uint32_t kPasswordIdPushButton = 4;
constexpr uint32_t kEss = 1;
constexpr uint32_t kNotConfigured = 1;
constexpr size_t kMaxName = 32;

using Uuid = std::array<uint8_t, 16>;

// One for each device, of the form of a random one.
Uuid uuidOf(const MacAddr& alMac) {
    Uuid uuid = {0x76, 0x6D, 0x31, 0x39, 0x30, 0x35, 0x40, 0x00, 0x80, 0x00};
    std::ranges::copy(alMac.b, uuid.begin() + 10);
    return uuid;
}

// The attributes that M1 and M2 have in common, from the types to the end of the description.
void writeCapabilities(WscWriter& out) {
    out.u16(kAttrAuthTypeFlags, kAuthKnown)
        .u16(kAttrEncryptionTypeFlags, kEncryptNone | kEncryptAes)
        .u8(kAttrConnectionTypeFlags, kEss)
        .u16(kAttrConfigMethods, kPushButton);
}

void writeDescription(WscWriter& out, const WscDevice& own, uint8_t rfBand) {
    out.text(kAttrManufacturer, "vm1905")
        .text(kAttrModelName, "vm1905")
        .text(kAttrModelNumber, "1")
        .text(kAttrSerialNumber, macText(own.alMac))
        .bytes(kAttrPrimaryDeviceType, kAccessPoint)
        .text(kAttrDeviceName, own.name.substr(0, kMaxName))
        .u8(kAttrRfBands, rfBand)
        .u16(kAttrAssociationState, 0)
        .u16(kAttrDevicePasswordId, kPasswordIdPushButton)
        .u16(kAttrConfigurationError, 0)
        .u32(kAttrOsVersion, 0x80000000);
}

void writeExtensions(WscWriter& out, std::initializer_list<uint8_t> place) {
    std::array<uint8_t, 8> own{};
    ByteWriter writer(own);
    writer.bytes(kOwnVendor).u8(kOwnBand).u8(static_cast<uint32_t>(place.size()));
    for (const uint8_t value : place) writer.u8(value);
    out.bytes(kAttrVendorExtension, kVersion2)
        .bytes(kAttrVendorExtension, Bytes(own).first(writer.position()));
}

// The values of our extension; empty without it.
Bytes ownExtension(const WscReader& reader) {
    const auto extension = reader.vendorExtension(kOwnVendor);
    if (!extension) return {};
    ByteReader items(*extension);
    while (items.ok() && items.left() > 0) {
        const uint8_t item = items.u8();
        const Bytes value = items.take(items.u8());
        if (item == kOwnBand) return value;
    }
    return {};
}

const WifiBand* bandWith(uint8_t rfBands) {
    const auto* at = std::ranges::find_if(
        kWifiBandTable, [rfBands](const WifiBand& band) { return band.rfBand == rfBands; });
    return at != std::end(kWifiBandTable) ? at : nullptr;
}

bool isNew(const WscEnrollee& session, const WscNonce& nonce) {
    const auto heard = std::span(session.heard).first(session.heardNum);
    return std::ranges::find(heard, nonce) == heard.end();
}

// Checks the tag at the end of the settings and reads what is before it.
WscRefusal openSettings(const WscKeys& keys, Bytes encrypted, WifiNetwork& network) {
    WscFrame plain;
    plain.resize(decryptWsc(keys, encrypted, plain.buffer()));
    if (plain.empty()) return "its settings cannot be decrypted";
    WscReader reader(plain.view());
    const auto expected = reader.array<kWscTagSize>(kAttrKeyWrapAuthenticator);
    const Bytes settings = reader.before(kAttrKeyWrapAuthenticator, kWscTagSize);
    if (!reader.ok()) return reader.flaw();
    WscTag tag{};
    if (!authenticate(keys, {settings}, tag) || !isSame(tag, expected)) {
        return "the key wrap authenticator is wrong";
    }
    return readSettings(settings, network);
}

// The settings with their tag.
bool writeSettings(WscWriter& out, const WscKeys& keys, const WifiNetwork& network,
                   const MacAddr& mac) {
    out.bytes(kAttrSsid, network.ssid.view())
        .u16(kAttrAuthType, network.auth)
        .u16(kAttrEncryptionType, network.key.empty() ? kEncryptNone : kEncryptAes)
        .bytes(kAttrNetworkKey, network.key.view())
        .bytes(kAttrMacAddress, mac.b);
    WscTag tag{};
    if (!out.ok() || !authenticate(keys, {out.written()}, tag)) return false;
    return out.bytes(kAttrKeyWrapAuthenticator, tag).ok();
}

}  // namespace

WscMessage wscMessageOf(Bytes frame) {
    WscReader reader(frame);
    const uint8_t type = reader.u8(kAttrMessageType);
    if (type == static_cast<uint8_t>(WscMessage::kM1)) return WscMessage::kM1;
    return type == static_cast<uint8_t>(WscMessage::kM2) ? WscMessage::kM2 : WscMessage::kNone;
}

WscNonce enrolleeNonceOf(Bytes frame) {
    return WscReader(frame).array<kWscNonceSize>(kAttrEnrolleeNonce);
}

bool startWsc(WscEnrollee& session, const WifiBand& band, const WscDevice& own) {
    session.band = &band;
    session.alMac = own.alMac;
    session.key = crypto().dhKey();
    session.heardNum = 0;
    DhPublic publicKey{};
    if (!session.key || !session.key->publicKey(publicKey) || !fillRandom(session.nonce)) {
        return false;
    }
    WscWriter out(session.m1.buffer());
    out.u8(kAttrVersion, kVersion1)
        .u8(kAttrMessageType, static_cast<uint32_t>(WscMessage::kM1))
        .bytes(kAttrUuidE, uuidOf(own.alMac))
        .bytes(kAttrMacAddress, own.alMac.b)
        .bytes(kAttrEnrolleeNonce, session.nonce)
        .bytes(kAttrPublicKey, publicKey);
    writeCapabilities(out);
    out.u8(kAttrState, kNotConfigured);
    writeDescription(out, own, band.rfBand);
    writeExtensions(out, {band.number});
    session.m1.resize(out.size());
    return out.ok();
}

WscRefusal readM1(WscRegistrar& session, Bytes frame) {
    WscReader reader(frame);
    session.mac = MacAddr(reader.array<6>(kAttrMacAddress).data());
    session.nonce = reader.array<kWscNonceSize>(kAttrEnrolleeNonce);
    session.peer = reader.array<kDhSize>(kAttrPublicKey);
    session.auth = reader.u16(kAttrAuthTypeFlags);
    const uint8_t rfBands = reader.u8(kAttrRfBands);
    if (!reader.ok()) return reader.flaw();
    if (!session.m1.assign(frame)) return "it is longer than a frame";
    const Bytes extension = ownExtension(reader);
    session.countsM2 = !extension.empty();
    session.band = session.countsM2 ? wifiBandOf(extension[0]) : bandWith(rfBands);
    return session.band != nullptr ? "" : "its band is unknown";
}

WscRefusal prepareM2(WscRegistrar& session) {
    const auto key = crypto().dhKey();
    if (!key || !key->publicKey(session.own)) return "no key can be made for its M2";
    return key->deriveSecret(session.peer, session.secret) ? "" : "its public key is wrong";
}

WscRefusal buildM2(const WscRegistrar& session, const WscDevice& own, WscPlace place,
                   const WifiNetwork& network, WscFrame& m2) {
    WscNonce nonce{};
    WscKeys keys;
    if (!fillRandom(nonce) ||
        !deriveKeys(session.secret, session.nonce, session.mac, nonce, keys)) {
        return "no keys can be derived for its M2";
    }
    WifiNetwork offered = network;
    offered.auth &= session.auth;
    WscField<256> plain, encrypted;
    WscWriter settings(plain.buffer());
    if (!writeSettings(settings, keys, offered, session.mac))
        return "the settings of its M2 do not fit";
    encrypted.resize(encryptWsc(keys, settings.written(), encrypted.buffer()));
    if (encrypted.empty()) return "the settings of its M2 cannot be encrypted";

    WscWriter out(m2.buffer());
    out.u8(kAttrVersion, kVersion1)
        .u8(kAttrMessageType, static_cast<uint32_t>(WscMessage::kM2))
        .bytes(kAttrEnrolleeNonce, session.nonce)
        .bytes(kAttrRegistrarNonce, nonce)
        .bytes(kAttrUuidR, uuidOf(own.alMac))
        .bytes(kAttrPublicKey, session.own);
    writeCapabilities(out);
    writeDescription(out, own, session.band->rfBand);
    if (session.countsM2) {
        writeExtensions(out, {session.band->number, place.index, place.count});
    } else {
        out.bytes(kAttrVendorExtension, kVersion2);
    }
    out.bytes(kAttrEncryptedSettings, encrypted.view());
    WscTag tag{};
    if (!out.ok() || !authenticate(keys, {session.m1.view(), out.written()}, tag) ||
        !out.bytes(kAttrAuthenticator, tag).ok()) {
        m2.resize(0);
        return "its M2 does not fit into one frame";
    }
    m2.resize(out.size());
    return {};
}

WscRefusal readM2(WscEnrollee& session, Bytes frame, WscAnswer& answer) {
    WscReader reader(frame);
    const auto nonce = reader.array<kWscNonceSize>(kAttrEnrolleeNonce);
    const auto registrar = reader.array<kWscNonceSize>(kAttrRegistrarNonce);
    const auto peer = reader.array<kDhSize>(kAttrPublicKey);
    const Bytes encrypted = reader.atMost(kAttrEncryptedSettings, kMaxWscFrame);
    const auto expected = reader.array<kWscTagSize>(kAttrAuthenticator);
    const Bytes rest = reader.before(kAttrAuthenticator, kWscTagSize);
    if (!reader.ok()) return reader.flaw();
    if (nonce != session.nonce) return "its nonce is not ours";
    if (!isNew(session, registrar)) return "its nonce is repeated";
    if (session.heardNum == session.heard.size()) return "too many came before it";

    DhSecret secret;
    WscKeys keys;
    WscTag tag{};
    if (!session.key || !session.key->deriveSecret(peer, secret)) return "its public key is wrong";
    if (!deriveKeys(secret, nonce, session.alMac, registrar, keys) ||
        !authenticate(keys, {session.m1.view(), rest}, tag) || !isSame(tag, expected)) {
        return "its authenticator is wrong";
    }
    session.heard[session.heardNum++] = registrar;

    const Bytes extension = ownExtension(reader);
    answer.place = {};
    if (extension.size() == 3) {
        if (extension[0] != session.band->number) return "it is for another band";
        answer.place = {extension[1], extension[2]};
        if (answer.place.count == 0) return {};
        if (answer.place.count > kMaxBandNetworks || answer.place.index >= answer.place.count) {
            return "it counts its networks wrongly";
        }
    } else if (session.band != bandWith(session.band->rfBand)) {
        return "it has the networks of the main band";
    }
    WscRefusal why = openSettings(keys, encrypted, answer.network);
    if (why.empty() && session.band->number == kBand6GHz && answer.network.auth != kAuthSae) {
        return "its network is not for 6 GHz, which takes only SAE";
    }
    return why;
}

WscRefusal readSettings(Bytes settings, WifiNetwork& network) {
    WscReader reader(settings);
    const Bytes ssid = reader.atMost(kAttrSsid, 32);
    const uint16_t auth = reader.u16(kAttrAuthType);
    const uint16_t encryption = reader.u16(kAttrEncryptionType);
    const Bytes key = reader.atMost(kAttrNetworkKey, 64);
    if (!reader.ok() || !network.ssid.assign(ssid) || !network.key.assign(key)) {
        return reader.flaw();
    }
    network.auth = auth & kAuthKnown;
    if (ssid.empty()) return "its network has no name";
    if (network.auth == 0) return "the authentication of its network is unknown";
    if (network.auth == kAuthOpen) {
        network.key.resize(0);
        return {};
    }
    network.auth &= static_cast<uint16_t>(~kAuthOpen);
    if ((encryption & kEncryptAes) == 0) return "its network is not encrypted with AES";
    return isWifiKey(network.key.text(), network.auth) ? "" : "the key of its network is not valid";
}
