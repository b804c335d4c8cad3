// The service channel through its real slots: a client posts a request, the monitor runs, the
// client reads what came of it.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <thread>

#include "service/pending_requests.h"
#include "service/service_monitor.h"
#include "service/slots.h"
#include "service/wake_fifo.h"
#include "support/device.h"
#include "support/log_capture.h"
#include "support/vendor.h"
#include "topology/change_log.h"

namespace {

const Peer kPeer = peer(1);
const MacAddr kAll{};

// A number as a client on this machine writes it.
template <typename T>
Frame host(T value) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
    return {bytes, bytes + sizeof value};
}
Frame num16(unsigned value) {
    return host(static_cast<uint16_t>(value));
}
Frame num32(unsigned value) {
    return host(static_cast<uint32_t>(value));
}
Frame zeros(size_t n) {
    return Frame(n, 0);
}
std::string print(const Frame& bytes) {
    std::string out;
    char digits[4];
    for (const uint8_t byte : bytes) {
        snprintf(digits, sizeof digits, "%02x", byte);
        out += digits;
    }
    return out;
}
// An answer as it is printed below: without the zeros at its end.
std::string answer(unsigned servId, Frame payload) {
    while (!payload.empty() && payload.back() == 0) payload.pop_back();
    return std::to_string(servId) + ":" + print(payload);
}
std::string code(uint8_t of, uint8_t value) {
    return answer(254, {of, value});
}

class Service : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        usePrivateSlots();
        setWakeFifoPath(nullptr);
        ASSERT_EQ(initServiceMonitor(), kOk);
        ASSERT_EQ(startServiceMonitor(), kOk);
    }
    void TearDown() override {
        (void)destroyServiceMonitor();
        Device::TearDown();
    }

    static std::atomic_ref<uint8_t> flag(uint8_t* slot) { return std::atomic_ref(slot[6]); }
    // What the client finds in the response slot, which it empties; "" when there is nothing.
    static std::string take() {
        uint8_t* const slot = getServRespShm();
        if (flag(slot) != 0) return "";
        EXPECT_EQ(Frame(slot, slot + 4), num32(static_cast<unsigned>(getpid())));
        flag(slot) = 1;
        unsigned servId = 0;
        while (Frame(slot + 4, slot + 6) != num16(servId)) servId++;
        return answer(servId, Frame(slot + 7, slot + 636));
    }
    static void post(unsigned servId, const Frame& payload) {
        uint8_t* const slot = getServReqShm();
        std::fill(slot, slot + 6, uint8_t{0});
        std::fill(slot + 7, slot + 256, uint8_t{0});
        const Frame head = num32(static_cast<unsigned>(getpid())) + num16(servId);
        std::copy(head.begin(), head.end(), slot);
        std::copy(payload.begin(), payload.end(), slot + 7);
        flag(slot) = 0;
    }
    static std::string ask(unsigned servId, const Frame& payload = {}) {
        post(servId, payload);
        EXPECT_EQ(runServiceMonitor(), kOk);
        EXPECT_EQ(flag(getServReqShm()), 1);
        return take();
    }
    // Payloads of the vendor messages that left by eth0: "4:payload ".
    static std::string orders() {
        std::string all;
        for (const auto& s : sent("eth0")) {
            if (s.type != kMsgVendSpec) continue;
            const auto at = s.frame.begin() + 40;
            all += std::to_string(s.frame.at(37)) + ":" + print({at, at + s.frame.at(39)}) + " ";
        }
        return all;
    }
    static std::string calls() {
        std::string all;
        for (const auto& call : fakePlatform().calls) all += call + "; ";
        fakePlatform().calls.clear();
        return all;
    }
};

