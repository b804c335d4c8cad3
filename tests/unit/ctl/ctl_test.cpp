// The parts of vm1905ctl that need no daemon: the tree, texts of other devices, arguments.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "argument.h"
#include "cli.h"
#include "config_check.h"
#include "daemon_process.h"
#include "data_model.h"
#include "failure.h"
#include "mac.h"
#include "report.h"
#include "support/foreign_segments.h"
#include "terminal.h"
#include "tree.h"

namespace {

Mac mac(char device, char port = '?') {
    return vm1905_mac{{2, 0, 0, 0, static_cast<uint8_t>(device), static_cast<uint8_t>(port)}};
}

// "1a23 1bx 2": device 1 hears 2 and 3 on its port a, and the host x on b; 2 reports nothing.
Mesh meshOf(const std::string& hearing, bool wifi = false) {
    Mesh mesh;
    std::istringstream words(hearing);
    for (std::string word; words >> word;) {
        if (mesh.find(mac(word[0])) == nullptr) mesh.devices.emplace_back().alMac = mac(word[0]);
        if (word.size() == 1) continue;
        Device& device = mesh.devices.back();
        const Mac port = mac(word[0], word[1]);
        device.interfaces.push_back({port, "", "", 0, wifi && word[0] == '1', {}, {}});
        for (const char other : word.substr(2)) {
            device.heard.push_back({port, mac(other), isdigit(other) != 0, {}, {}, {}, {}, {}});
        }
    }
    return mesh;
}

// "1(2(3)4)": 2 and 4 are children of 1, and 3 of 2. A ? marks an uncertain or unknown parent.
std::string treeOf(const Mesh& mesh, char root, bool withHosts = false) {
    std::string out;
    size_t depth = 0;
    for (const Place& place : placeMesh(mesh, *mesh.find(mac(root)), withHosts)) {
        for (; depth > place.depth; depth--) out += ")";
        for (; depth < place.depth; depth++) out += "(";
        out += place.isCertain ? "" : "?";
        out += static_cast<char>(place.mac.b[4]);
    }
    return out + std::string(depth, ')');
}

TEST(Tree, LeavesOutPairsWithADeviceInBetween) {
    const struct {
        const char *name, *hearing;
        char root;
        const char* tree;
        bool wifi = false;
    } kCases[] = {
        {"a line whose bridges forward", "1a23 2a1 2b3 3a12", '1', "1(2(3))"},
        {"the same from its middle", "1a23 2a1 2b3 3a12", '2', "2(13)"},
        {"isolated hops", "1a2 2a1 2b3 3a2", '1', "1(2(3))"},
        {"a switch between three", "1a23 2a13 3a12", '1', "1(23)"},
        {"a ring with a blocked port", "1a23 1b34 2a134 2b3 3a124 3b124 4a3 4b123", '1',
         "1(2(3)4)"},
        {"stations of one radio", "1a23 2a13 3a12", '2', "2(1(3))", true},
        {"one that reports nothing yet", "1a2 2a1 2b3 3", '1', "1(2(3))"},
        {"one that no other hears", "1a2 2a1 3", '1', "1(2?3)"},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(treeOf(meshOf(c.hearing, c.wifi), c.root), c.tree) << c.name;
    }
}

TEST(Tree, AttachesHostsToTheNearestDevice) {
    const Mesh mesh = meshOf("1a2x 1by 2a1y 2bx");
    EXPECT_EQ(treeOf(mesh, '1', true), "1(2(x)y)");
    EXPECT_EQ(branchesOf(placeMesh(mesh, mesh.devices[0], true), false),
              (std::vector<std::string>{"", "|-- ", "|   `-- ", "`-- "}));
}

// The data model of a device, and each list in it: "1 2b3a4-" is that of device 1, in which 2 hears
// on its port b port a of 3, and 4 on a port that is unknown.
DataModel modelOf(const std::string& lists) {
    const auto withPorts = [](char device) {
        return Json{{"IEEE1905Id", mac(device).text()},
                    {"Interface.1", {{"InterfaceId", mac(device, 'a').text()}}},
                    {"Interface.2", {{"InterfaceId", mac(device, 'b').text()}}}};
    };
    Json al = withPorts(lists[0]);
    std::istringstream words(lists.substr(1));
    for (std::string word; words >> word;) {
        Json& device = al["NetworkTopology"][std::string("IEEE1905Device.") + word[0]];
        if (device.is_null()) device = withPorts(word[0]);
        for (size_t i = 2; i < word.size(); i += 2) {
            device["IEEE1905Neighbor." + std::to_string(device.size())] = {
                {"LocalInterface", word[1] == 'a' ? "Interface.1" : "Interface.2"},
                {"NeighborDeviceId", mac(word[i]).text()},
                {"NeighborInterfaceId", mac(word[i], word[i + 1]).text()}};
        }
    }
    return parseDataModel(Json{{"Device", {{"X_5E1F09_IEEE1905", {{"AL", al}}}}}}.dump());
}

// The cables from parents to children: "1a2b" goes from port a of 1 to port b of 2, "--" is
// unknown.
std::string cablesOf(const DataModel& model) {
    Mesh mesh;
    const auto add = [&](const ModelDevice& known) {
        Device device;
        device.alMac = known.alMac;
        device.isOwn = mesh.devices.empty();
        device.model = &known;
        for (const auto& intf : known.interfaces) device.interfaces.emplace_back().mac = intf.mac;
        for (const auto& n : known.neighbors) {
            device.heard.push_back({n.localIntf, n.alMac, true, {}, n.intf, {}, {}, {}});
        }
        mesh.devices.push_back(device);
    };
    add(model.own);
    for (const auto& device : model.devices) add(device);
    mesh.completeLinks();
    std::string out;
    for (const Place& place : placeMesh(mesh, mesh.devices[0], false)) {
        if (place.parent < 0) continue;
        for (const Mac& port : {place.parentPort, place.port}) {
            for (const uint8_t c : {port.b[4], port.b[5]})
                out += c != 0 ? static_cast<char>(c) : '-';
        }
        out += " ";
    }
    return out;
}

// As daemons in a ring published them; the cables are 1a2a 2b3a 3b4a 4b1b.
TEST(Tree, HasTheCablesOfARing) {
    const struct {
        const char *name, *lists, *cables;
    } kCases[] = {
        {"a bridged ring", "4 3a2a1a4b 3b4a1a2a 1a2a3a 1b4b3a 2a1a3a4b 2b3a", "4a3b 3a2b 4b1b "},
        {"a smaller one", "3 1a2a3a 1b3b 2a1a3b 2b3a", "3b1b 3a2b "},
        {"one in which 3 has its ports in the other order",
         "1 2a1a3b4b 2b3b 3a4a1b2a 3b2a1a4a 4a3b 4b1b2a3b", "1a2a 2b3b 1b4b "},
        {"isolated hops; 1 and 3 heard one frame each of the other",
         "1 2a1a 2b3a 3a2b 3b1b 4a3- 4b1b", "1a2a 2b3a 1b4b "},
        {"isolated hops; 3 takes 1, whose message 2 relayed, for its neighbor", "1 2a1a 2b3a 3a1-",
         "1a2a 2b-- "},
    };
    for (const auto& c : kCases) EXPECT_EQ(cablesOf(modelOf(c.lists)), c.cables) << c.name;
}

TEST(Text, IsSafeForATerminal) {
    const std::pair<std::string, std::string> kCases[] = {
        {"\x1b[31mred\r\n", "\\x1b[31mred\\x0d\\x0a"},
        {"K\xc3\xbcrz", "K\xc3\xbcrz"},
        {"a\xc2\x9bz", "a\\u{9b}z"},                              // a control character in UTF-8
        {"\xe2\x80\xaegnp", "\\u{202e}gnp"},                      // reverses the writing direction
        {"\xff\xc3", "\\xff\\xc3"},                               // not UTF-8
        {"\xc0\x9b \xed\xa0\x80", "\\xc0\\x9b \\xed\\xa0\\x80"},  // overlong; a surrogate
        {"\\x1b", "\\\\x1b"},
    };
    for (const auto& [text, shown] : kCases) EXPECT_EQ(escaped(text), shown);
    EXPECT_EQ(cutTo("\x1b[1mK\xc3\xbcrz\x1b[0m\nab\nc\n", 2, 3), "\x1b[1mK\xc3\xbcr\x1b[0m\nab");
}

TEST(Report, KeyValueLinesAreSafeInAShell) {
    std::string out;
    printKeyValue(
        {{"a", {{"b", {"x", "y z"}}, {"c", nullptr}}}, {"evil", "$(reboot)'; `id`\nb=1"}, {"n", 7}},
        "", out);
    EXPECT_EQ(out, "a.b.0=x\na.b.1='y z'\na.c=\nevil='$(reboot)'\\''; `id`\\x0ab=1'\nn=7\n");
}

TEST(Report, ShortensAListToTheWidth) {
    constexpr Column<std::string> kColumns[] = {
        {"list", "", [](const std::string& list) { return Json(list); }, Unit::kNone, kShort},
        {"end", "", [](const std::string&) { return Json("end"); }}};
    const std::string name(27, 'n'), two = "with " + name + ", " + name;
    const std::vector<std::string> lists{two, two + ", " + name, two + ", a, b"};
    std::string out;
    Report{{listOf("", "", kColumns, lists, "")}}.print(Format::kText, out);
    EXPECT_EQ(out.substr(out.find('w')),
              two + "        end\n" + two + " +1     end\n" + two + ", a, b  end\n");
}

TEST(Mac, IsReadInAnyUsualSpelling) {
    for (const char* text : {"02:00:5E:10:00:01", "02-00-5e-10-00-01", "02.00.5e.10.00.01",
                             "0200.5e10.0001", "02005e100001"}) {
        ASSERT_TRUE(parseMac(text)) << text;
        EXPECT_EQ(parseMac(text)->text(), "02:00:5e:10:00:01");
    }
    for (const char* text : {"", "02:00:5e:10:00", "02:00-5e:10:00:01", "02x00x5ex10x00x01",
                             "02005e10000g", "2:0:5e:10:0:1:2:3"}) {
        EXPECT_FALSE(parseMac(text)) << text;
    }
}

std::string modelNaming(const std::string& name) {
    return R"({"Device": {"X_5E1F09_IEEE1905": {"AL": {"NetworkTopology": {"IEEE1905Device.1": {
        "Hostname": ")" +
           name + R"(",
        "DeviceType": "Enrollee"
    }}}}}})";
}

