// The byte layout of the two shared-memory slots of the service channel: what a client writes into
// the request slot, and what it finds in the response slot.
//
// Numbers are in host byte order and may be unaligned. MAC addresses are 6 bytes in wire order.
// Texts end with a zero byte or at the end of their field. The client library shares this header,
// so it includes nothing else of the daemon.
#pragma once

#include <cstddef>
#include <cstdint>

namespace slots {

// Offset and width in bytes.
struct Field {
    size_t at;
    size_t width;
};

inline constexpr int kReqKey = 190510;
inline constexpr int kRespKey = 190511;
inline constexpr int kShmFlags = 01666;  // IPC_CREAT, mode 0666
inline constexpr size_t kReqSize = 256;
inline constexpr size_t kRespSize = 632;
inline constexpr const char* kWakeFifo = "/tmp/vm1905_wake";  // any byte ends the daemon's wait

// Values of the flag of either slot.
inline constexpr uint8_t kFull = 0;  // a request waits for the daemon, or an answer for its client
inline constexpr uint8_t kIdle = 1;  // the receiver has taken it

// The head of both slots.
inline constexpr Field kPid{0, 4};
inline constexpr Field kServId{4, 2};
inline constexpr Field kFlag{6, 1};
inline constexpr size_t kPayload = 7;

// Fields of requests; the comments name the services (orders/service_ids.h) that use them.
namespace req {
// Records of a table.
inline constexpr Field kIndex{7, 1};  // 2, 20, 30, 34
// An own interface: 4, 6, 8, 10, 12.
inline constexpr Field kIntfMac{7, 6};
inline constexpr Field kMediaType{14, 2};
inline constexpr Field kPwrState{16, 1};   // 8
inline constexpr Field kLinkIndex{16, 1};  // 12
// A part of another device: 36, 38, 40, 42.
inline constexpr Field kDevAlMac{7, 6};
inline constexpr Field kDevIndex{13, 1};
inline constexpr Field kDevItem{13, 1};  // 132
// Forwarding rules: 26. The rules of 22 and 24 have the layout of answer 21.
inline constexpr Field kRuleId{8, 2};
// Settings.
inline constexpr Field kLogMax{7, 1};     // 32
inline constexpr Field kItem{7, 1};       // 128, 130
inline constexpr Field kItemValue{8, 1};  // 130
inline constexpr Field kValue1{8, 4};     // 138, 151, 163, 165, 167, 171
inline constexpr Field kValue2{12, 4};    // 138, 171
inline constexpr Field kValue3{16, 4};    // 138
inline constexpr Field kBand{13, 1};      // 141, 169
inline constexpr Field kBandText{7, 16};  // 189: "All", or the decimal band
inline constexpr Field kBandSearch{24, 4};
inline constexpr Field kBandResponse{28, 4};
inline constexpr Field kStateText{16, 240};  // 177
// Orders to another device. The all-zero address means all devices for 161, 179, 181, 183, 187, 197
// and 214.
inline constexpr Field kTarget{7, 6};
inline constexpr Field kCtrlValue{16, 4};   // 143, 145, 161, 214
inline constexpr Field kPwrIntfNum{13, 1};  // 136
inline constexpr size_t kPwrEntries = 14;   // MAC (6), media type (2) each
inline constexpr size_t kPwrEntryLen = 8;
inline constexpr size_t kMaxPwrIntfNum = 30;
inline constexpr Field kPwrCtrl{254, 1};
inline constexpr Field kFwOption{13, 1};  // 147
inline constexpr Field kFwTopoOption{14, 1};
inline constexpr Field kFwUrl{16, 240};
inline constexpr Field kCommand{16, 240};    // 159
inline constexpr Field kSpeedEnable{13, 1};  // 179: 1 start, 0 stop
inline constexpr Field kSpeedAction{14, 1};
inline constexpr Field kSpeedStart{16, 4};    // seconds since the epoch
inline constexpr Field kSpeedRuntime{20, 4};  // seconds
inline constexpr Field kSpeedLanMac{24, 6};
inline constexpr Field kSpeedUrl{30, 226};
inline constexpr Field kNetOption{14, 2};  // 197
inline constexpr Field kNetCommand{16, 128};
inline constexpr Field kRawType{14, 2};  // 200
inline constexpr size_t kRawTlvs = 16;
// Stations of another device: 202, 204, 206, 208, 210.
inline constexpr Field kStation{13, 6};
inline constexpr Field kBssid{19, 6};
inline constexpr Field kOperatingClass{25, 1};
inline constexpr Field kChannel{26, 1};
inline constexpr Field kMode{27, 1};              // 202: 0 passive, 1 active, 2 table
inline constexpr Field kDuration{28, 2};          // 202: time units
inline constexpr Field kSsid{30, 32};             // 202
inline constexpr Field kDisassocImminent{27, 1};  // 206
inline constexpr Field kDisassocTimer{28, 2};     // 206: beacon intervals
}  // namespace req

// Fields of answers, by the number of the answer.
namespace resp {
inline constexpr Field kReqId{7, 1};  // 254: number of the request, or of its data answer
inline constexpr Field kRetCode{8, 1};
inline constexpr Field kResult{7, 1};  // 9, 25, 27, 33, 47, 131 and the answers of other devices
// 1
inline constexpr Field kAlMac{7, 6};
inline constexpr Field kAlStatus{13, 1};
inline constexpr Field kAlAge{16, 4};  // seconds since the last change
inline constexpr Field kAlIntfNum{20, 1};
inline constexpr Field kAlNoPort{21, 1};   // 1: no port is open
inline constexpr Field kAlMeshKey{22, 1};  // 1: in use, 2: in use, but no order can be signed
inline constexpr Field kAlRefused{24, 4};  // messages refused for want of a right MIC
inline constexpr Field kAlLanMac{28, 18};  // as a text
inline constexpr Field kAlFirmware{46, 128};
// 3
inline constexpr Field kIntfMac{7, 6};
inline constexpr Field kIntfStatus{13, 1};
inline constexpr Field kIntfAge{16, 4};
inline constexpr Field kIntfMediaType{20, 2};
inline constexpr Field kIntfPwrState{22, 1};
// 5
inline constexpr Field kOui{7, 3};
inline constexpr size_t kVendProp = 10;
inline constexpr size_t kMaxVendProp = 626;
// 7
inline constexpr Field kPwrState{7, 1};
// 11
inline constexpr Field kLinkNum{8, 2};
// 13
inline constexpr Field kLinkNbrMac{7, 6};
inline constexpr Field kLinkLocalMac{13, 6};
inline constexpr Field kLinkBridge{19, 1};
inline constexpr Field kLinkTxErrors{20, 4};
inline constexpr Field kLinkTxPackets{24, 4};
inline constexpr Field kLinkRxErrors{28, 4};
inline constexpr Field kLinkRxPackets{32, 4};
inline constexpr Field kLinkThroughput{36, 2};    // Mb/s
inline constexpr Field kLinkAvailability{38, 2};  // percent
inline constexpr Field kLinkPhyRate{40, 2};       // Mb/s
inline constexpr Field kLinkRssi{42, 1};
// 21, and the requests 22 and 24
inline constexpr Field kRuleId{8, 2};
inline constexpr Field kRuleMacNum{10, 1};
inline constexpr size_t kRuleMacs = 11;
inline constexpr size_t kMaxRuleMacs = 30;
inline constexpr size_t kRuleMatch = 191;  // the classification fields
inline constexpr size_t kRuleMatchLen = 26;
// 29
inline constexpr Field kTopolEnable{8, 4};
inline constexpr Field kTopolStatus{12, 1};
inline constexpr Field kTopolLogMax{13, 1};
inline constexpr Field kTopolDevNum{14, 1};
inline constexpr Field kTopolLogNum{15, 1};
// 31
inline constexpr Field kLogTime{8, 4};
inline constexpr Field kLogEvent{12, 1};
inline constexpr Field kLogAlMac{13, 6};
inline constexpr Field kLogIntfMac{19, 6};
inline constexpr Field kLogNbrType{25, 1};
inline constexpr Field kLogNbrMac{26, 6};
// 35
inline constexpr Field kDevAlMac{7, 6};
inline constexpr Field kDevStatus{13, 1};
inline constexpr Field kDevIntfNum{14, 1};
inline constexpr Field kDevNon1905Num{15, 1};
inline constexpr Field kDev1905Num{16, 1};
inline constexpr Field kDevTupleNum{17, 1};
inline constexpr Field kDevMeshKey{18, 1};  // if in use: 1 not heard with the key, 2 heard with it
inline constexpr Field kDevSilence{20, 4};  // seconds since its last discovery + 1; 0 unknown
// 37
inline constexpr Field kDevIntfMac{7, 6};
inline constexpr Field kDevMediaType{13, 1};
inline constexpr Field kDevMediaLen{14, 1};
inline constexpr size_t kDevMediaInfo = 15;
inline constexpr Field kDevPwrState{630, 1};
// 39 and 41: an entry of 39 is a MAC (6), one of 41 an AL MAC (6) and a bridge flag (1)
inline constexpr Field kNbrLocalMac{7, 6};
inline constexpr Field kNbrNum{13, 1};
inline constexpr size_t kNbrs = 14;
inline constexpr size_t kNon1905Len = 6;
inline constexpr size_t k1905Len = 7;
// 43
inline constexpr Field kTupleNum{7, 1};
inline constexpr size_t kTupleMacs = 8;
inline constexpr size_t kMacLen = 6;
// 45
inline constexpr Field kSecMode{7, 1};
inline constexpr Field kSecLen{8, 2};
inline constexpr size_t kSecValue = 10;
// 129, 133
inline constexpr Field kItemValue{7, 1};
// 137: entries of 10 bytes, MAC (6), media type (2), result (1), unused (1)
inline constexpr Field kPwrIntfNum{7, 1};
inline constexpr size_t kPwrEntries = 8;
inline constexpr size_t kPwrEntryLen = 10;
// 205
inline constexpr Field kBcnRetCode{7, 1};
inline constexpr Field kBcnStation{8, 6};
inline constexpr Field kBcnLen{14, 2};
inline constexpr size_t kBcnReport = 16;
static_assert(kBcnReport + 600 <= kRespSize, "the longest report");
static_assert(kPwrEntries + 30 * kPwrEntryLen <= kRespSize);
}  // namespace resp

}  // namespace slots
