// The messages and keys of Wi-Fi Simple Configuration, and wifi.conf.
#include "common/helper.h"
#include "common/job.h"
#include "netctrl/wifi_file.h"
#include "support.h"
#include "wsc/exchange.h"
#include "wsc/wifi_conf.h"

namespace {

const WscDevice kRoot{{2, 0, 0, 0, 0, 1}, "root"}, kAttic{{2, 0, 0, 0, 0, 7}, "attic"};

WifiNetwork network(std::string_view ssid, uint16_t auth, std::string_view key) {
    WifiNetwork made;
    made.auth = auth;
    EXPECT_TRUE(made.ssid.assign(wscBytes(ssid)) && made.key.assign(wscBytes(key)));
    return made;
}

// An Enrollee's session, and the Registrar's with its M1.
struct Exchange {
    explicit Exchange(uint8_t band) {
        EXPECT_TRUE(startWsc(enrollee, *wifiBandOf(band), kAttic));
        EXPECT_EQ(readM1(registrar, enrollee.m1.view()), "");
        EXPECT_EQ(prepareM2(registrar), "");
    }
    WscFrame m2(const WifiNetwork& given, WscPlace place = {}) const {
        WscFrame made;
        EXPECT_EQ(buildM2(registrar, kRoot, place, given, made), "");
        return made;
    }
    WscRefusal read(Bytes frame) { return readM2(enrollee, frame, answer); }

    WscEnrollee enrollee;
    WscRegistrar registrar;
    WscAnswer answer;
};

std::vector<uint8_t> copyOf(Bytes bytes) {
    return {bytes.begin(), bytes.end()};
}

}  // namespace

// The expected bytes were computed with other implementations. The secret starts with a zero byte.
TEST(Wsc, KeysAndTagsAreThoseOfOthers) {
    const auto own = crypto().dhKey(
        *parseHex("0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f20"));
    const auto peer = *parseHex(
        "60b50240f3a12ce7ed2d4518f30b103fc3eb0263ede565683401a940ff251131ff5b40fc0cabec529f1a41eb"
        "44784e42a895354217e039b085367913dd47d9ab3daa8f971e8a539467473bae8ba962c849213f20eceb9504"
        "15e4ee40f4e6cc58d0e44c5a6d3b053f3e13b73f8ce623acd3477c5e3865f41e6562b5f1fb5ac76fbed05486"
        "a67bb41c866ba530e7eb68ed82756fe18f9d6bb585f46265303a47c19b48c3e94475e77ced062fbb8fbe89ef"
        "8ea2990706a7901fc19c3973ff5bfda5");
    DhSecret secret;
    ASSERT_TRUE(own && own->deriveSecret(peer, secret));
    EXPECT_EQ(hexText(secret.bytes),
              "f614cf0d47abc0f372f4b2aa66fe8d3517a43673998fdd0f2180d98f783afae7");
    WscNonce ones{}, twos{};
    ones.fill(1);
    twos.fill(2);
    WscKeys keys;
    ASSERT_TRUE(deriveKeys(secret, ones, kAttic.alMac, twos, keys));
    EXPECT_EQ(hexText(keys.auth),
              "b1a211fc40f05d805315dff95fa6cab27a863548e382c81783671ee4dac530cf");
    EXPECT_EQ(hexText(keys.wrap), "72c5728c1e730f76c42f289afa4c9480");

    const auto settings =
        *parseHex("10450004686f6d65100300020020100f00020008102700083132333435363738");
    WscTag tag{};
    ASSERT_TRUE(authenticate(keys, {settings}, tag));
    EXPECT_EQ(hexText(tag), "2ab19a6d68eaf3a8");
    const auto encrypted = *parseHex(
        "030303030303030303030303030303032f070d7bea5a2e048f8c238f788d170ff57362fdde2d66d6fe09dc3f4b"
        "f11ea73ab503b71708c4038631d5f950a301bd");
    std::array<uint8_t, 64> plain{};
    EXPECT_EQ(hexText(Bytes(plain).first(decryptWsc(keys, encrypted, plain))),
              hexText(settings) + "101e00082ab19a6d68eaf3a8");
}