TEST(DataModel, NoNameHidesTheRest) {
    for (const std::string name :
         {"attic", "say \"hi\"", "back\\slash\\", "\x1b]0;x\x07", "a\nb", "a\",", "\": {", ""}) {
        const DataModel model = parseDataModel(modelNaming(name));
        ASSERT_EQ(model.devices.size(), 1U) << name << ": " << model.trouble;
        EXPECT_EQ(model.devices[0].text("DeviceType"), "Enrollee") << name;
        EXPECT_EQ(model.devices[0].text("Hostname"), name);
    }
    EXPECT_EQ(parseDataModel(modelNaming("caf\xe9")).devices.at(0).text("Hostname"), "caf\xc3\xa9");
    const std::string whole = modelNaming("attic");
    for (size_t length = 0; length < whole.size(); length++) {
        EXPECT_NE(parseDataModel(whole.substr(0, length)).trouble, "") << length;
    }
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    std::string nested = whole;
    nested.replace(nested.find("\"Enrollee\""), 10, deep);
    EXPECT_EQ(parseDataModel(nested).devices.at(0).text("Hostname"), "attic");
}

// Other users may put one of their own into /tmp.
TEST(DataModel, IsReadOnlyFromAFileOfRootOrTheDaemon) {
    std::string folder = "/tmp/ctl-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::string path = folder + "/vm1905.json", fifo = folder + "/fifo";
    std::ofstream(path) << modelNaming("attic");
    EXPECT_EQ(readDataModel(path).trouble, "");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0666), 0);
    alarm(5);  // it blocks no reader
    EXPECT_NE(readDataModel(fifo).trouble.find("is not a regular file"), std::string::npos);
    alarm(0);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(path.c_str(), 12345, 0), 0);
        const ForeignSegments foreign;
        EXPECT_NE(readDataModel(path).trouble.find("belongs to user 12345"), std::string::npos)
            << "a segment of the same user is no daemon";
        foreign.giveOwnFolder(foreign.kStranger);
        EXPECT_EQ(readDataModel(path).trouble, "");
    }
    std::filesystem::remove_all(folder);
}

