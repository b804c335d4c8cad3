// The auto-configuration that the library does itself, against a peer made of the message
// functions.
#include <sys/stat.h>

#include <utility>

#include "common/hook.h"
#include "netctrl/autoconfig_networks.h"
#include "netctrl/wifi_report.h"
#include "support.h"
#include "wsc/exchange.h"

namespace {

using Frame = std::vector<uint8_t>;

const WscDevice kPeer{{2, 0, 0, 0, 0, 7}, "peer"};

// What the library asked the daemon to send: the WSC frames, and everything as text.
std::vector<Frame> frames;
std::string sent;

void record(uint32_t servId, void* info, uint32_t* retCode) {
    sent += std::to_string(servId) + " ";
    if (servId == SERV_REQ_AP_AUTOCONF_WSC) {
        const auto& request = *static_cast<ApAutoConfWscReq*>(info);
        frames.emplace_back(request.frame, request.frame + request.frameLen);
        sent += macText(request.dstMac) + " " + request.updateTime;
    } else if (servId == SERV_REQ_AP_AUTOCONF_RENEW) {
        sent += std::to_string(static_cast<ApAutoConfRenewReq*>(info)->freqBand);
    } else if (servId == SERV_REQ_AP_AUTOCONF_ACK) {
        const auto& ack = *static_cast<ApAutoConfAckReq*>(info);
        sent += macText(ack.alMac) + " " + std::to_string(ack.freqBand);
    } else {
        sent += std::to_string(static_cast<ApAutoConfSrch*>(info)->freqBand);
    }
    sent += ";";
    *retCode = 0;
}

// Forgets the text and returns the frames since the last call.
std::vector<Frame> takeFrames() {
    sent.clear();
    return std::exchange(frames, {});
}

// The seconds in which something is sent, from 1.
std::string wait(int seconds) {
    std::string busy;
    for (int i = 1; i <= seconds; i++) {
        const size_t before = sent.size();
        EXPECT_EQ(reSendRenewbySynclist(), 0);
        if (sent.size() != before) busy += std::to_string(i) + ";";
    }
    return busy;
}

int deliver(Bytes frame, const MacAddr& alMac = kPeer.alMac, const char* updateTime = "") {
    ApAutoConfWsc msg{};
    alMac.copyTo(msg.alMac);
    kPeer.alMac.copyTo(msg.srcMac);
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

// Names, types and number of the networks that the M2 give to the peer.
std::string networksIn(WscEnrollee& session, const std::vector<Frame>& answers) {
    std::string text;
    for (const Frame& each : answers) {
        WscAnswer answer;
        EXPECT_EQ(readM2(session, each, answer), "");
        text += std::string(answer.network.ssid.text()) + " " +
                std::to_string(answer.network.auth) + "/" + std::to_string(answer.place.count) +
                ";";
    }
    return text;
}

std::string configuredAt(size_t index) {
    AutoConfTimes times{};
    EXPECT_EQ(getAPautoconfigTimes(&times), 0);
    return times.time[index];
}

}  // namespace

NETWORK_TEST(Registrar, AnswersEachM1WithTheNetworksOfItsBand) {
    const std::string home =
        "[home]\nBAND = 2.4 5\nSSID = home\nAUTHENTICATION = wpa2+wpa3\n"
        "KEY = 12345678\n";
    const ScratchFolder folder;
    folder.write("wifi.conf", home +
                                  "[mesh]\nBAND = 5\nSSID = mesh\nAUTHENTICATION = wpa3-sae\n"
                                  "KEY = 12345678\n");
    setenv("VM1905_WIFI_CONF", folder.path("wifi.conf").c_str(), 1);
    Listener daemon;
    EXPECT_EQ(setServReqCallbackFunc(record), 0);

    WscEnrollee first = m1For(1), second = m1For(1), guest = m1For(33);
    EXPECT_EQ(deliver(first.m1.view()), 0);
    const std::string time = configuredAt(1);
    EXPECT_EQ(time.size(), 10U);
    EXPECT_EQ(configuredAt(2), "") << "no guest network";
    EXPECT_EQ(sent, "2 02:00:00:00:00:07 " + time + ";2 02:00:00:00:00:07 " + time + ";");
    const auto answers = takeFrames();
    EXPECT_EQ(networksIn(first, answers), "home 96/2;mesh 64/2;");
    EXPECT_EQ(deliver(first.m1.view()), 0);
    EXPECT_EQ(sent, "") << "the M1 has also come by another cable";
    // A repeated M1 gets the same answer, another one must wait for five whole seconds.
    wait(5);
    EXPECT_EQ(deliver(first.m1.view()), 0);
    EXPECT_EQ(takeFrames(), answers);
    EXPECT_EQ(deliver(second.m1.view()), 16);
    EXPECT_EQ(deliver(answers[0]), 16) << "an M2";
    EXPECT_EQ(deliver(first.m1.view(), {2, 0, 0, 0, 0, 8}), 16) << "replayed by another device";
    wait(1);

    // A device without SAE.
    Frame simple = *parseHex(hexText(second.m1.view()));
    const Frame offer{0x10, 0x04, 0x00, 0x02, 0x00, 0x61};
    std::search(simple.begin(), simple.end(), offer.begin(), offer.end())[5] = 0x21;
    EXPECT_EQ(deliver(simple), 0);
    EXPECT_TRUE(second.m1.assign(simple));
    EXPECT_EQ(networksIn(second, takeFrames()), "home 32/1;");
    EXPECT_EQ(deliver(guest.m1.view()), 0);
    EXPECT_EQ(networksIn(guest, takeFrames()), " 0/0;");

    // A change starts a renew of its band, and is given at once.
    folder.write("wifi.conf", home);
    wait(1);
    EXPECT_EQ(sent, "3 1;");
    EXPECT_EQ(deliver(first.m1.view()), 0);
    EXPECT_EQ(networksIn(first, takeFrames()), "home 96/1;");

    int answered = 0;
    for (uint8_t i = 0; i < 20; i++) {
        answered += deliver(m1For(33).m1.view(), {2, 0, 0, 0, 1, i}) == 0 ? 1 : 0;
    }
    EXPECT_EQ(answered, 14) << "two others were just answered";
    folder.platformConf("APPROVED = 02:00:00:00:00:09\n");
    wait(5);
    EXPECT_EQ(deliver(first.m1.view()), 16) << "not admitted";
}

NETWORK_TEST(Registrar, RenewsWhatChangedWhileItWasOff) {
    const ScratchFolder folder;
    setenv("VM1905_WIFI_CONF", folder.path("wifi.conf").c_str(), 1);
    const auto start = [&](const std::string& key) {
        folder.write("wifi.conf", "[a]\nBAND = 5\nSSID = home\nAUTHENTICATION = wpa3-sae\nKEY = " +
                                      key + "\n[b]\nBAND = 2.4\nSSID = b\nAUTHENTICATION = open\n");
        sent.clear();
        Listener daemon;
        EXPECT_EQ(setServReqCallbackFunc(record), 0);
        wait(2);
        return sent;
    };
    EXPECT_EQ(start("12345678"), "") << "it has given nothing yet";
    EXPECT_EQ(start("12345678"), "");
    EXPECT_EQ(start("another key"), "3 1;");
    EXPECT_EQ(start("another key"), "");
    for (const auto& [name, text] : stored()) {
        for (const char* secret : {"home", "686f6d65", "another", "key"}) {
            EXPECT_EQ(text.find(secret), text.npos) << name;
        }
    }
}

NETWORK_TEST(Enrollee, SearchesAndAsksUntilItHasItsNetworks) {
    const ScratchFolder folder;
    folder.hook("autoconf-networks",
                "cp $VM1905_RUN/wifi-$1.conf $VM1905_RUN/seen; echo >> $VM1905_RUN/runs");
    Listener daemon;
    EXPECT_EQ(setServReqCallbackFunc(record), 0);
    EXPECT_EQ(setWPSConfig(1, 0, 0), 0);
    EXPECT_EQ(wait(3), "");
    EXPECT_EQ(setWPSConfByBand("33", 1, 0), 0);
    EXPECT_EQ(wait(40), "1;6;16;36;");
    EXPECT_EQ(sent, "0 33;0 33;0 33;0 33;");

    ApAutoConfInfo info{PLATFORM_REGISTRAR, 33, {}, 1};
    kPeer.alMac.copyTo(info.alMac);
    (void)takeFrames();
    for (int i = 0; i < 2; i++) EXPECT_EQ(notifyApAutoConfRespMsgReceived(&info), 0);
    EXPECT_EQ(sent, "2 02:00:00:00:00:07 ;") << "one exchange at a time";
    EXPECT_EQ(wait(62), "2;6;14;30;") << "then it gives up";
    const auto m1s = takeFrames();
    EXPECT_EQ(m1s, std::vector<Frame>(5, m1s[0]));
    const auto isReported = [&](const std::string& text) {
        return folder.read("run/wifi.json").find(text) != std::string::npos;
    };
    EXPECT_TRUE(isReported("\"failed\"") && isReported("\"it has not answered\""));

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
    EXPECT_EQ(readM1(peer, takeFrames().at(0)), "");
    EXPECT_EQ(prepareM2(peer), "");
    const WscFrame one = answered({0, 2}, "one"), two = answered({1, 2}, "two");
    EXPECT_EQ(deliver(one.view(), {2, 0, 0, 0, 0, 8}), 16) << "another device";
    EXPECT_EQ(deliver(two.view()), 0);
    const auto networks = [&] { return folder.read("run/wifi-33.conf"); };
    EXPECT_EQ(networks(), "") << "one is missing";
    EXPECT_EQ(deliver(two.view()), 0) << "a copy";
    EXPECT_EQ(deliver(one.view(), kPeer.alMac, "1700000000"), 0);
    EXPECT_EQ(sent, "") << "no renew is acknowledged";
    // What comes by another cable.
    EXPECT_EQ(deliver(one.view()), 0);
    EXPECT_EQ(notifyApAutoConfRespMsgReceived(&info), 0);
    EXPECT_EQ(sent, "");
    EXPECT_EQ(deliver(answered({1, 2}, "other").view()), 16) << "the exchange has ended";
    EXPECT_LT(networks().find("6f6e65"), networks().find("SSID_HEX = 74776f"));
    struct stat file {};
    EXPECT_EQ(stat(folder.path("run/wifi-33.conf").c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777, 0600U);
    EXPECT_TRUE(becomes([&] { return (collectJobs(), folder.read("run/seen") == networks()); }));
    EXPECT_TRUE(becomes([&] { return (collectJobs(), configuredAt(3) == "1700000000"); }));
    EXPECT_TRUE(becomes([&] { return folder.read("run/runs") == "\n"; }));
    dropWifiReport();
    recallNetworks();
    wait(1);
    EXPECT_TRUE(isReported("\"6f6e65\"") && isReported("/wifi-33.conf\"")) << "after a restart";
    EXPECT_EQ(wait(400), "") << "nothing to search for";
    EXPECT_EQ(sendWPSSearch(33), 0);
    EXPECT_EQ(wait(5), "5;") << "what the daemon requests is repeated until it is answered";
    EXPECT_EQ(deliver(one.view()), 16) << "a replay";

    // A renew is acknowledged when all networks have arrived.
    EXPECT_EQ(notifyApAutoConfRenewMsgReceived(&info), PLATFORM_RENEW_STARTED);
    EXPECT_EQ(wait(62), "2;6;14;30;");
    EXPECT_EQ(sent.find("6 "), sent.npos) << "nothing has arrived";
    (void)takeFrames();
    EXPECT_EQ(notifyApAutoConfRenewMsgReceived(&info), PLATFORM_RENEW_STARTED);
    EXPECT_EQ(readM1(peer, takeFrames().at(0)), "");
    EXPECT_EQ(prepareM2(peer), "");
    Frame forged = *parseHex(hexText(answered({0, 2}, "one").view()));
    forged.back() ^= 1;
    EXPECT_EQ(deliver(forged), 16);
    wait(1);
    EXPECT_TRUE(isReported("\"its M2 was refused: its authenticator is wrong\""));
    EXPECT_EQ(deliver(answered({0, 2}, "one").view()), 0);
    EXPECT_EQ(sent, "");
    const auto isAcknowledged = [] {
        return becomes([] { return (collectJobs(), sent == "6 02:00:00:00:00:07 33;"); });
    };
    EXPECT_EQ(deliver(answered({1, 2}, "two").view()), 0);
    EXPECT_TRUE(isAcknowledged());
    EXPECT_EQ(notifyApAutoConfRenewMsgReceived(&info), PLATFORM_RENEW_STARTED);
    EXPECT_EQ(readM1(peer, takeFrames().at(0)), "");
    EXPECT_EQ(prepareM2(peer), "");
    EXPECT_EQ(deliver(answered({0, 0}, "").view()), 0);
    EXPECT_TRUE(isAcknowledged()) << "the band has no network";
    EXPECT_EQ(networks(), "");
    wait(1);
    EXPECT_TRUE(isReported("\"the band has no network\"") && !isReported("12345678"));
    folder.hook("autoconf-renew", "exit 5");
    EXPECT_EQ(notifyApAutoConfRenewMsgReceived(&info), 5) << "the hook does it";
}

NETWORK_TEST(Enrollee, SetsEachBandAndSaysHowThatWent) {
    const ScratchFolder folder;
    folder.hook("autoconf-networks",
                "sleep 0.2; echo $1 >> $VM1905_RUN/runs; [ $1 = 1 ] || [ -e $VM1905_RUN/good ]");
    Listener daemon;
    EXPECT_EQ(setWPSConfig(1, 0, 0), 0);
    std::string tried;
    const auto give = [&](uint8_t band) {
        EXPECT_TRUE(applyNetworks({wifiBandOf(band), "", {}}, [&tried, band](const auto& trouble) {
            tried += std::to_string(band) + " " + trouble + ";";
        }));
    };
    const auto becomesTried = [&](const std::string& expected) {
        return becomes([&] { return (collectJobs(), tried == expected); });
    };
    const std::string failed = "0 the hook autoconf-networks failed: 1;";
    for (const uint8_t band : std::to_array<uint8_t>({0, 1, 1, 0})) give(band);
    EXPECT_TRUE(becomesTried(failed + "1 ;")) << tried;
    EXPECT_EQ(folder.read("run/runs"), "0\n1\n") << "the same networks are set once";
    wait(29);
    EXPECT_TRUE(becomesTried(failed + "1 ;"));
    folder.write("run/good", "");
    wait(1);
    EXPECT_TRUE(becomesTried(failed + "1 ;0 ;")) << tried;
    wait(60);
    EXPECT_EQ(folder.read("run/runs"), "0\n1\n0\n");
}
