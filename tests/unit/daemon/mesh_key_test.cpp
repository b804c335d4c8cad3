// The key of the mesh: what is signed, and which messages are obeyed.
#include <fstream>

#include "base/state.h"
#include "db/sys_ctrl.h"
#include "net/message_integrity.h"
#include "net/transmitter.h"
#include "net/vend_sender.h"
#include "platform/integrity.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

const Frame kKey = hex("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f");
constexpr uint64_t kStart = uint64_t{1} << 24;  // the first counter of a device's first start

Frame hmac(const Frame& key, const Frame& data) {
    Frame out(32);
    EXPECT_EQ(computeHmacSha256(key.data(), static_cast<uint32_t>(key.size()), data.data(),
                                static_cast<uint32_t>(data.size()), out.data()),
              0);
    return out;
}

// The integrity TLV of a message with these headers and TLVs.
Frame integrityTlv(const Frame& message, const MacAddr& from, uint64_t counter, const Frame& key) {
    const Frame label{'v', 'm', '1', '9', '0', '5', ' ', 'm', 'e', 's', 'h', ' ', 'k', 'e', 'y'};
    Frame origin;
    for (int shift = 40; shift >= 0; shift -= 8) {
        origin.push_back(static_cast<uint8_t>(counter >> shift));
    }
    origin = origin + bytesOf(from);
    const Frame headers(message.begin() + 14, message.begin() + 20);
    const Frame dst(message.begin(), message.begin() + 6),
        tlvs(message.begin() + 22, message.end());
    const auto flags = static_cast<uint8_t>((hmac(key, label)[0] & 0xC0) | 0x10);
    return tlvBytes(0xAB,
                    Frame{flags} + origin + be16(32) + hmac(key, headers + dst + origin + tlvs));
}

// A message that a neighbor has signed.
Frame signedFrame(uint64_t counter, unsigned type, const Frame& tlvs, const MacAddr& dst = kEth0,
                  const Peer& from = kPeer, const Frame& key = kKey) {
    const Frame message = frame1905(dst, from.intf, type, counter & 0xFFFF, tlvs);
    return message + integrityTlv(message, from.al, counter, key) + endOfMsg();
}
const Frame kLedTlv = vendTlv(kPeer.al, 33, bytesOf(kOwnAl) + hex("09"));
Frame order(uint64_t counter, const Frame& key = kKey, const Peer& from = kPeer) {
    return signedFrame(counter, kMsgVendSpec, kLedTlv, kEth0, from, key);
}

class MeshKeyTest : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        writeKey("mesh.key", kKey);
        restart();
    }
    std::string writeKey(const std::string& name, const Frame& bytes, unsigned mode = 0600) const {
        std::string path = folder() + "/" + name;
        std::filesystem::remove(path);
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        std::filesystem::permissions(path, std::filesystem::perms(mode));
        return path;
    }
    void restart(const std::string& key = "mesh.key", const std::string& next = "") {
        freshDevice();
        setConfFolder(folder());
        (void)setDataModelFolderOption(folder().c_str());
        getSysCtrl().config.meshKey = folder() + "/" + key;
        getSysCtrl().config.meshKeyNext = next.empty() ? "" : folder() + "/" + next;
        ASSERT_EQ(initMessageIntegrity(), kOk);
        startWithPeer();
    }
    static MessageIntegrity& key() { return stateOf<MessageIntegrity>(); }
    // Whether the frame makes the device change its LED.
    static bool obeys(const Frame& frame, const std::string& intf = "eth0") {
        fakePlatform().calls.clear();
        (void)receive(intf, frame);
        drop();
        return fakePlatform().called("setLEDvalue 9");
    }
    // The number of orders to a neighbor that leave.
    static size_t orders() {
        (void)sendVendMsg(kPeer.al, VEND_MSG_TYPE_REBOOT_REQ, AlMacPayload{kPeer.al});
        return sentVend().size();
    }
};

TEST_F(MeshKeyTest, MessagesAreSignedForTheirDestination) {
    uint64_t counter = key().nextCounter;
    EXPECT_EQ(counter >> 24, 1U);
    ASSERT_EQ(requestSend1905UcastMsg(kPeer.al, kMsgTopolQuery, {}), kOk);
    ASSERT_EQ(requestSend1905McastMsg(kMsgTopolNtf, {}), kOk);
    for (const auto& message : sent("eth0")) {
        const Frame plain(message.frame.begin(), message.frame.end() - 53);
        const Frame wanted = plain + integrityTlv(plain, kOwnAl, counter++, kKey) + endOfMsg();
        EXPECT_EQ(print(message.frame), print(wanted));
    }
    EXPECT_EQ(counter, key().nextCounter);
    restart();
    EXPECT_EQ(key().nextCounter >> 24, 2U);
}