// The failure of a command line before any daemon is asked.
Failure failureOf(const std::string& line) {
    std::istringstream text(line);
    Choice choice;
    try {
        const auto app = makeCommandLine(choice);
        parse(*app, choice, {std::istream_iterator<std::string>(text), {}});
        Session session(choice.options, choice.command);
        (choice.read ? choice.read : choice.act)(session);
    } catch (const Failure& failure) {
        return failure;
    }
    return {kDone, "no failure"};
}

TEST(Usage, IsCheckedBeforeAnythingIsAsked) {
    const std::pair<std::string, const char*> kCases[] = {
        {"led 00:00:00:00:00:00 1", "00:00:00:00:00:00 is not a device"},
        {"set allow-reboot 5", "5 is not a number from 0 to 1; or one of no, yes, false, true"},
        {"set change-log-max 256", "255 is the most that can be set"},
        {"set wps 0 1", "Registrar|Enrollee SEARCH RESPONSE"},
        {"set wps-band 2 1 1", "all, main24, main5, main6, guest24, guest5, 0, 1, 3, 32, 33"},
        {"status --timeout nan", "nan is not a number"},
        {"status --json --keyvalue", "excludes"},
        {"topology --mermaid --filter own=no", "excludes"},
        {"topology --sort name --dot", "excludes"},
        {"power dev2 sideways", "on, save, off"},
        {"wps foo", "no command wps foo; its commands: renew"},
        {"wps", "needs a command; its commands: renew"},
        {"help topology", "no command help"},
        {"status 3", "status takes no further argument: 3"},
        {"send 10 --to dev2", "go to every device"},
        {"send 10 0f000201", "not a list of TLVs"},
        {"command 02:00:00:00:02:ff " + std::string(241, 'a'), "241 bytes; the limit is 240"},
    };
    for (const auto& [line, said] : kCases) {
        const Failure failure = failureOf(line);
        EXPECT_EQ(failure.status, kUsage) << line;
        EXPECT_NE((failure.text + "; " + failure.advice).find(said), std::string::npos)
            << line << ": " << failure.text << "; " << failure.advice;
        EXPECT_EQ(failure.result, 0) << line << ": nothing was asked";
    }
    EXPECT_EQ(numberArgument("010", 0, 255, ""), 10);
    EXPECT_EQ(numberArgument("0x10", 0, 255, ""), 16);
}