TEST_F(Service, Records) {
    const Frame al = bytesOf(kPeer.al);
    fakePlatform().intfs[0].oui = {0xAA, 0xBB, 0xCC};
    fakePlatform().intfs[0].vendInfo.assign(700, 0x77);
    LinkDesc link{};
    kPeer.intf.copyTo(link.nbrIntfMac);
    link.txErrors = 1, link.txPackets = 2, link.rxErrors = 3, link.rxPackets = 4;
    link.throughput = 1000, link.availability = 90, link.phyRate = 800, link.rssi = 7;
    fakePlatform().intfs[0].links = {link};
    fakePlatform().security = {1, 2, 3};
    fakePlatform().securityMode = 1;
    start();
    TopolTable& topol = *getNetTopolTable();
    topol.status = 1;
    topol.maxChangeLogEntries = 100;
    auto& dev = topol.devs.emplace_back();
    dev.alMac = kPeer.al;
    dev.status = 9;
    dev.intfs = {{kEth0, 1, {}, 0, {}}, {kEth1, 0x0105, {5, 6}, 2, {}}};
    dev.non1905Lists = {{kEth1, {kStation, kEth0}}};
    dev.ieee1905Lists = {{kEth1, {{kOwnAl, 1}}}};
    dev.brdgTuples = {{{kEth0, kEth1}}};
    dev.enableReboot = 1;
    (void)updateChangeLogTable(kLostNeighbor, kPeer.al, kEth1, kNon1905Nbr, kStation);
    getAlTable()->fwdRules = {{7}, {8}};
    advance(5);

    const Frame own0 = bytesOf(kEth0) + zeros(1) + num16(1);
    const Frame nobody = bytesOf(kStation);
    const struct {
        unsigned servId;
        Frame payload;
        std::string answer;
    } cases[] = {
        {0, {}, answer(1, bytesOf(kOwnAl) + zeros(3) + num32(5) + Frame{2})},
        {4, own0, answer(5, hex("aabbcc") + Frame(626, 0x77))},
        {4, nobody, code(4, 82)},
        {6, own0, answer(7, {})},
        {10, own0, answer(11, zeros(1) + num16(1))},
        {12, own0,
         answer(13, bytesOf(kPeer.intf) + bytesOf(kEth0) + zeros(1) + num32(1) + num32(2) +
                        num32(3) + num32(4) + num16(1000) + num16(90) + num16(800) + Frame{7})},
        {12, own0 + Frame{1}, code(12, 80)},
        {18, {}, code(18, 2)},
        {20, {1}, answer(21, zeros(1) + num16(8))},
        {20, {2}, code(20, 80)},
        {28, {}, answer(29, zeros(1) + num32(1) + Frame{1, 100, 1, 1})},
        {30, {0},
         answer(31, zeros(1) + num32(1'700'000'000) + Frame{1} + al + bytesOf(kEth1) + Frame{1} +
                        nobody)},
        {30, {1}, code(30, 80)},
        {34, {0}, answer(35, al + Frame{9, 2, 2, 1, 1})},
        {34, {255}, code(34, 80)},
        {36, al + Frame{1},
         answer(37, bytesOf(kEth1) + Frame{5, 2, 5, 6} + zeros(630 - 17) + Frame{2})},
        {36, al + Frame{2}, code(36, 80)},
        {36, nobody, code(36, 87)},
        {38, al, answer(39, bytesOf(kEth1) + Frame{2} + nobody + bytesOf(kEth0))},
        {40, al, answer(41, bytesOf(kEth1) + Frame{1} + bytesOf(kOwnAl) + Frame{1})},
        {42, al, answer(43, Frame{2} + bytesOf(kEth0) + bytesOf(kEth1))},
        {44, {}, answer(45, Frame{1} + num16(3) + Frame{1, 2, 3})},
        {128, {1}, answer(129, {1})},
        {128, {2}, code(128, 32)},
        {132, al, answer(133, {1})},
        {132, al + Frame{9}, code(132, 32)},
        {1, {}, ""},
        {217, {}, ""},
        {65535, {}, ""},
    };
    for (const auto& c : cases) EXPECT_EQ(ask(c.servId, c.payload), c.answer) << c.servId;

    // Far more than fits: the entries that do.
    dev.non1905Lists[0].nbrs.assign(1000, kStation);
    const std::string cut = ask(38, al);
    EXPECT_EQ(cut.size(), 3 + 2 * (7 + 103 * 6));
    EXPECT_EQ(cut.substr(15, 2), "67");

    topol.devs.clear();
    topol.changeLogNum = 0;
    EXPECT_EQ(ask(34), code(34, 81));
    EXPECT_EQ(ask(30), code(30, 81));
    (void)destroyDataManager();
    for (const uint8_t servId : hex("00 04 0a 1c 1e 22 24 2c")) {
        EXPECT_EQ(ask(servId), code(servId, 17));
    }
}

TEST_F(Service, AnInterfaceIsToldOnceTheRequestIsIdle) {
    start();
    const auto askIdling = [](uint8_t index, bool unread) {
        post(2, {index});
        flag(getServRespShm()) = unread ? 0 : 1;
        std::thread client([] {
            while (flag(getServRespShm()) == 0) std::this_thread::yield();
            flag(getServReqShm()) = 1;
        });
        EXPECT_EQ(runServiceMonitor(), kOk);
        client.join();
        return take();
    };
    EXPECT_EQ(askIdling(1, false), answer(3, bytesOf(kEth1) + zeros(7) + num16(1)));
    EXPECT_EQ(askIdling(2, true), code(2, 16)) << "what was not read is given up";

    const pid_t gone = fork();
    if (gone == 0) _exit(0);
    (void)waitpid(gone, nullptr, 0);
    post(2, {0});
    const Frame pid = num32(static_cast<unsigned>(gone));
    std::copy(pid.begin(), pid.end(), getServReqShm());
    EXPECT_EQ(runServiceMonitor(), kOk);
    EXPECT_EQ(take(), "");
}

TEST_F(Service, SlotsAndStates) {
    post(28, {});
    flag(getServReqShm()) = 1;
    EXPECT_EQ(runServiceMonitor(), kOk);
    EXPECT_EQ(take(), "") << "an idle slot holds no request";
    post(28, {});
    EXPECT_EQ(runServiceMonitor(), kOk);
    EXPECT_EQ(ask(30), code(30, 17)) << "an answer that nobody reads gives way";

    LogCapture log(5);
    EXPECT_EQ(startServiceMonitor(), kFailure);
    EXPECT_EQ(initServiceMonitor(), kInvalidState);
    EXPECT_EQ(getServiceMonitorState(), 2U);
    EXPECT_EQ(destroyServiceMonitor(), kOk);
    EXPECT_EQ(destroyServiceMonitor(), kInvalidState);
    EXPECT_EQ(runServiceMonitor(), kFailure);
    EXPECT_EQ(getServReqShm(), nullptr);
    const std::string logged = log.finish();
    EXPECT_NE(logged.find("invalid operational state (2) should be (1/INIT)"), std::string::npos);
    EXPECT_NE(logged.find("invalid operational state (0) should be (2/INIT)"), std::string::npos);
}

TEST_F(Service, APokeEndsTheWait) {
    const std::string path = folder() + "/wake";
    setWakeFifoPath(path.c_str());
    ASSERT_EQ(destroyServiceMonitor(), kOk);
    std::ofstream(path) << "mine";
    LogCapture log(2);
    ASSERT_EQ(initServiceMonitor(), kOk);
    EXPECT_NE(log.finish().find(path), std::string::npos);
    ASSERT_EQ(destroyServiceMonitor(), kOk);
    EXPECT_EQ(std::filesystem::file_size(path), 4U) << "of somebody else's";

    std::filesystem::remove(path);
    ASSERT_EQ(initServiceMonitor(), kOk);
    ASSERT_EQ(startServiceMonitor(), kOk);
    start();
    std::ofstream(path) << "x" << std::flush;
    (void)runMessageMonitor();
    EXPECT_EQ(fakeNet().lastReady, 1);
    EXPECT_EQ(runServiceMonitor(), kOk);
    (void)runMessageMonitor();
    EXPECT_EQ(fakeNet().lastReady, 0) << "one poke, one pass";
    ASSERT_EQ(destroyServiceMonitor(), kOk);
    EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
