// Ethernet and CMDU headers.
#pragma once

#include <cstdint>
#include <span>

#include "base/bytes.h"
#include "base/mac_addr.h"

inline constexpr uint16_t kEtherTypeLldp = 0x88CC;
inline constexpr uint16_t kEtherType1905 = 0x893A;

inline constexpr MacAddr kLldpMulticast{0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};
inline constexpr MacAddr k1905Multicast{0x01, 0x80, 0xC2, 0x00, 0x00, 0x13};

inline constexpr size_t kEtherHdrLen = 14;
inline constexpr size_t kCmduHdrLen = 8;
inline constexpr size_t kHeadersLen = kEtherHdrLen + kCmduHdrLen;
inline constexpr size_t kSrcMacOffset = 6;
inline constexpr size_t kMinFrameLen = 64;  // shorter frames are padded with zeros

// Meant: not 0. Messages of other devices, which have another version, are ignored.
inline constexpr uint8_t kCmduVersion = 0xA0;
inline constexpr uint8_t kStandardVersion = 0;  // in standard mode

enum MsgType : uint16_t {
    kMsgTopolDisc = 0,
    kMsgTopolNtf = 1,
    kMsgTopolQuery = 2,
    kMsgTopolResp = 3,
    kMsgVendSpec = 4,
    kMsgMetricQuery = 5,
    kMsgMetricResp = 6,
    kMsgApAutoConfSrch = 7,
    kMsgApAutoConfResp = 8,
    kMsgApAutoConfWsc = 9,
    kMsgApAutoConfRenew = 10,
    kMsgPBEventNtf = 11,
    kMsgPBJoinNtf = 12,
    kMsgTypeNum = 13,
};

// Write a 14-byte Ethernet header with source portMac to the start of out: to the LLDP multicast
// address, to dstMac, or to the 1905 multicast address. kOk, or kFailure if out is too small.
int genLldpEtherHdr(const MacAddr& portMac, std::span<uint8_t> out);
int gen1905UcastEtherHdr(const MacAddr& portMac, const MacAddr& dstMac, std::span<uint8_t> out);
int gen1905McastEtherHdr(const MacAddr& portMac, std::span<uint8_t> out);

// Writes the 8-byte CMDU header, with big-endian numbers, to the start of out. The indicators are 0
// or 1; with any other value the flags byte is left as it is. kOk, or kFailure if out is too small.
int gen1905CmduHdr(uint16_t msgType, uint16_t msgId, uint8_t fragId, int lastFragmentIndicator,
                   int relayIndicator, std::span<uint8_t> out, uint8_t version = kCmduVersion);

// The headers of a received frame.
struct FrameHdr {
    MacAddr dstMac;
    MacAddr srcMac;
    uint16_t etherType = 0;
    uint8_t version = 0;
    uint8_t reserved = 0;
    uint16_t msgType = 0;
    uint16_t msgId = 0;
    uint8_t fragId = 0;
    bool lastFragment = false;
    bool relay = false;
};

// Reads the headers. Fields beyond the end of the frame are zero.
FrameHdr parseFrameHdr(Bytes frame);
