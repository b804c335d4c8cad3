#include <set>

#include "support/device.h"
#include "support/log_capture.h"
#include "support/vendor.h"
#include "wire/vend_catalogue.h"
#include "wire/vend_payloads.h"
#include "wire/vend_tlv.h"

namespace {

class Codec : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        start();
    }
    static bool parses(const Frame& tlv) {
        VendMsg msg;
        // Of exactly this size, so that a sanitizer sees reads beyond the end.
        const Frame copy(tlv.begin(), tlv.end());
        const size_t consumed = parseVendSpecTlv(copy, msg);
        return consumed != 0 && consumed == tlv.size();
    }
    static Frame encode(const VendMsg& msg) {
        TlvArea area;
        return genVendSpecTlv(area, msg, kStation) ? bytesOf(area) : Frame{};
    }
};

TEST_F(Codec, EveryTypeDecodesAndEncodesToTheSameBytes) {
    std::set<unsigned> covered, catalogued;
    for (const auto& [type, payload] : vendSamples(kOwnAl)) {
        covered.insert(type);
        const Frame wire = vendTlv(kOwnAl, type, payload);
        VendMsg msg;
        EXPECT_EQ(parseVendSpecTlv(wire, msg), wire.size()) << type;
        EXPECT_EQ(msg.vendMsgType, type);
        ASSERT_NE(msg.payload.index(), 0U) << type;
        EXPECT_EQ(encode(msg), wire) << type;
        // Incomplete TLVs are rejected.
        for (size_t size = 0; size < wire.size(); size++) {
            EXPECT_FALSE(parses(Frame(wire.begin(), wire.begin() + static_cast<long>(size))))
                << type << " cut at " << size;
        }
        // No value of any byte causes a read beyond the TLV.
        for (size_t at = 18; at < wire.size(); at++) {
            Frame odd = wire;
            odd[at] = 0xFF;
            VendMsg decoded;
            EXPECT_LE(parseVendSpecTlv(odd, decoded), odd.size()) << type << " at " << at;
        }
    }
    for (const auto& type : kVendTypes) catalogued.insert(type.number);
    EXPECT_EQ(covered, catalogued);
}

TEST_F(Codec, CapacitiesAreLimits) {
    const Frame al = bytesOf(kOwnAl);
    const auto times = [](size_t n, const Frame& entry) {
        Frame all{static_cast<uint8_t>(n)};
        for (size_t i = 0; i < n; i++) all = all + entry;
        return all;
    };
    const auto text = [](size_t n) { return textBytes(std::string(n, 'x')); };
    const struct {
        unsigned type;
        Frame fits, exceeds;
    } cases[] = {
        {1, al + hex("01 07") + text(128), al + hex("01 07") + text(129)},
        {3, al + times(30, Frame(9)), al + times(31, Frame(9))},
        {6, al + times(30, Frame(8)) + hex("00"), al + times(31, Frame(8)) + hex("00")},
        {7, times(30, Frame(9)), times(31, Frame(9))},
        {14, al + text(1374), al + text(1375)},
        {20, hex("06") + be16(1024) + Frame(1024, 'x'), hex("06") + be16(1025) + Frame(1025, 'x')},
        {25, hex("0000") + text(2048), hex("0000") + text(2049)},
        {27, al + hex("01") + al + text(15), al + hex("01") + al + text(16)},
        {29, al + text(255) + text(1023), al + text(256) + text(0)},
        {44, al + be16(1400) + Frame(1401), al + be16(1401) + Frame(1402)},
        {46, hex("01 02") + text(1023), hex("01 02") + text(1024)},
        {49, al + hex("0000") + text(128), al + hex("0000") + text(129)},
        {53, al + text(16), al + text(17)},
        {67, Frame(8) + be16(600) + Frame(600), Frame(8) + be16(601) + Frame(601)},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(parses(vendTlv(kOwnAl, c.type, c.fits))) << c.type;
        EXPECT_FALSE(parses(vendTlv(kOwnAl, c.type, c.exceeds))) << c.type;
    }
    IntfPwrStateResp tooMany;
    tooMany.intfs.resize(31);
    VendMsg msg;
    msg.vendMsgType = VEND_MSG_TYPE_INTF_PWR_STATE_RESP;
    msg.payload.emplace<IntfPwrStateResp>(std::move(tooMany));
    EXPECT_TRUE(encode(msg).empty());
    msg.vendMsgType = VEND_MSG_TYPE_REBOOT_REQ;
    EXPECT_TRUE(encode(msg).empty()) << "the payload of another type";
}

TEST_F(Codec, RejectionsAreLogged) {
    const std::pair<Frame, std::string> refused[] = {
        {vendTlv(kOwnAl, 4, {}), "TLV type/len (11/15): invalid vendor specific TLV\r\n"},
        {tlvBytes(12, Frame(30)), "TLV type/len (12/30): invalid vendor specific TLV\r\n"},
        {tlvBytes(11, hex("0a3c72") + Frame(20)),
         "unsupported vendor specific TLV (OUI=0a:3c:72)\r\n"},
        {vendTlv(kOwnAl, 24, Frame(6)),
         "the vendor specific message type (24) is unsoppourted\r\n"},
        {vendTlv(kOwnAl, 4, Frame(5)), "failed to parse the vendor specific TLV\r\n"}};
    for (const auto& [tlv, line] : refused) {
        LogCapture log(3);
        EXPECT_FALSE(parses(tlv)) << line;
        EXPECT_EQ(occurrences(log.text(), line), 1U) << line;
    }
    // An order without URL ends behind its length.
    VendMsg msg;
    EXPECT_EQ(parseVendSpecTlv(vendTlv(kOwnAl, 20, hex("06 0000 ffff")), msg), 18U + 3);
}

// Only the length of the payload distinguishes them from those of new senders.
TEST_F(Codec, OldWifiStateEntriesAreNarrow) {
    const Frame entry = bytesOf(kStation) + hex("0105 62 28 37");
    VendMsg msg;
    ASSERT_NE(parseVendSpecTlv(vendTlv(kOwnAl, 9, hex("02") + entry + entry), msg), 0U);
    const auto& e = std::get<WifiStateResp>(msg.payload).entries.at(1);
    EXPECT_EQ(std::tuple(e.mac, e.mediaType, e.rate, e.rssi, e.signalLevel),
              std::tuple(kStation, 0x105, 0x62, 0x28, 0x37));
}

}  // namespace
