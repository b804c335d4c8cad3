#include "daemon/receiver.h"
#include "net/fragment_store.h"

#include "db/data_manager.h"
#include "db/database.h"
#include "db/sys_ctrl.h"
#include "db/upcalls.h"
#include "net/transmitter.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

const Peer kPeer = peer(1);
const unsigned kId = 0x1234;
const std::string kAl = "010006 02ee00000001 ", kPeerText = "Received 02:ee:00:00:00:01 ";
const std::string kMac = "020006 02ee00010001", kRole = "0f0001 01 100001 02",
                  kAp = "notifyApAutoConf";

// A well-formed message of every type, and its effects as Receiver::effects() prints them.
struct Message {
    unsigned type;
    std::string tlvs, effects;
    bool relayed = false;
};
const std::vector<Message> kMessages{
    {0, kAl + kMac, "eth0:4; eth0:2; 1905 neighbor; "},
    {1, kAl + kMac, "eth0:2; eth1:1; other; ", true},
    {2, kAl, ""},
    {3,
     "030010 02ee00000001 01 02ee00010001 0001 00 04000f 02 01 020304050607 01 020304050608"
     "06000c 02ee00010001 020304050607 07000d 02ee00010001 020304050609 00" +
         kAl,
     "device; "},
    {4, "0b001b 0a3c71 02ee00000001 0001 002d 000c 02ee00000001 02ee00010001",
     "eth0:4; eth0:2; 1905 neighbor; "},
    {5, "080002 00 02", ""},
    {6, "09000c 02ee00000001 021905000001 0a000c 02ee00000001 021905000001 0c0001 00", ""},
    {7, kAl + "0d0001 00 0e0001 02", kAp + "SrchMsg" + kPeerText + "4660 0 2; eth1:7; ", true},
    {8, kAl + kRole, kAp + "RespMsg" + kPeerText + "4660 1 2; "},
    {9, kAl + "110003 abcdef 500004 32303234",
     kAp + "WscMsg" + kPeerText + "02:ee:00:01:00:01 abcdef 2024; "},
    {10, kAl + kRole, kAp + "RenewMsg" + kPeerText + "4660 1 2; eth1:10; ", true},
    {11, kAl + "12000a 02 0105 03 aabbcc 0001 00",
     "notifyPBEventMsg" + kPeerText + "4660 261/3,1/0; eth1:11; ", true},
    {12, kAl + "130014 02ee00000001 00ff 020304050608 020304050609",
     "notifyPBJoinMsg" + kPeerText + "255 02:03:04:05:06:08 02:03:04:05:06:09; eth1:12; ", true}};

Frame frameOf(unsigned type, const std::string& tlvs) {
    return frame1905(k1905Multicast, kPeer.intf, type, kId, hex(tlvs));
}
Frame frameOf(const Message& message) {
    return frameOf(message.type, message.tlvs + "000000");
}

// Part of a topology response.
Frame fragment(unsigned id, unsigned i, bool last = false, unsigned type = 3) {
    const Frame tlvs[] = {devInfoTlv(kPeer), hex("06000c 02ee00010001 020304050607"), hex(kAl)};
    return frame1905(kEth0, kPeer.intf, type, id, tlvs[std::min(i, 2U)] + endOfMsg(),
                     last ? kLastFragment : 0, static_cast<uint8_t>(i));
}

class Receiver : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        start();
        upcalls().deviceDescribed = [](const MacAddr&) {};  // else the controller sends queries
    }
    static bool isStored(unsigned id, unsigned type = 3) {
        const Frame frame = fragment(id, 0, false, type);
        return findFragCmdu(port("eth0"), parseFrameHdr(frame)) != nullptr;
    }
    // The effects of a handled message: platform calls, frames sent, neighbors, devices.
    static std::string effects() {
        std::string all = calls();
        for (const std::string name : {"eth0", "eth1"}) {
            for (const auto& s : sent(name)) all += name + ":" + std::to_string(s.type) + "; ";
        }
        for (const auto& nbr : getIntfTable().front().nbrs) {
            all += nbr.is1905 ? "1905 neighbor; " : "other; ";
        }
        return all + (getNetTopolTable()->devs.empty() ? "" : "device; ");
    }
    // A new device, which expects a response of this type.
    static void renew(unsigned type) {
        fakePlatform().calls.clear();
        (void)destroyDataManager();
        (void)initDataManager();
        (void)initMessageTransmitter();
        drop();
        const auto query = static_cast<uint16_t>(type - 1);
        (void)registerQueriedMsg(type == 8 ? kOwnAl : kPeer.intf, query, kId);
    }
};

