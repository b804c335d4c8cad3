// hostapd gets the networks of this device.
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "base/fd.h"
#include "hostapd/bss.h"
#include "hostapd/radios.h"
#include "netctrl/autoconfig_networks.h"
#include "netctrl/lifecycle.h"
#include "support.h"

namespace {

WifiNetwork network(std::string_view ssid, uint16_t auth, std::string_view key = "") {
    WifiNetwork made;
    made.auth = auth;
    EXPECT_TRUE(made.ssid.assign(wscBytes(ssid)) && made.key.assign(wscBytes(key)));
    return made;
}

void configure(const ScratchFolder& folder, const std::string& bands) {
    folder.platformConf("HOSTAPD_FOLDER = " + folder.path() + "\nWIFI_SETTINGS_FILE = " +
                        folder.path("received.conf") + "\n" + bands);
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
            const std::string reply = answerTo({bytes, static_cast<size_t>(std::max<ssize_t>(n, 0))});
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
        return text + "passphrase=" + given["wpa_passphrase"] + "\nwpa=2\nkey_mgmt=" +
               given["wpa_key_mgmt"] + "\nrsn_pairwise_cipher=" + given["rsn_pairwise"] + "\n";
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
              "SET ssid2 61ff22;" + kEnd);
    EXPECT_TRUE(set(network("b", kAuthSae, "12345678")));
    EXPECT_EQ(bss.heard(),
              "SET wpa_passphrase 12345678;SET sae_password 12345678;SET wpa 2;"
              "SET wpa_key_mgmt SAE;SET rsn_pairwise CCMP;SET ieee80211w 2;SET ssid2 62;" + kEnd);
    const std::string psk(64, 'a');
    EXPECT_TRUE(set(network("c", kAuthWpa2Psk, psk)));
    EXPECT_EQ(bss.heard(),
              "SET wpa_psk " + psk + ";SET wpa 2;SET wpa_key_mgmt WPA-PSK;SET rsn_pairwise CCMP;"
              "SET ieee80211w 0;SET ssid2 63;" + kEnd);
    bss.change([](Bss& its) { its.state = "DISABLED"; });
    EXPECT_TRUE(set(network("d", kAuthOpen)));
    EXPECT_EQ(bss.heard(),
              "SET wpa 0;SET ieee80211w 0;SET ssid2 64;STATUS;ENABLE;GET_CONFIG;");
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
        EXPECT_TRUE(commands.rfind(";" + command) != commands.npos || commands.starts_with(command));
        EXPECT_EQ(commands.find("RELOAD") != commands.npos, kEnd.find(command) != kEnd.npos);
        return std::exchange(lines, "");
    };
    EXPECT_EQ(fails("SET wpa_passphrase", "FAIL\n"), "1 hostapd: w: SET wpa_passphrase failed: FAIL;");
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
            text += bss->ifname + "=" + (given != nullptr ? std::string(given->ssid.text()) : "") +
                    " ";
        }
        return text;
    };
    const WifiNetwork a = network("a", kAuthOpen), b = network("b", kAuthOpen),
                      c = network("c", kAuthOpen);
    const std::vector<HostapdBss> mixed{{"w0", "", "", 1}, {"w1", "", "", 2}, {"w2", "", "", 1},
                                        {"w3", "", "none", 1}, {"w4", "", "", 0}};
    EXPECT_EQ(plan(mixed, {{0, {a}}, {32, {b}}, {1, {c}}}), "w0=a w1=c w2=b ");
    EXPECT_EQ(plan(mixed, {{0, {a}}}), "w0=a ") << "the guest network may still come";
    EXPECT_EQ(plan(mixed, {{0, {}}, {32, {b}}}), "w0=b w2= ");
    EXPECT_EQ(lines, "");
    EXPECT_EQ(plan(mixed, {{0, {a, b}}, {3, {a}}, {32, {c}}}), "w0=a w2=b ");
    EXPECT_EQ(lines, "3 hostapd: no BSS is left for network a of band 6;"
                     "1 hostapd: no BSS is left for network c of band guest-2.4;");
    const std::vector<HostapdBss> named{{"w0", "", "guest-5"}, {"w1", "", "5"}};
    EXPECT_EQ(plan(named, {{1, {a}}, {33, {b}}}), "w1=a w0=b ");
    EXPECT_EQ(plan(named, {{1, {a}}, {33, {}}}), "w1=a w0= ");
}

// The whole way, with the program in a process of its own.
NETWORK_TEST(Hostapd, KeepsItsNetworks) {
    const ScratchFolder folder;
    mkdir(folder.path("run").c_str(), 0755);
    configure(folder, "WIFI_BAND.w = 2.4\nWIFI_BAND.x = 5\n");
    std::optional<Bss> w, x;
    w.emplace(folder, "w");
    x.emplace(folder, "x");
    std::optional<Listener> daemon(std::in_place);
    EXPECT_EQ(setWPSConfig(PLATFORM_ENROLLEE, 0, 0), 0);
    const auto hears = [](std::optional<Bss>& bss, std::string_view last) {
        std::string all;
        EXPECT_TRUE(becomes([&] {
            tickSecond();
            all += bss->heard();
            return all.find(last) != all.npos && all.ends_with("STATUS;");
        })) << all;
        return all;
    };
    const auto pass = [&](int looks) {
        for (int i = 0; i < looks; i++) {
            EXPECT_EQ(runNetCtrl(), 0);
            tickSecond();
            usleep(20'000);
        }
    };
    applyNetworks({wifiBandOf(0), "", {network("home", kAuthWpa2Psk, "12345678")}});
    applyNetworks({wifiBandOf(1), "", {network("home 5", kAuthOpen)}});
    hears(w, "SET ssid2 686f6d65;");
    hears(x, "SET ssid2 686f6d652035;");
    (void)w->heard();
    pass(5);
    EXPECT_EQ(w->heard() + x->heard(), "") << "nothing has changed";
    struct stat info {};
    EXPECT_EQ(stat(folder.path("received.conf").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
    EXPECT_NE(folder.read("received.conf").find("12345678"), std::string::npos);

    // Another hostapd, and the daemon after a restart of the device: only the file is left.
    x.emplace(folder, "x");
    pass(1);
    hears(x, "SET ssid2 686f6d652035;");
    EXPECT_EQ(w->heard(), "GET_CONFIG;") << "no station is disconnected";
    daemon.reset();
    std::filesystem::remove_all(folder.path("run"));
    mkdir(folder.path("run").c_str(), 0755);
    daemon.emplace();
    EXPECT_EQ(setWPSConfig(PLATFORM_ENROLLEE, 0, 0), 0);
    pass(1);
    hears(w, "SET wpa_passphrase 12345678;");

    // Somebody else changes it, and it is asked once a minute.
    w->change([](Bss& its) { its.given["ssid"] = "other"; });
    pass(14);
    hears(w, "SET ssid2 686f6d65;");
    applyNetworks({wifiBandOf(0), "", {}});
    EXPECT_TRUE(becomes([&] {
        tickSecond();
        return w->heard().find("DISABLE;") != std::string::npos;
    }));

    folder.hook("autoconf-networks", "touch " + folder.path("seen"));
    applyNetworks({wifiBandOf(0), "", {network("home", kAuthOpen)}});
    EXPECT_TRUE(becomes([&] { return tickSecond(), std::filesystem::exists(folder.path("seen")); }));
    w.reset();
    w.emplace(folder, "w");
    pass(3);
    EXPECT_EQ(w->heard(), "") << "the hook wins";
}