TEST(Wsc, AnEnrolleeGetsTheNetworksOfItsBand) {
    const WifiNetwork home =
        network(std::string("a\0\n\xff", 4), kAuthWpa2Psk | kAuthSae, "12345678");
    const WifiNetwork open = network("guests", kAuthOpen, "");
    const WifiNetwork sae = network("sae", kAuthSae, "12345678");
    for (const WifiBand& band : kWifiBandTable) {
        Exchange e(band.number);
        EXPECT_EQ(e.registrar.band, &band);
        const bool isSae = band.number == kBand6GHz;
        EXPECT_EQ(e.read(e.m2(sae, {0, 2}).view()), "");
        EXPECT_EQ(e.answer.network, sae);
        for (const WifiNetwork& other : {home, open}) {
            EXPECT_EQ(e.read(e.m2(other, {1, 2}).view()).empty(), !isSae);
            EXPECT_TRUE(isSae || e.answer.network == other);
        }
        EXPECT_EQ(e.answer.place.index * 10 + e.answer.place.count, 12);
        e.registrar.countsM2 = false;
        EXPECT_EQ(e.read(e.m2(sae).view()).empty(), band.number < 32);
        e.registrar.countsM2 = true;
        EXPECT_EQ(e.read(e.m2({}, {0, 0}).view()), "");
        EXPECT_EQ(e.answer.place.count, 0);
    }
}

TEST(Wsc, ForgedRepeatedAndForeignMessagesAreRefused) {
    const WifiNetwork home = network("home", kAuthSae, "12345678");
    Exchange e(1), other(1);
    const WscFrame m2 = e.m2(home);
    const auto bytes = copyOf(m2.view());
    for (size_t i = 0; i < bytes.size(); i++) {
        auto forged = bytes;
        forged[i] ^= 1;
        EXPECT_NE(e.read(forged), "") << i;
        EXPECT_NE(e.read(Bytes(bytes).first(i)), "") << i;
    }
    EXPECT_EQ(other.read(bytes), "its nonce is not ours");
    EXPECT_EQ(e.read(e.m2(home, {2, 2}).view()), "it counts its networks wrongly");
    EXPECT_EQ(e.read(bytes), "");
    EXPECT_EQ(e.read(bytes), "its nonce is repeated");

    // Public keys that would make the secret known.
    for (const uint8_t weak : {uint8_t{0}, uint8_t{1}}) {
        e.registrar.peer = {};
        e.registrar.peer.back() = weak;
        EXPECT_EQ(prepareM2(e.registrar), "its public key is wrong");
    }
    auto m1 = copyOf(e.enrollee.m1.view());
    m1.insert(m1.end(), {0xFF, 0xFF, 0x04, 0x00});
    m1.resize(m1.size() + 1024);
    WscRegistrar fresh;
    EXPECT_EQ(readM1(fresh, m1), "it is longer than a frame");
    m1.pop_back();
    EXPECT_EQ(readM1(fresh, m1), "its attributes do not end with it");
}

TEST(Wsc, SettingsThatDoNotFitAreRefused) {
    const std::string name = "104500026869", psk = "100300020020100f00020008",
                      key = "102700083132333435363738";
    const std::pair<std::string, const char*> table[] = {
        {name + psk + key, ""},
        {name + "100300020001100f0002000110270000", ""},
        {"10450021" + std::string(66, '6') + psk + key, "attribute 0x1045 is too long"},
        {name + psk + "10270041" + std::string(130, '6'), "attribute 0x1027 is too long"},
        {name + psk + key + key, "attribute 0x1027 is repeated"},
        {psk + key, "attribute 0x1045 is missing"},
        {name + "1003000120100f00020008" + key, "attribute 0x1003 is too short"},
        {"10450000" + psk + key, "its network has no name"},
        {name + "100300020004100f00020008" + key, "the authentication of its network is unknown"},
        {name + "100300020020100f00020004" + key, "its network is not encrypted with AES"},
        {name + psk + "10270007" + std::string(14, '6'), "the key of its network is not valid"},
    };
    for (const auto& [hex, refusal] : table) {
        WifiNetwork read;
        EXPECT_EQ(readSettings(*parseHex(hex), read), refusal) << hex;
    }
}

