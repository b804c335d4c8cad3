// hostapd gets the networks of this device.
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <array>
#include <atomic>
#include <mutex>
#include <thread>

#include "base/fd.h"
#include "common/job.h"
#include "hostapd/bss.h"
#include "hostapd/radios.h"
#include "netctrl/autoconfig_networks.h"
#include "netctrl/lifecycle.h"
#include "support.h"
#include "wsc/wifi_conf.h"

namespace {

WifiNetwork network(std::string_view ssid, uint16_t auth, std::string_view key = "") {
    WifiNetwork made;
    made.auth = auth;
    EXPECT_TRUE(made.ssid.assign(wscBytes(ssid)) && made.key.assign(wscBytes(key)));
    return made;
}

void configure(const ScratchFolder& folder, const std::string& bands) {
    folder.platformConf("HOSTAPD_FOLDER = " + folder.path() +
                        "\nWIFI_SETTINGS_FILE = " + folder.path("received.conf") + "\n" + bands);
}

// One BSS. It keeps what it is given, as hostapd does.
class Bss {
  public:
    Bss(const ScratchFolder& folder, const std::string& ifname) : path_(folder.path(ifname)) {
        sockaddr_un address{AF_UNIX, {}};
        copyText(address.sun_path, path_);
        socket_ = Fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        thread_ = std::thread([this] { serve(); });
    }
    ~Bss() {
        ended_ = true;
        thread_.join();
        unlink(path_.c_str());
    }
    Bss(const Bss&) = delete;
    Bss& operator=(const Bss&) = delete;

    // The commands since the last call.
    std::string heard() {
        const std::lock_guard lock(mutex_);
        return std::exchange(heard_, "");
    }

    // A change of what follows.
    void change(const std::function<void(Bss&)>& make) {
        const std::lock_guard lock(mutex_);
        make(*this);
    }
    std::map<std::string, std::string> given{{"ssid", "initial"}};
    std::string state = "ENABLED";
    std::string refused, answer = "FAIL\n";  // to commands that start so; empty: no answer

  private:
    void serve() {
        for (char bytes[512]; !ended_;) {
            pollfd waitFor{socket_.get(), POLLIN, 0};
            sockaddr_un from{};
            socklen_t size = sizeof from;
            if (poll(&waitFor, 1, 10) <= 0) continue;
            auto* const peer = reinterpret_cast<sockaddr*>(&from);
            const ssize_t n = recvfrom(socket_.get(), bytes, sizeof bytes, 0, peer, &size);
            const std::lock_guard lock(mutex_);
            const std::string reply =
                answerTo({bytes, static_cast<size_t>(std::max<ssize_t>(n, 0))});
            if (!reply.empty()) sendto(socket_.get(), reply.data(), reply.size(), 0, peer, size);
        }
    }
    std::string answerTo(const std::string& command) {
        heard_ += command + ";";
        if (!refused.empty() && command.starts_with(refused)) return answer;
        if (command == "STATUS") return "state=" + state + "\nchannel=6\nbss[0]=w\n";
        if (command == "GET_CONFIG") return config();
        if (command == "ENABLE" || command == "DISABLE") state = command + "D";
        if (!command.starts_with("SET ")) return "OK\n";
        const size_t end = command.find(' ', 4);
        given[command.substr(4, end - 4)] = command.substr(end + 1);
        if (const auto hex = given.find("ssid2"); hex != given.end()) {
            given["ssid"] = ssidText(*parseHex(hex->second));
        }
        return "OK\n";
    }
    std::string config() {
        std::string text = "bssid=00:00:00:00:00:00\nssid=" + given["ssid"] + "\n";
        if (given["wpa"] != "2") return text;
        return text + "passphrase=" + given["wpa_passphrase"] +
               "\nwpa=2\nkey_mgmt=" + given["wpa_key_mgmt"] +
               "\nrsn_pairwise_cipher=" + given["rsn_pairwise"] + "\n";
    }

    const std::string path_;
    Fd socket_;
    std::mutex mutex_;
    std::string heard_;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

// A device whose hostapd has its sockets in this folder.
struct HostapdTest : testing::Test {
    HostapdTest() {
        mkdir(folder.path("run").c_str(), 0755);
        configure(folder, "");
    }
    bool set(const WifiNetwork& given) {
        HostapdControl control("w", note);
        return control.isOpen() && setBss(control, given);
    }