TEST_F(Receiver, EveryTypeIsHandledAndSomeRelayed) {
    for (const auto& message : kMessages) {
        SCOPED_TRACE(message.type);
        renew(message.type);
        // Unknown TLVs are skipped, even empty ones; bytes after the end do not matter.
        const std::string more = "630000 630003 010203 000000 0102030405";
        const int fromStranger = message.type == 2 || message.type == 5 ? kFailure : kOk;
        EXPECT_EQ(receive("eth0", frameOf(message.type, message.tlvs + more)), fromStranger);
        EXPECT_EQ(effects(), message.effects);
        if (!message.relayed) continue;
        // It is relayed even if its handler fails.
        renew(message.type);
        (void)disableNetTopol();
        fakePlatform().results[message.effects.substr(0, message.effects.find(' '))] = 1;
        (void)receive("eth0", frameOf(message));
        Frame relayed = frameOf(message);
        kEth1.copyTo(&relayed[6]);
        EXPECT_EQ(sent("eth1").at(0).frame, relayed) << "only the source changes";
    }
    renew(0);
    meet(kPeer, 1);
    for (const auto& [query, answer] : {std::pair{2U, "3: 3 7 1"}, {5U, "6: 9 10"}}) {
        EXPECT_EQ(receive("eth0", frameOf(kMessages[query])), kOk);
        const Sent s = sent("eth0").at(0);
        EXPECT_EQ(std::to_string(s.type) + ": " + s.tlvs, answer);
        EXPECT_EQ(std::tuple(s.id, s.dst, s.src), std::tuple(kId, kPeer.intf, kEth0));
    }
}

TEST_F(Receiver, StandardModeRelaysOnceWhatItDoesNotKnow) {
    getSysCtrl().config.standard1905 = 1;
    LogCapture log(2);
    constexpr uint8_t kRelay = 0x40, kBoth = kLastFragment | kRelay;
    const auto relays = [](unsigned type, const Frame& tlvs, uint8_t flags, const MacAddr& dst,
                           uint8_t fragId = 0) {
        for (int copies = 0; copies < 2; copies++) {
            (void)receive("eth0", frame1905(dst, kPeer.intf, type, kId, tlvs, flags, fragId, 0));
        }
        return sent("eth1").size();
    };
    const Frame later = hex(kAl + "b00002 0102 000000"), foreign = hex("0b0005 00112233 44 000000");
    for (const auto& [type, tlvs] : {std::pair{0x8000U, later}, {13U, later}, {4U, foreign}}) {
        SCOPED_TRACE(type);
        EXPECT_EQ(relays(type, tlvs, kBoth, kEth0), 0U);
        EXPECT_EQ(relays(type, tlvs, kLastFragment, k1905Multicast), 0U);
        EXPECT_EQ(relays(type, tlvs, kBoth, k1905Multicast), 1U);
        EXPECT_EQ(relays(type, hex("b00003 0102"), kRelay, k1905Multicast), 1U);
        EXPECT_EQ(relays(type, hex("03 000000"), kBoth, k1905Multicast, 1), 1U);
    }
    for (const uint8_t flags : {kLastFragment, kBoth}) {
        (void)initMessageTransmitter();
        EXPECT_EQ(
            relays(kMsgApAutoConfSrch, hex(kMessages[7].tlvs) + endOfMsg(), flags, k1905Multicast),
            flags == kBoth ? 1U : 0U);
    }
    (void)initMessageTransmitter();
    EXPECT_EQ(relays(kMsgApAutoConfSrch, hex(kAl), kRelay, k1905Multicast), 1U) << "divided";
    EXPECT_EQ(log.finish(), "");
}

// The end-of-message TLV is in the last fragment only.
TEST_F(Receiver, StandardModeAnswersInTheVersionOfTheSender) {
    getSysCtrl().config.standard1905 = 1;
    meet(kPeer, 1);
    for (const uint8_t version : {kCmduVersion, kStandardVersion}) {
        const Frame query = hex("080008 00 000000000000 01 000000");
        (void)receive("eth0",
                      frame1905(kEth0, kPeer.intf, 5, kId, query, kLastFragment, 0, version));
        const Sent answer = sent("eth0").at(0);
        EXPECT_EQ(answer.frame[14], version);
        EXPECT_EQ(answer.tlvs, "10") << "receiver metrics";
    }
    renew(3);
    (void)receive("eth0", frame1905(kEth0, kPeer.intf, 3, kId, devInfoTlv(kPeer), 0, 0, 0));
    (void)receive("eth0",
                  frame1905(kEth0, kPeer.intf, 3, kId, hex(kAl) + endOfMsg(), kLastFragment, 1, 0));
    EXPECT_EQ(getNetTopolTable()->devs.size(), 1U);
}