TEST(WifiConf, NamesTheLineOfEachError) {
    const std::string ok = "[a]\nBAND = 2.4 5\nSSID = x\nAUTHENTICATION = wpa2-psk\n";
    const std::string sae = "[a]\nBAND = 6\nSSID = x\nKEY = 12345678\nAUTHENTICATION = ";
    std::string many;
    for (int i = 0; i < 9; i++)
        many += "[n" + std::to_string(i) + "]\nBAND=5\nSSID=x\nAUTHENTICATION=open\n";
    const std::pair<std::string, const char*> table[] = {
        {"", ""},
        {ok + "KEY = 12345678\n", ""},
        {ok + "KEY = " + std::string(64, 'f'), ""},
        {sae + "wpa3-sae", ""},
        {sae + "wpa2+wpa3", "5: on 6 GHz only wpa3-sae is allowed"},
        {sae + "wep", "5: AUTHENTICATION is open, wpa2-psk, wpa2+wpa3 or wpa3-sae"},
        {"# comment\nKEY = 1\n", "2: a section [NAME] must come first"},
        {ok, "1: the network has no KEY"},
        {ok + "KEY = 1234567",
         "5: KEY is 8 to 63 ASCII characters or, with wpa2-psk, 64 hexadecimal digits"},
        {ok + "KEY = \"12345678\"9", "5: the closing quotation mark must end the line"},
        {ok + "KEY = 12345678\nKEY = 12345678", "6: KEY is repeated"},
        {ok + "COLOR = red\nKEY = 12345678", "5: unknown key"},
        {ok + "KEY = 12345678\n" + ok + "KEY = 12345678",
         "6: there is another section of this name"},
        {"[a]\nBAND = 7\nSSID = x\nAUTHENTICATION = open",
         "2: BAND is a list of 2.4, 5, 6, guest-2.4 and guest-5"},
        {"[a]\nBAND = 5\nSSID = " + std::string(33, 'x') + "\nAUTHENTICATION = open",
         "3: SSID is 1 to 32 bytes"},
        {"[a]\nBAND = 5\nSSID_HEX = 0\nAUTHENTICATION = open",
         "3: SSID_HEX is 1 to 32 bytes in hexadecimal"},
        {"[a]\nBAND = 5\nSSID = x\nSSID_HEX = 00\nAUTHENTICATION = open",
         "1: the network needs either SSID or SSID_HEX"},
        {"[a/b]\nBAND = 5\nSSID = x\nAUTHENTICATION = open",
         "1: a section is [NAME], of letters and digits"},
        {many, "34: there are more than 8 networks on a band"},
    };
    for (const auto& [text, complaint] : table) {
        std::string complaints;
        const auto conf = parseWifiConf(text, [&](int line, const std::string& what) {
            complaints += std::to_string(line) + ": " + what;
        });
        EXPECT_EQ(complaints, complaint) << text;
        EXPECT_EQ(conf.has_value(), complaints.empty()) << text;
    }
}

