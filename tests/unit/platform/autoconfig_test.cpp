// The auto-configuration that the library does itself, against a peer made of the message
// functions.
#include <sys/stat.h>

#include <utility>

#include "common/hook.h"
#include "support.h"
#include "wsc/exchange.h"

namespace {

const WscDevice kPeer{{2, 0, 0, 0, 0, 7}, "peer"};
const MacAddr kPeerPort{2, 0, 0, 0, 0, 8};

struct Sent {
    uint32_t servId = 0;
    MacAddr to;
    unsigned band = 0;
    std::vector<uint8_t> frame;
    std::string time;
};
std::vector<Sent> sent;

void record(uint32_t servId, void* info, uint32_t* retCode) {
    Sent made;
    made.servId = servId;
    if (servId == SERV_REQ_AP_AUTOCONF_WSC) {
        const auto& request = *static_cast<ApAutoConfWscReq*>(info);
        made.to = MacAddr(request.dstMac);
        made.frame.assign(request.frame, request.frame + request.frameLen);
        made.time = request.updateTime;
    } else if (servId == SERV_REQ_AP_AUTOCONF_RENEW) {
        made.band = static_cast<ApAutoConfRenewReq*>(info)->freqBand;
    } else if (servId == SERV_REQ_AP_AUTOCONF_SEARCH) {
        made.band = static_cast<ApAutoConfSrch*>(info)->freqBand;
    }
    sent.push_back(made);
    *retCode = 0;
}

// The messages since the last call.
std::vector<Sent> takeSent() {
    return std::exchange(sent, {});
}

void wait(int seconds) {
    while (seconds-- > 0) EXPECT_EQ(reSendRenewbySynclist(), 0);
}

int deliver(Bytes frame, const MacAddr& alMac = kPeer.alMac, const char* updateTime = "") {
    ApAutoConfWsc msg{};
    alMac.copyTo(msg.alMac);
    kPeerPort.copyTo(msg.srcMac);
    msg.frameLen = static_cast<uint16_t>(frame.size());
    msg.frame = frame.data();
    copyText(msg.updateTime, updateTime);
    return notifyApAutoConfWscMsgReceived(&msg);
}

WscEnrollee m1For(uint8_t band) {
    WscEnrollee session;
    EXPECT_TRUE(startWsc(session, *wifiBandOf(band), kPeer));
    return session;
}

// What a peer reads in the M2 that were sent: names and types of the networks.
std::string networksIn(WscEnrollee& session, const std::vector<Sent>& frames) {
    std::string text;
    for (const Sent& each : frames) {
        WscAnswer answer;
        EXPECT_EQ(readM2(session, each.frame, answer), "");
        EXPECT_EQ(each.to, kPeerPort);
        text += std::string(answer.network.ssid.text()) + " " +
                std::to_string(answer.network.auth) + " of " + std::to_string(answer.place.count) +
                ";";
    }
    return text;
}

}  // namespace

NETWORK_TEST(Registrar, AnswersEachM1WithTheNetworksOfItsBand) {
    const std::string home =
                          "[home]\nBAND = 2.4 5\nSSID = home\nAUTHENTICATION = wpa2+wpa3\n"
                          "KEY = 12345678\n",
                      mesh =
                          "[mesh]\nBAND = 5\nSSID = mesh\nAUTHENTICATION = wpa3-sae\n"
                          "KEY = 12345678\n";
    const ScratchFolder folder;
    folder.write("wifi.conf", home + mesh);
    setenv("VM1905_WIFI_CONF", folder.path("wifi.conf").c_str(), 1);
    Listener daemon;
    EXPECT_EQ(setServReqCallbackFunc(record), 0);

    WscEnrollee first = m1For(1), second = m1For(1);
    EXPECT_EQ(deliver(first.m1.view()), 0);
    const auto answers = takeSent();
    EXPECT_EQ(networksIn(first, answers), "home 96 of 2;mesh 64 of 2;");
    EXPECT_EQ(answers.front().time.size(), 10U);
    AutoConfTimes times{};
    EXPECT_EQ(getAPautoconfigTimes(&times), 0);
    EXPECT_EQ(times.time[1], answers.front().time);
    EXPECT_EQ(std::string(times.time[2]), "") << "no guest network";
    // A copy gets the same answer, another M1 must wait for five seconds.
    wait(4);
    EXPECT_EQ(deliver(first.m1.view()), 0);
    const auto copies = takeSent();
    ASSERT_EQ(copies.size(), 2U);
    EXPECT_EQ(copies[1].frame, answers[1].frame);
    EXPECT_EQ(deliver(second.m1.view()), 16);
    EXPECT_EQ(deliver(answers[0].frame), 16) << "an M2";
    wait(1);

    // A device without SAE.
    auto simple = *parseHex(hexText(second.m1.view()));
    const std::vector<uint8_t> offer{0x10, 0x04, 0x00, 0x02, 0x00, 0x61};
    std::ranges::search(simple, offer).begin()[5] = 0x21;
    EXPECT_EQ(deliver(simple), 0);
    EXPECT_TRUE(second.m1.assign(simple));
    EXPECT_EQ(networksIn(second, takeSent()), "home 32 of 1;");
    WscEnrollee guest = m1For(33);
    EXPECT_EQ(deliver(guest.m1.view()), 0);
    EXPECT_EQ(networksIn(guest, takeSent()), " 0 of 0;");

    // A change starts a renew of its band, and is given at once.
    folder.write("wifi.conf", home);
    wait(1);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].servId * 10 + sent[0].band, 31U);
    (void)takeSent();
    EXPECT_EQ(deliver(first.m1.view()), 0);
    EXPECT_EQ(networksIn(first, takeSent()), "home 96 of 1;");

    int answered = 0;
    for (uint8_t i = 0; i < 20; i++) {
        answered += deliver(guest.m1.view(), {2, 0, 0, 0, 1, i}) == 0 ? 1 : 0;
    }
    EXPECT_EQ(answered, 14) << "two others were just answered";
    folder.platformConf("APPROVED = 02:00:00:00:00:09\n");
    wait(5);
    EXPECT_EQ(deliver(first.m1.view()), 16) << "not admitted";

    // Without the file the hook is asked.
    std::filesystem::remove(folder.path("wifi.conf"));
    wait(1);
    (void)takeSent();
    folder.hook("autoconf-wsc", "echo beef");
    EXPECT_EQ(deliver(first.m1.view()), 0);
    EXPECT_EQ(sent.at(0).frame, (std::vector<uint8_t>{0xBE, 0xEF}));
}

