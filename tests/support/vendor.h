// Bytes of vendor messages, with a valid payload for each type.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/frames.h"

inline constexpr MacAddr kStation{0x02, 0x57, 0xA0, 0, 0, 1};

struct VendSample {
    unsigned type;
    Frame payload;
};

// A vendor-specific TLV of this system.
inline Frame vendTlv(const MacAddr& alMac, unsigned type, const Frame& payload) {
    return tlvBytes(11, hex("0a3c71") + bytesOf(alMac) + hex("0001") + be16(type) +
                            be16(static_cast<unsigned>(payload.size())) + payload);
}
inline Frame vendFrame(const MacAddr& dst, const MacAddr& src, const MacAddr& alMac, unsigned id,
                       unsigned type, const Frame& payload) {
    return frame1905(dst, src, kMsgVendSpec, id, vendTlv(alMac, type, payload) + endOfMsg());
}

inline Frame textBytes(std::string_view text) {
    return be16(static_cast<unsigned>(text.size())) + Frame(text.begin(), text.end());
}
inline Frame item(unsigned type, std::string_view value) {
    return Frame{static_cast<uint8_t>(type)} + textBytes(value);
}

// almac is the AL MAC in the payloads: that of the addressed device or of the sender.
inline std::vector<VendSample> vendSamples(const MacAddr& almac) {
    const Frame al = bytesOf(almac);
    const Frame mac = bytesOf(kStation);
    const std::string client =
        "{0=02:57:a0:00:00:01,1=0105,2=866,3=40,4=55,5=t,x,6=r,7=Main_5GH,8=00:00:00:00:00:00}";
    std::vector<VendSample> all{
        {3, al + hex("01") + mac + hex("0105 02")},
        {6, al + hex("02") + mac + hex("0001") + mac + hex("0105") + hex("02")},
        {7, hex("01") + mac + hex("0105 10")},
        {9, hex("02") + mac + hex("0105 0362 0028 37") + mac + hex("0103 0041 0029 38")},
        {20, hex("06 0005 01") + Frame{'u', 'r', 'l', '!'}},
        {25, hex("0007") + textBytes("5 anything")},
        {27, al + hex("01") + mac + textBytes("wlan0")},
        {29, al + textBytes("log.tgz") + textBytes("ftp://x/")},
        {36, al + textBytes("0" + std::to_string(client.size()) + client)},
        {44, al + hex("0003 01 112233")},
        {45, al + mac},
        {46, hex("04") + item(0, "\6") + item(1, "\1") + item(2, "url") + item(3, "file")},
        {49, al + hex("0102") + textBytes("command")},
        {50, hex("0102 00")},
        {53, al + textBytes("DE")},
        {68, al + mac + mac + hex("51 06 01 0064")},
    };
    const std::pair<std::vector<unsigned>, Frame> shared[] = {
        {{0, 2, 4, 8, 13, 22, 28, 37, 39, 42, 51}, al},
        {{5, 17, 19, 21, 23, 32, 35, 54, 69, 76}, hex("10")},
        {{16, 18, 26, 30, 31, 33, 34, 38, 47, 48, 55, 74, 75}, al + hex("21")},
        {{11, 14, 15, 40, 41, 43, 56}, al + textBytes("some text")},
        {{1, 52}, al + hex("03") + item(0, "\1") + item(7, "name") + item(42, "")},
        {{10, 12}, hex("01 02") + textBytes("http://x") + hex("01020304 0000003c") + mac},
        {{64, 66}, al + mac + mac + hex("51 06 01 0064") + textBytes("ssid")},
        {{65, 67}, hex("01 00") + mac + hex("0003 0a0b0c")},
        {{70, 72}, al + hex("01") + mac},
        {{71, 73}, hex("01 10")},
    };
    for (const auto& [types, payload] : shared) {
        for (const unsigned type : types) all.push_back({type, payload});
    }
    return all;
}