// Each frame would also fail all later checks.
TEST_F(Receiver, FramesAreCheckedInThisOrder) {
    Frame lldp = frame1905(kEth1, kEth1, 13, 1, {}, 0, 0, 0);
    lldp[12] = 0x88, lldp[13] = 0xcc;
    const Frame noTlvs = frame1905(kOwnAl, kPeer.intf, 0, 7, {});
    const std::pair<Frame, std::string> lines[] = {
        {lldp, "incorrect etherType (0x88cc)\r\n"},
        {frame1905(kEth1, kEth1, 13, 1, {}, 0x80, 0, 0), "source MAC (02:19:05:00:01:01) is loop."},
        {frame1905(kEth1, kPeer.intf, 13, 1, {}, 0x80, 0, 0),
         "incorrect destination MAC (02:19:05:00:01:01)\r\n"},
        {frame1905(kEth0, kPeer.intf, 13, 1, {}), "message type (13) is unsupported\r\n"},
        {frame1905(kEth0, kPeer.intf, 13, 1, {}, 0x80, 1),
         "Should have at least one fragmented frame has reieved, but not found\r\n"},
        {frame1905(kOwnAl, kPeer.intf, 3, 7, {}),
         "this message (type = 3, ID = 7) doesn't match query(serach)/response pair\r\n"},
        {noTlvs, "failed to parse message (type =0)\r\n"},
        {noTlvs, "failed to parse the IEEE1905.1 TLVs (type = 0, id = 7)\r\n"}};
    LogCapture log(4);
    for (const auto& [frame, line] : lines) {
        EXPECT_EQ(receive("eth0", frame), kFailure);
        EXPECT_EQ(occurrences(log.text(), line), 1U) << line;
    }
    EXPECT_EQ(receive("eth0", frame1905(kEth0, kPeer.intf, 13, 1, {}, 0x80, 0, 0)), kFailure);
    EXPECT_EQ(log.text(), "") << "another version is dropped without a line";
    EXPECT_EQ(recv1905Msg(port("eth0")), kFailure) << "no frame";
    EXPECT_EQ(effects(), "");
}

TEST_F(Receiver, MalformedMessagesAreNotHandled) {
    const std::pair<unsigned, std::string> cases[] = {
        {0, kMac + "000000"},               // no AL MAC
        {0, "010006 000000000000 000000"},  // zero AL MAC
        {0, kAl + "000001"},                // end of message with a length
        {0, "010000 000000"},               // zero length
        {0, kAl + "63ffff 000000"},         // longer than the frame
        {0, kAl + "63 000000"},             // reads the end of message as its length
        {12, kAl + "130013 020304050607 00ff 020304050608 0203040506 000000"},
        {11, kAl + "120004 ff 0105 00 000000"}};  // 255 entries
    for (const auto& [type, tlvs] : cases) {
        EXPECT_EQ(receive("eth0", frameOf(type, tlvs)), kFailure) << type << " " << tlvs;
    }
    EXPECT_EQ(effects(), "");
    for (const auto& message : kMessages) {
        const Frame whole = frameOf(message);
        for (size_t size = 14; size < whole.size(); size++) {
            renew(message.type);
            SCOPED_TRACE("type " + std::to_string(message.type) + ", bytes " +
                         std::to_string(size));
            EXPECT_EQ(receive("eth0", Frame(&whole[0], &whole[size])), kFailure);
            ASSERT_EQ(effects(), "");
        }
        // A frame full of repeated TLVs: nothing may leak.
        std::string repeated;
        while (hex(repeated).size() < 1300) repeated += message.tlvs;
        renew(message.type);
        (void)receive("eth0", frameOf(message.type, repeated + "000000"));
    }
    EXPECT_EQ(fakePlatform().calls.size(), 1U) << "the last of them";
}