// Others may listen on the same interface.
TEST(DaemonProcess, HasItsOwnSockets) {
    const int port = socket(AF_PACKET, SOCK_RAW, htons(0x893A));
    if (port < 0) GTEST_SKIP() << "needs root";
    const sockaddr_ll lo{AF_PACKET, htons(0x893A), static_cast<int>(if_nametoindex("lo")), 0, 0, 0,
                         {}};
    ASSERT_EQ(bind(port, reinterpret_cast<const sockaddr*>(&lo), sizeof lo), 0);
    EXPECT_EQ(openPorts({"lo"}, getpid()), 1U);
    EXPECT_EQ(openPorts({"lo"}, getppid()), 0U);
    close(port);
}

TEST(CheckConfig, NamesTheFileAndTheLine) {
    std::string folder = "/tmp/ctl_test.XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    std::ofstream(folder + "/vm1905.conf") << "DEBUG_LEVEL=4\nENABLE_LOG = yes\n";
    std::ofstream(folder + "/platform.conf.new") << "FORWARD_1905 = maybe\nAL_MAC = zz:zz\n";
    std::ofstream(folder + "/wifi.conf") << "[home]\nBAND = 7\nSSID = x\nAUTHENTICATION = open\n";
    std::string all;
    for (const char* name :
         {"/vm1905.conf", "/platform.conf.new", "/wifi.conf", "/vm1905.conf.missing"}) {
        for (const auto& trouble : checkConfig({folder + name})) {
            all += trouble.all().substr(folder.size()) + "\n";
        }
    }
    EXPECT_EQ(all,
              "/vm1905.conf:2: ENABLE_LOG must be 0 or 1, not \"yes\"\n"
              "/platform.conf.new:1: FORWARD_1905 must be yes or no, not \"maybe\"\n"
              "/platform.conf.new:2: AL_MAC must be a MAC address, not \"zz:zz\"\n"
              "/wifi.conf:2: BAND is a list of 2.4, 5, 6, guest-2.4 and guest-5\n"
              "/vm1905.conf.missing: cannot be read: No such file or directory\n");
    for (const char* other : {"/else.conf", "/vm1905_Version"}) {
        EXPECT_THROW((void)checkConfig({folder + other}), Failure) << other;
    }
    std::filesystem::remove_all(folder);
}

}  // namespace