NETWORK_TEST(Enrollee, SearchesAndAsksUntilItHasItsNetworks) {
    const ScratchFolder folder;
    folder.hook("autoconf-networks", "cp $VM1905_RUN/wifi-$1.conf $VM1905_RUN/seen");
    Listener daemon;
    EXPECT_EQ(setServReqCallbackFunc(record), 0);
    EXPECT_EQ(setWPSConfig(1, 0, 0), 0);
    wait(3);
    EXPECT_EQ(setWPSConfByBand("33", 1, 0), 0);
    std::string seconds;
    for (int i = 0; i < 40; i++) {
        wait(1);
        for (const Sent& each : takeSent()) {
            seconds += std::to_string(each.band) + " at " + std::to_string(i) + ";";
        }
    }
    EXPECT_EQ(seconds, "33 at 0;33 at 5;33 at 15;33 at 35;");

    ApAutoConfInfo info{PLATFORM_REGISTRAR, 33, {}, 1};
    kPeer.alMac.copyTo(info.alMac);
    for (int i = 0; i < 2; i++) EXPECT_EQ(notifyApAutoConfRespMsgReceived(&info), 0);
    ASSERT_EQ(sent.size(), 1U) << "one exchange at a time";
    const auto m1 = takeSent()[0];
    EXPECT_EQ(m1.to, kPeer.alMac);
    seconds.clear();
    for (int i = 1; i <= 62; i++) {
        wait(1);
        for (const Sent& each : takeSent()) {
            seconds += std::to_string(i) + ";";
            EXPECT_EQ(each.frame, m1.frame);
        }
    }
    EXPECT_EQ(seconds, "2;6;14;30;") << "then it gives up";

    WscRegistrar peer;
    const auto answered = [&](WscPlace place, std::string_view ssid) {
        WifiNetwork network;
        network.auth = kAuthWpa2Psk;
        EXPECT_TRUE(network.ssid.assign(wscBytes(ssid)) &&
                    network.key.assign(wscBytes("12345678")));
        WscFrame m2;
        EXPECT_EQ(buildM2(peer, kPeer, place, network, m2), "");
        return m2;
    };
    EXPECT_EQ(notifyApAutoConfRespMsgReceived(&info), 0);
    EXPECT_EQ(readM1(peer, takeSent().at(0).frame), "");
    EXPECT_EQ(prepareM2(peer), "");
    const WscFrame one = answered({0, 2}, "one"), two = answered({1, 2}, "two");
    EXPECT_EQ(deliver(one.view(), kPeerPort), 16) << "another device";
    EXPECT_EQ(deliver(two.view()), 0);
    EXPECT_EQ(folder.read("run/wifi-33.conf"), "") << "one is missing";
    EXPECT_EQ(deliver(one.view(), kPeer.alMac, "1700000000"), 0);
    EXPECT_EQ(deliver(one.view()), 16) << "the exchange has ended";
    const std::string networks =
        "[network-1]\nBAND = guest-5\nSSID_HEX = 6f6e65\nAUTHENTICATION = wpa2-psk\n"
        "KEY = \"12345678\"\n"
        "[network-2]\nBAND = guest-5\nSSID_HEX = 74776f\nAUTHENTICATION = wpa2-psk\n"
        "KEY = \"12345678\"\n";
    EXPECT_EQ(folder.read("run/wifi-33.conf"), networks);
    struct stat file {};
    EXPECT_EQ(stat(folder.path("run/wifi-33.conf").c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777, 0600U);
    EXPECT_TRUE(becomes([&] { return (collectJobs(), folder.read("run/seen") == networks); }));
    AutoConfTimes times{};
    EXPECT_EQ(getAPautoconfigTimes(&times), 0);
    EXPECT_STREQ(times.time[3], "1700000000");
    wait(400);
    EXPECT_EQ(takeSent().size(), 0U) << "nothing to search for";

    EXPECT_EQ(notifyApAutoConfRenewMsgReceived(&info), 0);
    EXPECT_EQ(readM1(peer, takeSent().at(0).frame), "");
    EXPECT_EQ(prepareM2(peer), "");
    EXPECT_EQ(deliver(answered({0, 0}, "").view()), 0);
    EXPECT_EQ(folder.read("run/wifi-33.conf"), "");
    folder.hook("autoconf-renew", "exit 5");
    EXPECT_EQ(notifyApAutoConfRenewMsgReceived(&info), 5) << "the hook does it";
}