TEST_F(Receiver, OwnMessagesAndDuplicatesAreDropped) {
    for (const auto& message : kMessages) {
        SCOPED_TRACE(message.type);
        renew(message.type);
        // These types check for the own AL MAC.
        const bool failing = message.type <= 5 || message.type == 8 || message.type == 9;
        Frame own = frameOf(message);
        for (size_t i = 22; i + 6 < own.size(); i++) {
            if (MacAddr(&own[i]) == kPeer.al) kOwnAl.copyTo(&own[i]);
        }
        EXPECT_EQ(receive("eth0", own), failing ? kFailure : kOk);
        if (!message.relayed) continue;
        renew(message.type);
        for (const auto& [after, relayed] : {std::pair{0, 1U}, {5, 0U}, {1, 1U}}) {
            advance(after);
            EXPECT_EQ(receive("eth0", frameOf(message)), kOk);
            EXPECT_EQ(sent("eth1").size(), relayed);
        }
    }
    renew(1);
    for (unsigned id = 0; id < 66; id++) (void)receive("eth0", notification(kPeer, id));
    EXPECT_FALSE(lookupGenRecvMsg(kPeer.al, kMsgTopolDisc, 1)) << "it gave way to the last";
    EXPECT_TRUE(lookupGenRecvMsg(kPeer.al, kMsgTopolDisc, 2));
    drop();
    // Meant: discovery and notification share their identifiers.
    (void)receive("eth0", discovery(kPeer, 77));
    (void)receive("eth0", notification(kPeer, 77));
    EXPECT_TRUE(sent("eth1").empty());
}

// However many multicasts arrive, those of known devices are relayed.
TEST_F(Receiver, RelaysAreLimited) {
    LogCapture log(2);
    // The number of relayed notifications, of count devices that send so many each.
    unsigned id = 0;
    const auto relayed = [&](unsigned first, unsigned count, unsigned each, const char* from) {
        for (unsigned n = 0; n < count * each; n++)
            (void)receive(from, notification(peer(first + n % count), ++id));
        const auto all = sent(from == std::string("eth0") ? "eth1" : "eth0");
        return std::ranges::count(all, kMsgTopolNtf, &Sent::type);
    };
    meet(kPeer, ++id);
    meet(kOther, ++id);
    drop();
    EXPECT_EQ(relayed(1, 1, 65, "eth0"), 64) << "one device";
    EXPECT_EQ(relayed(100, 300, 1, "eth0"), 64) << "strangers on one of two ports";
    EXPECT_EQ(relayed(500, 300, 1, "eth1"), 64) << "those on the other";
    EXPECT_EQ(relayed(2, 1, 65, "eth0"), 64);
    EXPECT_EQ(occurrences(log.text(), "too many multicasts"), 1U);
    advance(1);
    EXPECT_EQ(relayed(1, 2, 45, "eth0"), 90) << "more than the memory holds";
}

// The identifier of a query to the device.
unsigned sendQuery(const Peer& to) {
    uint16_t id = 0;
    (void)requestSend1905UcastMsg(to.al, kMsgTopolQuery, {}, &id);
    return id;
}

TEST_F(Receiver, WorkForOthersIsLimited) {
    LogCapture log(2);
    unsigned id = 0;
    meet(kPeer, ++id);
    const auto answered = [&](unsigned first, unsigned count, unsigned each) {
        drop();
        for (unsigned n = 0; n < count * each; n++) {
            const Peer from = peer(first + n % count);
            (void)receive("eth0", frame1905(kEth0, from.intf, kMsgTopolQuery, ++id,
                                            macTlv(1, from.al) + endOfMsg()));
        }
        return std::ranges::count(sent("eth0"), kLastFragment + 0U, &Sent::flags);
    };
    advance(1);
    for (const unsigned n : {2U, 3U, 4U}) meet(peer(n), ++id);
    EXPECT_EQ(answered(2, 1, 600), 512 - 4) << "after its discovery";
    const size_t known = getNbrDevTable().size();
    for (unsigned n = 0; n < 600; n++) (void)receive("eth0", discovery(peer(1000 + n), ++id));
    EXPECT_EQ(getNbrDevTable().size() - known, (2048 - 3 * 4) / 4) << "strangers";
    EXPECT_EQ(answered(1000, 1, 5), 0) << "a stranger";
    EXPECT_EQ(answered(1, 1, 5), 5) << "a device of the mesh";
    EXPECT_EQ(answered(2, 1, 5), 0);
    const unsigned query = sendQuery(peer(2));
    EXPECT_EQ(receive("eth0", response(peer(2), query)), kOk) << "its answers are not limited";
    // Nor does the name of a neighbor open the table, or multiply what is sent to it.
    advance(1);
    for (unsigned n = 0; n < 600; n++)
        (void)receive("eth0", discovery({kPeer.al, peer(2000 + n).intf}, ++id));
    drop();
    (void)requestSend1905UcastMsg(kPeer.al, kMsgTopolQuery, {});
    EXPECT_EQ(sent("eth0").size(), 32U);
    const std::string lines = log.text();
    EXPECT_EQ(occurrences(lines, "too many messages"), 64U + 64U);
    EXPECT_EQ(occurrences(lines, "those of (02:ee:00:01:00:02)"), 1U);
    advance(1);
    EXPECT_EQ(answered(1000, 1, 5), 5);
    // Of the answer to each query one frame is free.
    static unsigned described = 0;
    upcalls().deviceDescribed = [](const MacAddr&) { described++; };
    advance(1);
    for (unsigned n = 0; n < 100; n++) {
        drop();
        (void)receive("eth0", notification(kPeer, ++id));
        for (const auto& asked : sent("eth0"))
            for (unsigned i = 0; i < 20; i++) (void)receive("eth0", fragment(asked.id, i, i == 19));
    }
    EXPECT_EQ(described, 512U / 20);
}