TEST_F(MeshKeyTest, OnlyTheMeshGivesOrders) {
    const std::string al = "010006 02ee00000001 ";
    const std::tuple<unsigned, Frame, std::string> needProof[] = {
        {4, kLedTlv, "setLEDvalue"},
        {9, hex(al + "110003 abcdef"), "notifyApAutoConfWscMsg"},
        {10, hex(al + "0f0001 01 100001 02"), "notifyApAutoConfRenewMsg"},
        {11, hex(al + "12000a 02 0105 03 aabbcc 0001 00"), "notifyPBEventMsg"},
        {12, hex(al + "130014 02ee00000001 00ff 020304050608 020304050609"), "notifyPBJoinMsg"}};
    uint64_t counter = kStart;
    for (const auto& [type, tlvs, call] : needProof) {
        (void)receive("eth0", frame1905(kEth0, kPeer.intf, type, 77, tlvs + endOfMsg()));
        EXPECT_EQ(calls() + types("eth0") + types("eth1"), "") << type;
        const Frame good = signedFrame(counter++, type, tlvs);
        (void)receive("eth0", good);
        EXPECT_TRUE(fakePlatform().called(call)) << type;
        (void)calls();
        (void)receive("eth0", good);
        EXPECT_EQ(calls(), "") << type << " once";
        drop();
    }
    // A message may not hide an order behind a discovery.
    const Frame disc = vendTlv(kPeer.al, 45, bytesOf(kPeer.al) + bytesOf(kPeer.intf));
    EXPECT_FALSE(obeys(frame1905(kEth0, kPeer.intf, 4, 5, disc + kLedTlv + endOfMsg())));
    EXPECT_EQ(refusedMessages(), 6U);

    // Foreign devices are still seen.
    EXPECT_FALSE(getIeee1905DevTableById(kOther.al));
    meet(kOther, 9);
    EXPECT_TRUE(getIeee1905DevTableById(kOther.al));
    EXPECT_EQ(receive("eth0", vendFrame(kEth0, kOther.intf, kOther.al, 1, 45,
                                        bytesOf(kOther.al) + bytesOf(kOther.intf))),
              kOk);
    EXPECT_TRUE(speaksWithKey(kPeer.al));
    EXPECT_FALSE(speaksWithKey(kOther.al));

    // The MIC is that of the whole message.
    ASSERT_EQ(requestSend1905UcastMsg(kOther.al, kMsgTopolQuery, {}), kOk);
    const unsigned id = sent("eth0").back().id;
    const Frame tlvs[] = {devInfoTlv(kOther), macTlv(1, kOther.al)};
    const Frame whole = frame1905(kEth0, kOther.intf, 3, id, tlvs[0] + tlvs[1]);
    (void)receive("eth0", frame1905(kEth0, kOther.intf, 3, id, tlvs[0] + endOfMsg(), 0));
    EXPECT_EQ(
        receive("eth0", frame1905(kEth0, kOther.intf, 3, id,
                                  tlvs[1] + integrityTlv(whole, kOther.al, 1, kKey) + endOfMsg(),
                                  kLastFragment, 1)),
        kOk);
    EXPECT_TRUE(speaksWithKey(kOther.al));
}

TEST_F(MeshKeyTest, EveryCoveredBitCounts) {
    const Frame good = order(kStart);
    for (size_t at = 0; at < good.size() - 3; at++) {
        if (at >= 6 && at < 14) continue;    // a relay changes the source
        if (at == 20 || at == 21) continue;  // fragment and flags
        Frame bad = good;
        bad[at] ^= static_cast<uint8_t>(1U << at % 8);
        EXPECT_FALSE(obeys(bad)) << at;
    }
    EXPECT_FALSE(obeys(Frame(good.begin(), good.end() - 3) + kLedTlv + endOfMsg()));
    EXPECT_FALSE(obeys(order(kStart, Frame(32, 1)))) << "another key";
    for (const MacAddr& al : {kOwnAl, MacAddr{}}) {
        EXPECT_FALSE(obeys(order(kStart, kKey, {al, kOther.intf}))) << macText(al);
    }
    for (size_t size = 22; size < good.size() - 3; size++) {
        EXPECT_FALSE(obeys(Frame(good.begin(), good.begin() + static_cast<int>(size)))) << size;
    }
    EXPECT_TRUE(obeys(good));
}