    const ScratchFolder folder;
    std::string lines;  // "1 line;"
    const HostapdLog note = [this](int level, const std::string& line) {
        lines += std::to_string(level) + " " + line + ";";
    };
};

const std::string kEnd = "STATUS;RELOAD;GET_CONFIG;";

}  // namespace

TEST_F(HostapdTest, ABssGetsEveryKindOfNetwork) {
    Bss bss(folder, "w");
    EXPECT_TRUE(set(network("a\xff\"", kAuthWpa2Psk | kAuthSae, " key of 9")));
    EXPECT_EQ(bss.heard(),
              "SET wpa_passphrase  key of 9;SET sae_password  key of 9;SET wpa 2;"
              "SET wpa_key_mgmt WPA-PSK SAE;SET rsn_pairwise CCMP;SET ieee80211w 1;"
              "SET ssid2 61ff22;" +
                  kEnd);
    EXPECT_TRUE(set(network("b", kAuthSae, "12345678")));
    EXPECT_EQ(bss.heard(),
              "SET wpa_passphrase 12345678;SET sae_password 12345678;SET wpa 2;"
              "SET wpa_key_mgmt SAE;SET rsn_pairwise CCMP;SET ieee80211w 2;SET ssid2 62;" +
                  kEnd);
    const std::string psk(64, 'a');
    EXPECT_TRUE(set(network("c", kAuthWpa2Psk, psk)));
    EXPECT_EQ(bss.heard(), "SET wpa_psk " + psk +
                               ";SET wpa 2;SET wpa_key_mgmt WPA-PSK;SET rsn_pairwise CCMP;"
                               "SET ieee80211w 0;SET ssid2 63;" +
                               kEnd);
    bss.change([](Bss& its) { its.state = "DISABLED"; });
    EXPECT_TRUE(set(network("d", kAuthOpen)));
    EXPECT_EQ(bss.heard(), "SET wpa 0;SET ieee80211w 0;SET ssid2 64;STATUS;ENABLE;GET_CONFIG;");
    EXPECT_EQ(lines, "");
    EXPECT_TRUE(is_empty(std::filesystem::path(folder.path("run")))) << "nothing is left behind";
}

TEST_F(HostapdTest, WhatFailsIsLoggedWithoutTheKey) {
    const WifiNetwork given = network("a", kAuthWpa2Psk | kAuthSae, "secret key");
    EXPECT_FALSE(set(given));
    EXPECT_EQ(std::exchange(lines, ""),
              "1 hostapd: w: connection failed: No such file or directory;");
    Bss bss(folder, "w");
    const auto fails = [&](const std::string& command, const std::string& answer) {
        bss.change([&](Bss& its) { its.refused = command, its.answer = answer; });
        EXPECT_FALSE(set(given));
        EXPECT_FALSE(lines.find("secret") != lines.npos) << lines;
        const std::string commands = bss.heard();
        EXPECT_TRUE(commands.rfind(";" + command) != commands.npos ||
                    commands.starts_with(command));
        EXPECT_EQ(commands.find("RELOAD") != commands.npos, kEnd.find(command) != kEnd.npos);
        return std::exchange(lines, "");
    };
    EXPECT_EQ(fails("SET wpa_passphrase", "FAIL\n"),
              "1 hostapd: w: SET wpa_passphrase failed: FAIL;");
    EXPECT_EQ(fails("SET sae_password", "UNKNOWN COMMAND\n"),
              "1 hostapd: w: SET sae_password failed: UNKNOWN COMMAND;");
    EXPECT_EQ(fails("SET ieee80211w", ""),
              "1 hostapd: w: SET ieee80211w failed: no answer within 1000 ms;");
    EXPECT_EQ(fails("RELOAD", "FAIL\x01\n"), "1 hostapd: w: RELOAD failed: FAIL;");
    for (const char* other :
         {"ssid=a\nwpa=2\nkey_mgmt=WPA-PSK\nrsn_pairwise_cipher=CCMP\n",
          "ssid=a\nwpa=2\nkey_mgmt=WPA-PSK SAE\nrsn_pairwise_cipher=TKIP\n", "ssid=b\n",
          "ssid=a\nwpa=2\nkey_mgmt=WPA-PSK SAE\nrsn_pairwise_cipher=CCMP\npassphrase=other\n"}) {
        EXPECT_EQ(fails("GET_CONFIG", other),
                  "1 hostapd: w: GET_CONFIG failed: it shows other settings than were set;");
    }
}

TEST_F(HostapdTest, NetworksOfABandGoToItsBss) {
    const auto plan = [this](const std::vector<HostapdBss>& all, const BandNetworks& bands) {
        std::string text;
        for (const auto& [bss, given] : planBss(all, bands, note)) {
            text +=
                bss->ifname + "=" + (given != nullptr ? std::string(given->ssid.text()) : "") + " ";
        }
        return text;
    };
    const WifiNetwork a = network("a", kAuthOpen), b = network("b", kAuthOpen),
                      c = network("c", kAuthOpen);
    const std::vector<HostapdBss> mixed{{"w0", "", "", 1},
                                        {"w1", "", "", 2},
                                        {"w2", "", "", 1},
                                        {"w3", "", "none", 1},
                                        {"w4", "", "", 0}};
    EXPECT_EQ(plan(mixed, {{0, {a}}, {32, {b}}, {1, {c}}}), "w0=a w1=c w2=b ");
    EXPECT_EQ(plan(mixed, {{0, {a}}}), "w0=a ") << "the guest network may still come";
    EXPECT_EQ(plan(mixed, {{0, {}}, {32, {b}}}), "w0=b w2= ");
    EXPECT_EQ(lines, "");
    EXPECT_EQ(plan(mixed, {{0, {a, b}}, {3, {a}}, {32, {c}}}), "w0=a w2=b ");
    EXPECT_EQ(lines,
              "3 hostapd: no BSS is left for network a of band 6;"
              "1 hostapd: no BSS is left for network c of band guest-2.4;");
    const std::vector<HostapdBss> named{{"w0", "", "guest-5"}, {"w1", "", "5"}};
    EXPECT_EQ(plan(named, {{1, {a}}, {33, {b}}}), "w1=a w0=b ");
    EXPECT_EQ(plan(named, {{1, {a}}, {33, {}}}), "w1=a w0= ");
}

// The program runs in a process of its own.
NETWORK_TEST(Hostapd, OnlyWhatHasChangedIsSetAgain) {
    const ScratchFolder folder;
    mkdir(folder.path("run").c_str(), 0755);
    configure(folder, "WIFI_BAND.w = 2.4\nWIFI_BAND.x = 5\n");
    std::optional<Bss> w(std::in_place, folder, "w"), x(std::in_place, folder, "x");
    const Listener daemon;
    EXPECT_EQ(setWPSConfig(PLATFORM_ENROLLEE, 0, 0), 0);
    // What both hear until all programs have ended.
    const auto heard = [&](int looks = 0) {
        while (looks-- > 0) EXPECT_EQ(runNetCtrl(), 0);
        EXPECT_TRUE(becomes([] { return tickSecond(), !isJobRunning("hostapd"); }));
        return w->heard() + "/" + x->heard();
    };
    const std::string set =
        "SET wpa 0;SET ieee80211w 0;SET ssid2 61;STATUS;RELOAD;GET_CONFIG;STATUS;";
    for (const uint8_t band : std::to_array<uint8_t>({0, 1})) {
        applyNetworks({wifiBandOf(band), "", {network("a", kAuthOpen)}});
        EXPECT_EQ(heard(), band == 0 ? set + "/" : "GET_CONFIG;/" + set);
    }
    EXPECT_EQ(heard(5), "/");
    x.emplace(folder, "x");
    EXPECT_EQ(heard(1), "GET_CONFIG;/" + set);
    w->change([](Bss& its) { its.given["ssid"] = "other"; });
    EXPECT_EQ(heard(12), "GET_CONFIG;" + set + "/GET_CONFIG;") << "it is asked once a minute";

    folder.hook("autoconf-networks", "touch " + folder.path("seen"));
    applyNetworks({wifiBandOf(0), "", {}});
    x.emplace(folder, "x");
    EXPECT_EQ(heard(2), "/") << "the hook wins";
    EXPECT_TRUE(becomes([&] { return std::filesystem::exists(folder.path("seen")); }));
}

TEST_F(HostapdTest, TheHookForOpenWrtSetsItsAccessPoints) {
    folder.write("uci", R"(#!/bin/sh
echo "$*" >> $0.calls
[ $1 != show ] || echo "wireless.radio0.band='5g'
wireless.radio1.band='2g'
wireless.vm1905_1_1=wifi-iface
wireless.vm1905_0_1=wifi-iface
wireless.own=wifi-iface"
)",
                 0755);
    folder.write("wifi", "#!/bin/sh\necho \"wifi $*\" >> ${0%wifi}uci.calls\n", 0755);
    const auto calls = [this](const WifiConf& conf) {
        folder.write("run/wifi-0.conf", writeWifiConf(conf));
        folder.write("uci.calls", "");
        const int status =
            system(("PATH=" + folder.path() +
                    ":$PATH busybox sh " HOOKS "/autoconf-networks.openwrt 0 2> /dev/null")
                       .c_str());
        return folder.read("uci.calls") + std::to_string(WEXITSTATUS(status));
    };
    const std::string start = "show wireless\ndelete wireless.vm1905_0_1\n",
                      end = "commit wireless\nwifi reload\n0";
    const auto added = [](int number, const std::string& values) {
        const std::string ap = "set wireless.vm1905_0_" + std::to_string(number);
        std::string all = ap + "=wifi-iface\n" + ap + ".device=radio1\n" + ap + ".mode=ap\n" + ap +
                          ".network=lan\n";
        forEachWord(values,
                    [&](std::string_view word) { all += ap + "." + std::string(word) + "\n"; });
        return all + "set wireless.radio1.disabled=0\n";
    };
    EXPECT_EQ(calls({}), start + end);
    EXPECT_EQ(calls({{"a", {0}, network("a$'\xff\\", kAuthWpa2Psk | kAuthSae, "\"$(key)\"1")},
                     {"b", {0}, network("b", kAuthOpen)}}),
              start + added(1, "ssid=a$'\xff\\ encryption=sae-mixed ieee80211w=1 key=\"$(key)\"1") +
                  added(2, "ssid=b encryption=none ieee80211w=0") + end);
    EXPECT_EQ(calls({{"a", {0}, network("a\n", kAuthOpen)}}), start + "revert wireless\n1");
}
