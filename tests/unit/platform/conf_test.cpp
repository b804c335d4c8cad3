// platform.conf: which files it understands, and that no file does harm.
#include <fstream>
#include <random>
#include <set>

#include "api.h"
#include "support.h"

TEST(PlatformConf, HasKeysValuesAndComments) {
    Conf conf;
    conf.parse(
        "# a comment\nHOSTNAME=attic\r\n  DEVICE_MODE =  bridge mode # not this\n"
        "SECURITY_KEY = \"pass # phrase \"\nBUILD_NUMBER = 1\nBUILD_NUMBER = a#2\nLAN_MAC =\n"
        "EXCLUDE = eth9, wlan?-guest\nUNKNOWN = 1\nno key at all\n"
        "MEDIA_TYPE.wlan0 = last line without an end",
        [](int, const std::string&) {});
    const std::pair<const char*, const char*> table[] = {
        {"HOSTNAME", "attic"},   {"DEVICE_MODE", "bridge mode"},
        {"LAN_MAC", ""},         {"SECURITY_KEY", "pass # phrase "},
        {"BUILD_NUMBER", "a#2"}, {"MEDIA_TYPE.wlan0", "last line without an end"},
    };
    for (const auto& [key, value] : table) {
        EXPECT_TRUE(conf.has(key)) << key;
        EXPECT_EQ(conf.value(key), value) << key;
    }
    EXPECT_FALSE(conf.has("AL_MAC") || conf.has("UNKNOWN"));
    EXPECT_TRUE(conf.matches("EXCLUDE", "eth9") && conf.matches("EXCLUDE", "wlan1-guest"));
    EXPECT_FALSE(conf.matches("EXCLUDE", "eth91") || conf.matches("INCLUDE", "eth9"));
}

TEST(PlatformConf, WrongLinesAreNamed) {
    // A line, and the complaint about it; the second line of a file.
    const std::pair<const char*, const char*> cases[] = {
        {"COLOR = red", "unknown key COLOR"},
        {"EXCLUDE", "not KEY = value"},
        {"AL_MAC = zz:zz", "AL_MAC must be a MAC address, not \"zz:zz\""},
        {"APPROVED = 02:00:00:00:00:01, all",
         "APPROVED must be MAC addresses, not \"02:00:00:00:00:01, all\""},
        {"FORWARD_1905 = \"maybe\"", "FORWARD_1905 must be yes or no, not \"maybe\""},
        {"SECURITY_MODE = 3", "SECURITY_MODE must be 0 to 2, not \"3\""},
        {"WIFI_BAND.wlan0 = 60",
         "WIFI_BAND.wlan0 must be 2.4, 5, 6, guest-2.4, guest-5 or none, "
         "not \"60\""},
        {"MEDIA_TYPE.wlan0 = 0x0105 # right", nullptr},
        {"AL_MAC =", nullptr},
    };
    const ScratchFolder folder;
    for (const auto& [line, complaint] : cases) {
        testing::internal::CaptureStdout();
        folder.platformConf("HOSTNAME = attic\n" + std::string(line));
        const std::string log = testing::internal::GetCapturedStdout();
        const std::string expected =
            complaint == nullptr
                ? ""
                : std::string("[vmNetCtrl] platform.conf: line 2: ") + complaint + "\r\n";
        EXPECT_EQ(log, expected);
    }
}

TEST(PlatformConf, TheManualPageHasTheKeys) {
    std::ifstream page(MAN "/vm1905-platform.conf.5");
    std::multiset<std::string> inPage, inTable;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with(".BR ") && line.ends_with(")\"")) inPage.insert(line);
    }
    for (const PlatformKey& key : platformKeys()) {
        const char* separator = key.name.ends_with('.') ? " \"\\fIinterface\\fR (" : " \" (";
        inTable.insert(".BR " + std::string(key.name) + separator + key.type.text + ")\"");
    }
    EXPECT_EQ(inPage, inTable);
}

TEST(PlatformConf, DoesNotFloodTheLog) {
    std::string text;
    std::mt19937 random(1);
    for (int i = 0; i < 60000; i++) text += static_cast<char>(random());
    const ScratchFolder folder;
    testing::internal::CaptureStdout();
    folder.platformConf(text);
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 9);
}

TEST(PlatformConf, MayBeAnyFile) {
    const ScratchFolder folder;
    folder.platformConf(std::string("HOSTNAME = early\n") + std::string(10 << 20, 'x'));
    EXPECT_EQ(conf().value("HOSTNAME"), "early");
    folder.platformConf(std::string("HOSTNAME = a\0b\nDEVICE_MODE = on\n", 32));
    EXPECT_FALSE(conf().has("HOSTNAME"));
    EXPECT_EQ(conf().value("DEVICE_MODE"), "on");
    for (const char* path : {"/nonexistent/platform.conf", "/tmp"}) {
        setenv("VM1905_PLATFORM_CONF", path, 1);
        EXPECT_TRUE(reloadConf()) << path;
        EXPECT_FALSE(conf().has("DEVICE_MODE")) << path;
    }
    const std::string loop = folder.path("loop");
    ASSERT_EQ(symlink(loop.c_str(), loop.c_str()), 0);
    setenv("VM1905_PLATFORM_CONF", loop.c_str(), 1);
    EXPECT_NE(initNetCtrl(), 0) << "what it excludes must not take part";
}

TEST(PlatformText, AddressesNumbersAndHexDigits) {
    EXPECT_EQ(macFromText("02:00:5e:AA:bb:0c"), MacAddr(2, 0, 0x5E, 0xAA, 0xBB, 0x0C));
    for (const char* bad : {"", "02:00:5e:aa:bb:0g", "02:00:5e:aa:bb:0c:", "02.00.5e.aa.bb.0c"}) {
        EXPECT_FALSE(macFromText(bad)) << bad;
    }
    EXPECT_EQ(parseNumber("0x0105"), 0x105U);
    EXPECT_EQ(parseNumber("4294967295"), 0xFFFFFFFFU);
    for (const char* bad : {"", "0x", "4294967296", "-1", "1 "}) {
        EXPECT_FALSE(parseNumber(bad)) << bad;
    }
    EXPECT_EQ(parseHex(" 00ff\n1A "), (std::vector<uint8_t>{0, 0xFF, 0x1A}));
    EXPECT_FALSE(parseHex("0ff") || parseHex("zz"));
}