TEST_F(MeshKeyTest, ReplaysAreRefused) {
    const Frame first = order(kStart + 200);
    EXPECT_TRUE(obeys(first));
    advance(6);  // no answer is remembered
    EXPECT_FALSE(obeys(first));
    Frame elsewhere = order(kStart + 201);
    std::ranges::copy(kEth1.b, elsewhere.begin());
    EXPECT_FALSE(obeys(elsewhere, "eth1")) << "for another address";

    // A copy within 5 seconds is answered, but not obeyed.
    const auto answers = [&] {
        (void)receive("eth0", order(kStart + 202));
        return vendTypes();
    };
    EXPECT_EQ(answers(), "35 ");
    fakePlatform().calls.clear();
    EXPECT_EQ(answers(), "35 ");
    EXPECT_EQ(calls(), "");

    // One that cannot be answered is not obeyed, but its copy over another link is.
    const Frame reset = signedFrame(kStart + 150, 4, vendTlv(kPeer.al, 22, bytesOf(kOwnAl)));
    Frame unanswered = reset;
    unanswered[11] ^= 0x80;
    for (const auto& frame : {unanswered, reset}) {
        (void)receive("eth0", frame);
        EXPECT_EQ(fakePlatform().called("resetToDefault"), frame == reset);
    }
    // Links reorder: each of the 64 counters behind the highest is accepted once.
    for (unsigned n = 264; n > 202; n--) {
        if (n % 32 == 0) advance(1);  // no more orders a second are obeyed
        EXPECT_TRUE(obeys(order(kStart + n))) << n;
    }
    advance(6);
    for (const unsigned n : {201U, 202U, 203U, 264U}) EXPECT_EQ(obeys(order(kStart + n)), n == 201);
    EXPECT_TRUE(obeys(order(kStart + 400)));
    EXPECT_FALSE(obeys(order(kStart + 335)));
    EXPECT_TRUE(obeys(order(kStart + 336)));

    // What was refused is not obeyed when the settings allow it, even if no answer could be sent.
    auto& config = getSysCtrl().config;
    for (const bool isAllowed : {false, true}) {
        config.enableSystemFromNbr = isAllowed;
        config.ordersFrom.who = isAllowed ? OrdersFrom::kAny : OrdersFrom::kListed;
        EXPECT_FALSE(obeys(order(kStart + 398)));
        config.ordersFrom.who = OrdersFrom::kAny;
        Frame silent = order(kStart + 399);
        if (!isAllowed) silent[11] ^= 0x80;
        EXPECT_FALSE(obeys(silent));
    }

    restart();
    for (const unsigned n : {336U, 399U, 400U}) EXPECT_FALSE(obeys(order(kStart + n))) << n;
    EXPECT_FALSE(speaksWithKey(kPeer.al));
    EXPECT_TRUE(obeys(order(kStart + 401)));
    EXPECT_TRUE(obeys(order(kStart, kKey, kOther))) << "another sender";
}

TEST_F(MeshKeyTest, CountersThatCannotBeStoredStopOrders) {
    const std::string state = folder() + "/state", away = state + ".away";
    EXPECT_TRUE(obeys(order(kStart)));
    EXPECT_EQ(orders(), 1U);
    const auto brokenBy = [&](auto change) {
        change();
        EXPECT_FALSE(obeys(order(kStart + 1)));
        const LogCapture log(1);
        restart();
        EXPECT_EQ(orders(), 0U);
        EXPECT_EQ(requestSend1905McastMsg(kMsgTopolDisc, {}), kOk);
        EXPECT_EQ(types("eth0"), "0 ") << "only orders are held back";
    };
    const auto open = [&](unsigned mode) {
        std::filesystem::permissions(state, std::filesystem::perms(mode));
    };
    brokenBy([&] { open(0755); });
    open(0700);
    restart();
    EXPECT_EQ(orders(), 1U);
    brokenBy([&] {
        std::filesystem::rename(state, away);
        std::ofstream(state) << "no folder";
    });
    std::filesystem::remove(state);
    for (int i = 0; i < 2; i++) {
        LogCapture log(1);
        restart();
        EXPECT_EQ(occurrences(log.text(), "the counter of MESH_KEY is lost"), 1U) << "for ever";
        EXPECT_EQ(orders(), 0U);
    }
    writeKey("new.key", Frame(32, 7));
    restart("new.key", "mesh.key");
    EXPECT_EQ(orders(), 1U);
    EXPECT_TRUE(obeys(order(kStart + 2)));
    EXPECT_TRUE(obeys(order(kStart, Frame(32, 7)))) << "each key has counters of its own";
    writeKey("third.key", Frame(32, 8));
    for (const std::string key : {"third.key", "new.key"}) {
        restart(key, key == "new.key" ? "third.key" : "new.key");
        EXPECT_EQ(orders(), 1U) << "a change and its reversal";
    }
}

TEST_F(MeshKeyTest, RefusesBadKeysAndReportsEachSourceOnceASecond) {
    LogCapture log(2);
    const auto keys = key().keys;
    for (const auto& path : {writeKey("short", Frame(31, 1)), writeKey("open", kKey, 0640),
                             folder() + "/none", folder()}) {
        getSysCtrl().config.meshKey = path;
        EXPECT_EQ(initMessageIntegrity(), kFailure) << path;
    }
    key().keys = keys;
    const auto refusals = [&](const Peer& from) {
        EXPECT_FALSE(
            obeys(vendFrame(kEth0, from.intf, from.al, 3, 33, bytesOf(kOwnAl) + hex("09"))));
        return occurrences(log.text(), "refuse message (macSa = " + macText(from.intf));
    };
    (void)log.text();
    EXPECT_EQ(refusals(kPeer), 1U);
    EXPECT_EQ(refusals(kPeer), 0U);
    EXPECT_EQ(refusals(kOther), 1U);
    advance(1);
    EXPECT_EQ(refusals(kPeer), 1U);
    EXPECT_EQ(refusedMessages(), 4U);
}

}  // namespace