TEST(WifiConf, IsReadAgainWhenItChanges) {
    const ScratchFolder folder;
    const std::string home =
        "[home]\r\nBAND = 2.4, guest-5\r\nSSID = \" a # b\"\r\n"
        "AUTHENTICATION = wpa2+wpa3\r\nKEY = correct horse\r\n";
    const std::string mesh =
        "[mesh]\nBAND = 6\nSSID_HEX = 00ff\nAUTHENTICATION = wpa3-sae\n"
        "KEY = \"# battery\"\n";
    const auto write = [&](const std::string& text) {
        folder.write("new", text);
        std::filesystem::rename(folder.path("new"), folder.path("wifi.conf"));
        return takeWifiChanges();
    };
    setenv("VM1905_WIFI_CONF", folder.path("wifi.conf").c_str(), 1);
    openWifiFile();
    EXPECT_EQ(write(home), (std::set<uint8_t>{0, 33}));
    EXPECT_EQ(writeWifiConf(*configuredNetworks(33)),
              "[home]\nBAND = 2.4 guest-5\nSSID_HEX = 206120232062\nAUTHENTICATION = wpa2+wpa3\n"
              "KEY = \"correct horse\"\n");
    EXPECT_EQ(configuredNetworks(0)->front().network.protection(), FrameProtection::kOptional);
    EXPECT_EQ(write(home + mesh), std::set<uint8_t>{kBand6GHz});
    EXPECT_EQ(write("["), std::set<uint8_t>{}) << "a wrong file changes nothing";
    EXPECT_EQ(writeWifiConf(*configuredNetworks(kBand6GHz)), mesh);
    EXPECT_EQ(configuredNetworks(kBand6GHz)->front().network.protection(),
              FrameProtection::kRequired);
    EXPECT_EQ(write(" \n"), std::set<uint8_t>{}) << "an empty one";
    std::filesystem::remove(folder.path("wifi.conf"));
    mkdir(folder.path("wifi.conf").c_str(), 0755);
    EXPECT_EQ(takeWifiChanges(), std::set<uint8_t>{}) << "no regular file";
    EXPECT_TRUE(hasWifiFile() && configuredNetworks(kBand6GHz)->size() == 1);
    std::filesystem::remove(folder.path("wifi.conf"));
    EXPECT_EQ(takeWifiChanges(), std::set<uint8_t>{});
    EXPECT_FALSE(hasWifiFile() || configuredNetworks(0));
    closeWifiFile();
    unsetenv("VM1905_WIFI_CONF");
}

NETWORK_TEST(WifiConf, ThatOnlyRootCanReadIsReadByTheHelper) {
    const ScratchFolder folder;
    const auto change = [&](const char* key) {
        folder.write("new", std::string("[a]\nBAND=5\nSSID=x\nAUTHENTICATION=wpa2-psk\nKEY=") + key,
                     0);
        std::filesystem::rename(folder.path("new"), folder.path("wifi.conf"));
    };
    const auto changes = [] { return (collectJobs(), takeWifiChanges()); };
    setenv("VM1905_WIFI_CONF", folder.path("wifi.conf").c_str(), 1);
    change("12345678");
    openWifiFile();
    ASSERT_TRUE(startHelper(0, 0) && dropRights());
    change("87654321");
    EXPECT_TRUE(becomes([&] { return changes().contains(1); }));
    EXPECT_EQ(configuredNetworks(1)->front().network.key.text(), "87654321");
    EXPECT_EQ(wifiFileTime(), run("printf %010d $(stat -c %Y " + folder.path("wifi.conf") + ")"));
    std::filesystem::remove(folder.path("wifi.conf"));
    EXPECT_TRUE(becomes([&] { return (changes(), !hasWifiFile()); }));
}

NETWORK_TEST(WifiConf, ThatNobodyCanReadIsThere) {
    const ScratchFolder folder;
    folder.write("wifi.conf", "", 0);
    setenv("VM1905_WIFI_CONF", folder.path("wifi.conf").c_str(), 1);
    (void)!chown(folder.path().c_str(), 65534, 65534);
    ASSERT_TRUE(dropRights() && startHelper(0, 0));
    openWifiFile();
    EXPECT_TRUE(becomes([] { return (collectJobs(), !isJobRunning("wifi.conf")); }));
    EXPECT_TRUE(hasWifiFile());
}
