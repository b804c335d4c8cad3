// The attributes of Wi-Fi Simple Configuration messages: a type, a length and a value. They are
// written to and read from buffers of fixed size.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/bytes.h"
#include "common/secret.h"

enum WscAttr : uint16_t {
    kAttrAssociationState = 0x1002,
    kAttrAuthType = 0x1003,
    kAttrAuthTypeFlags = 0x1004,
    kAttrAuthenticator = 0x1005,
    kAttrConfigMethods = 0x1008,
    kAttrConfigurationError = 0x1009,
    kAttrConnectionTypeFlags = 0x100D,
    kAttrEncryptionType = 0x100F,
    kAttrEncryptionTypeFlags = 0x1010,
    kAttrDeviceName = 0x1011,
    kAttrDevicePasswordId = 0x1012,
    kAttrEncryptedSettings = 0x1018,
    kAttrEnrolleeNonce = 0x101A,
    kAttrKeyWrapAuthenticator = 0x101E,
    kAttrMacAddress = 0x1020,
    kAttrManufacturer = 0x1021,
    kAttrMessageType = 0x1022,
    kAttrModelName = 0x1023,
    kAttrModelNumber = 0x1024,
    kAttrNetworkKey = 0x1027,
    kAttrOsVersion = 0x102D,
    kAttrPublicKey = 0x1032,
    kAttrRegistrarNonce = 0x1039,
    kAttrRfBands = 0x103C,
    kAttrSerialNumber = 0x1042,
    kAttrState = 0x1044,
    kAttrSsid = 0x1045,
    kAttrUuidE = 0x1047,
    kAttrUuidR = 0x1048,
    kAttrVendorExtension = 0x1049,
    kAttrVersion = 0x104A,
    kAttrPrimaryDeviceType = 0x1054,
};

inline constexpr size_t kWscAttrHeader = 4;  // type and length

// Up to N bytes, which may be secret: they are erased at the end.
template <size_t N>
class WscField {
  public:
    WscField() = default;
    WscField(const WscField&) = default;
    WscField& operator=(const WscField&) = default;
    ~WscField() { eraseSecret(bytes_); }

    // Stores the bytes. False, and the field is empty, if they are too many.
    [[nodiscard]] bool assign(Bytes bytes) {
        size_ = bytes.size() <= N ? bytes.size() : 0;
        std::copy_n(bytes.begin(), size_, bytes_.begin());
        return bytes.size() <= N;
    }
    Bytes view() const { return {bytes_.data(), size_}; }
    std::string_view text() const { return {reinterpret_cast<const char*>(bytes_.data()), size_}; }
    bool empty() const { return size_ == 0; }
    // The whole buffer, for a function that fills it; then call resize().
    std::span<uint8_t, N> buffer() { return bytes_; }
    void resize(size_t size) { size_ = std::min(size, N); }

    friend bool operator==(const WscField& a, const WscField& b) {
        return std::ranges::equal(a.view(), b.view());
    }

  private:
    std::array<uint8_t, N> bytes_{};
    size_t size_ = 0;
};

// The bytes of a text.
inline Bytes wscBytes(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// Writes attributes one after the other. Like ByteWriter it fails closed.
class WscWriter {
  public:
    // The buffer must outlive the writer.
    explicit WscWriter(std::span<uint8_t> out) : out_(out), writer_(out) {}

    bool ok() const { return writer_.ok(); }
    size_t size() const { return writer_.position(); }
    Bytes written() const { return out_.first(size()); }

    WscWriter& u8(WscAttr type, uint32_t value);
    WscWriter& u16(WscAttr type, uint32_t value);
    WscWriter& u32(WscAttr type, uint32_t value);
    WscWriter& bytes(WscAttr type, Bytes value);
    WscWriter& text(WscAttr type, std::string_view value) { return bytes(type, wscBytes(value)); }

  private:
    ByteWriter& head(WscAttr type, size_t length);

    std::span<uint8_t> out_;
    ByteWriter writer_;
};

// Reads the attributes of a message. A value that is missing, repeated or of another size than
// demanded is a flaw; from then on all values are zero.
class WscReader {
  public:
    // The message must outlive the reader. Attributes that do not end with it are a flaw.
    explicit WscReader(Bytes message);

    // What is wrong with the message; empty if nothing is.
    const std::string& flaw() const { return flaw_; }
    bool ok() const { return flaw_.empty(); }

    // The value of an attribute of exactly this size, or of at most this size.
    Bytes exactly(WscAttr type, size_t size);
    Bytes atMost(WscAttr type, size_t size);
    template <size_t N>
    std::array<uint8_t, N> array(WscAttr type) {
        std::array<uint8_t, N> value{};
        std::ranges::copy(exactly(type, N), value.begin());
        return value;
    }
    uint8_t u8(WscAttr type) { return ByteReader(exactly(type, 1)).u8(); }
    uint16_t u16(WscAttr type) { return ByteReader(exactly(type, 2)).u16(); }

    // True if the message has such an attribute.
    bool has(WscAttr type) const;
    // What follows the vendor's number in its first extension; none without one.
    std::optional<Bytes> vendorExtension(std::span<const uint8_t, 3> vendor) const;
    // The message up to its last attribute, which must be of this type and size.
    Bytes before(WscAttr last, size_t size);

  private:
    template <typename Take>
    void forEach(Take take) const;
    Bytes flawed(WscAttr type, const char* what);

    Bytes message_;
    std::string flaw_;
};
