// Fixture with a whole device, which runs as in the daemon, but on a scripted platform and
// simulated cables; and messages of neighbors for it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/result.h"
#include "controller/announcements.h"
#include "daemon/main_loop.h"
#include "daemon/message_monitor.h"
#include "daemon/receiver.h"
#include "db/data_manager.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/options.h"
#include "db/upcalls.h"
#include "net/ports.h"
#include "support/frames.h"
#include "support/test_clock.h"
#include "support/test_device.h"
#include "support/vendor.h"

inline const MacAddr kOwnAl = FakePlatform{}.alMac;
inline const MacAddr kEth0 = FakePlatform{}.intfs[0].mac;
inline const MacAddr kEth1 = FakePlatform{}.intfs[1].mac;
inline const MacAddr kEth2{0x02, 0x19, 0x05, 0, 1, 2};
inline constexpr uint32_t kMedia = 1;  // media type of all of them

// Another device: its AL MAC, and the interface that is heard.
struct Peer {
    MacAddr al, intf;
};
inline Peer peer(unsigned n) {
    const auto high = static_cast<uint8_t>(n >> 8);
    const auto low = static_cast<uint8_t>(n);
    return {{0x02, 0xEE, 0, 0, high, low}, {0x02, 0xEE, 0, 1, high, low}};
}
inline const Peer kPeer = peer(1);
inline const Peer kOther = peer(2);

inline Frame discovery(const Peer& from, unsigned id, unsigned type = kMsgTopolDisc) {
    return frame1905(k1905Multicast, from.intf, type, id,
                     macTlv(1, from.al) + macTlv(2, from.intf) + endOfMsg());
}
inline Frame notification(const Peer& from, unsigned id) {
    return discovery(from, id, kMsgTopolNtf);
}
inline Frame devInfoTlv(const Peer& of) {
    return tlvBytes(3, bytesOf(of.al) + Frame{1} + bytesOf(of.intf) + be16(kMedia) + Frame{0});
}
inline Frame response(const Peer& from, unsigned id) {
    return frame1905(kEth0, from.intf, kMsgTopolResp, id,
                     devInfoTlv(from) + macTlv(1, from.al) + endOfMsg());
}

// A vendor message that the device sent.
struct SentVend {
    MacAddr dst;
    unsigned id = 0, type = 0;
    Frame payload;

    std::string text() const { return std::to_string(type) + ":" + print(payload) + " "; }
};

class Device : public testing::Test {
  protected:
    void SetUp() override {
        DEBUGLEVEL = 0;
        setTestTime(1'700'000'000);
        freshDevice();
        ASSERT_NE(mkdtemp(folder_.data()), nullptr);
        (void)setDataModelFolderOption(folder_.c_str());
    }
    void TearDown() override {
        freshDevice();
        std::filesystem::remove_all(folder_);
        useSystemClock();
    }

    // What a file of the data-model folder contains.
    std::string fileText(const std::string& name) const {
        std::ifstream file(folder_ + "/" + name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // Starts the device on the interfaces of the scripted platform, and drops what it sends.
    void start() {
        fakeNet().addPlatformIntfs();
        installUpcalls();
        ASSERT_EQ(initDataManager(), kOk);
        ASSERT_EQ(initMessageMonitor(), kOk);
        ASSERT_EQ(startMessageMonitor(), kOk);
        fakePlatform().calls.clear();
        drop();
    }
    static void addEth2() { fakePlatform().intfs.push_back({"eth2", kEth2}); }

    static Port& port(const std::string& name) {
        for (auto& p : getIntfPorts()) {
            if (p.name == std::string_view(name)) return p;
        }
        abort();
    }
    // Injects a frame and returns the result of recv1905Msg.
    static int receive(const std::string& name, const Frame& frame) {
        EXPECT_TRUE(fakeNet().inject(name, frame));
        const PortsInUse guard;
        return recv1905Msg(port(name));
    }
    // The frames sent on the interface since the last call.
    static std::vector<Sent> sent(const std::string& name) {
        std::vector<Sent> all;
        for (const auto& frame : fakeNet().captureFrames(name)) all.push_back(decodeFrame(frame));
        return all;
    }
    // The vendor messages sent on eth0 since the last call.
    static std::vector<SentVend> sentVend() {
        std::vector<SentVend> all;
        for (const auto& s : sent("eth0")) {
            if (s.type != kMsgVendSpec) continue;
            const auto at = s.frame.begin() + 40;
            const auto size = s.frame.at(38) * 256 + s.frame.at(39);
            lastVendId = s.id;
            all.push_back({s.dst, s.id, s.frame.at(36) * 256U + s.frame.at(37), {at, at + size}});
        }
        return all;
    }
    // The same as text, with their payloads: "7:01ff 9:00 ". An id selects those that have it.
    static std::string orders(unsigned id = 0) {
        std::string all;
        for (const auto& s : sentVend()) all += id == 0 || s.id == id ? s.text() : "";
        return all;
    }
    // The types alone: "0 51 ".
    static std::string vendTypes() {
        std::string all;
        for (const auto& s : sentVend()) all += std::to_string(s.type) + " ";
        return all;
    }
    // Receives a vendor message.
    static int tell(const Peer& from, unsigned id, unsigned type, const Frame& payload) {
        return receive("eth0", vendFrame(kEth0, from.intf, from.al, id, type, payload));
    }
    // The actions of the platform since the last call: "setLEDvalue 1; ".
    static std::string calls() {
        std::string all;
        for (const auto& call : std::exchange(fakePlatform().calls, {})) all += call + "; ";
        return all;
    }
    // Drops the frames sent so far.
    static void drop() {
        for (const auto& intf : fakePlatform().intfs) (void)sent(intf.name);
    }
    // The types of the frames sent on the interface since the last call: "4 2 ".
    static std::string types(const std::string& name) {
        std::string all;
        for (const auto& s : sent(name)) all += std::to_string(s.type) + " ";
        return all;
    }
    static IntfTable& eth0() { return getIntfTable().front(); }
    // A neighbor is discovered on eth0, gets a query and answers it.
    static void meet(const Peer& who, unsigned id) {
        (void)receive("eth0", discovery(who, id));
        const auto asked = sent("eth0");
        ASSERT_FALSE(asked.empty());
        EXPECT_EQ(receive("eth0", response(who, asked.back().id)), kOk);
    }
    // Starts the device, which then meets this neighbor.
    void startWithPeer() {
        start();
        meet(kPeer, 1);
        drop();
        fakePlatform().calls.clear();
    }
    static Ieee1905DevTable& dev(const Peer& who = kPeer) {
        return *editIeee1905DevTableById(who.al);
    }
    const std::string& folder() const { return folder_; }
    inline static unsigned lastVendId = 0;  // of those that sentVend returned

  private:
    std::string folder_ = "/tmp/vm1905-XXXXXX";
};