// sim/discovery_test.cpp checks that fragments are joined.
TEST_F(Receiver, FragmentsMustAnswerAQueryAndBeWellFormed) {
    // Type, type of the expected response, result, line.
    const std::tuple<unsigned, unsigned, int, std::string> cases[] = {
        {3, 6, kOk, "this message (type = 3, ID = 4660) doesn't match query"},
        {6, 6, kOk, "fragemented CMDU message (type = 6, id = 4660)\r\n"},
        {9, 9, kFailure, "unimplemented: message type (9)\r\n"},
        {13, 3, kFailure, "message type (13) isn't supported\r\n"}};
    for (const auto& [type, asked, result, line] : cases) {
        SCOPED_TRACE(line);
        renew(asked);
        EXPECT_EQ(receive("eth0", fragment(kId, 0, false, type)), kOk);
        LogCapture log(4);
        EXPECT_EQ(receive("eth0", fragment(kId, 2, true, type)), result);
        EXPECT_EQ(occurrences(log.text(), line), 1U);
        EXPECT_EQ(effects(), "");
        EXPECT_FALSE(isStored(kId, type));
    }
    renew(3);
    Frame cut = fragment(kId, 0);
    cut.pop_back();
    EXPECT_EQ(receive("eth0", cut), kOk);
    EXPECT_EQ(receive("eth0", fragment(kId, 2, true)), kFailure) << "one has no end of message";
}

TEST_F(Receiver, UnfinishedMessagesAreLimited) {
    for (unsigned id = 0; id < 10'000; id++) ASSERT_EQ(receive("eth0", fragment(id, 0)), kOk);
    EXPECT_FALSE(isStored(10'000 - 65)) << "the oldest is dropped";
    EXPECT_TRUE(isStored(10'000 - 64));
    for (unsigned i = 1; i < 64; i++) ASSERT_EQ(receive("eth0", fragment(9999, i)), kOk);
    EXPECT_EQ(receive("eth0", fragment(9999, 64)), kFailure) << "the 65th fragment";
    EXPECT_EQ(receive("eth0", fragment(9999, 64, true)), kFailure);
    EXPECT_FALSE(isStored(9999));
    advance(5);
    EXPECT_EQ(receive("eth0", fragment(9998, 1)), kOk);
    advance(1);
    EXPECT_EQ(runMessageMonitor(), kOk);
    EXPECT_FALSE(isStored(9997)) << "6 seconds old";
    EXPECT_TRUE(isStored(9998));
}

// Both interfaces have a frame whose handler opens the ports anew.
TEST_F(Receiver, AHandlerMayRebuildThePorts) {
    fakePlatform().onAction = [] { (void)reinitIntfPorts(); };
    for (unsigned round = 1; round <= 2; round++) {
        ASSERT_TRUE(fakeNet().inject("eth0", frameOf(kMessages[11])));
        ASSERT_TRUE(fakeNet().inject("eth1", frameOf(kMessages[12])));
        EXPECT_EQ(runMessageMonitor(), kOk);
        EXPECT_EQ(fakePlatform().calls.size(), 2 * round);
        EXPECT_EQ(sent("eth0").at(0).type, 12U);
        EXPECT_EQ(sent("eth1").at(0).type, 11U);
        EXPECT_EQ(fakeNet().openSockets("eth0") + fakeNet().openSockets("eth1"), 2U);
        advance(6);
    }
}

}  // namespace
