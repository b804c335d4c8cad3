// What people see of the mesh: the tree out of who hears whom, texts of other devices, addresses.
#include <gtest/gtest.h>

#include <map>

#include "argument.h"
#include "cli.h"
#include "data_model.h"
#include "mac.h"
#include "output.h"
#include "report.h"
#include "terminal.h"
#include "tree.h"

namespace {

Mac mac(int device, int port = 255) {
    vm1905_mac out{{2, 0, 0, 0, static_cast<uint8_t>(device), static_cast<uint8_t>(port)}};
    return out;
}

// Device -> port -> whom it hears there.
using Hearing = std::map<int, std::map<int, std::vector<int>>>;

Mesh meshOf(const Hearing& hearing, bool wifi = false) {
    Mesh mesh;
    for (const auto& [number, ports] : hearing) {
        Device device;
        device.alMac = mac(number);
        device.name = std::to_string(number);
        for (const auto& [port, others] : ports) {
            Interface intf;
            intf.mac = mac(number, port);
            intf.name = std::to_string(port);
            intf.isAccessPoint = wifi && others.size() > 1 && number == 1;
            device.interfaces.push_back(intf);
            for (const int other : others) {
                Heard heard;
                heard.localIntf = intf.mac;
                heard.isDevice = other < 100;
                heard.mac = mac(other);
                device.heard.push_back(heard);
            }
        }
        mesh.devices.push_back(device);
    }
    return mesh;
}

// "1(2(3)4)": 2 and 4 hang off 1, and 3 off 2. A ? before what is only somewhere behind, or
// nowhere.
std::string treeOf(const Mesh& mesh, int root, bool withHosts = false) {
    const auto places = placeMesh(mesh, *mesh.find(mac(root)), withHosts);
    std::string out;
    size_t depth = 0;
    for (const Place& place : places) {
        for (; depth > place.depth; depth--) out += ")";
        for (; depth < place.depth; depth++) out += "(";
        if (!out.empty() && isdigit(out.back()) != 0) out += " ";
        out += (place.isCertain ? "" : "?") + std::to_string(place.mac.b[4]);
    }
    for (; depth > 0; depth--) out += ")";
    return out;
}

TEST(Tree, LeavesOutWhoIsHeardAcrossSomebodyElse) {
    const struct {
        const char* name;
        Hearing hearing;
        int root;
        const char* tree;
        bool wifi = false;
    } kCases[] = {
        {"a line whose bridges forward",
         {{1, {{0, {2, 3}}}}, {2, {{0, {1}}, {1, {3}}}}, {3, {{0, {1, 2}}}}},
         1,
         "1(2(3))"},
        {"the same from its middle",
         {{1, {{0, {2, 3}}}}, {2, {{0, {1}}, {1, {3}}}}, {3, {{0, {1, 2}}}}},
         2,
         "2(1 3)"},
        {"isolated hops",
         {{1, {{0, {2}}}}, {2, {{0, {1}}, {1, {3}}}}, {3, {{0, {2}}}}},
         1,
         "1(2(3))"},
        {"a switch between three",
         {{1, {{0, {2, 3}}}}, {2, {{0, {1, 3}}}}, {3, {{0, {1, 2}}}}},
         1,
         "1(2 3)"},
        {"a ring with a blocked port, on which everything is still heard",
         {{1, {{0, {2, 3}}, {1, {3, 4}}}},
          {2, {{0, {1, 3, 4}}, {1, {3}}}},
          {3, {{0, {1, 2, 4}}, {1, {1, 2, 4}}}},
          {4, {{0, {3}}, {1, {1, 2, 3}}}}},
         1,
         "1(2(3)4)"},
        {"stations of one radio",
         {{1, {{0, {2, 3}}}}, {2, {{0, {1, 3}}}}, {3, {{0, {1, 2}}}}},
         2,
         "2(1(3))",
         true},
        {"one that tells nothing yet",
         {{1, {{0, {2}}}}, {2, {{0, {1}}, {1, {3}}}}, {3, {}}},
         1,
         "1(2(3))"},
        {"one that nobody hears", {{1, {{0, {2}}}}, {2, {{0, {1}}}}, {3, {}}}, 1, "1(2 ?3)"},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(treeOf(meshOf(c.hearing, c.wifi), c.root), c.tree) << c.name;
    }
}

TEST(Tree, HangsHostsOnTheLastDeviceBeforeThem) {
    const Mesh mesh = meshOf({{1, {{0, {2, 101}}, {1, {102}}}}, {2, {{0, {1, 102}}, {1, {101}}}}});
    EXPECT_EQ(treeOf(mesh, 1, true), "1(2(101)102)");
    const auto places = placeMesh(mesh, mesh.devices[0], true);
    EXPECT_EQ(branchesOf(places, false),
              (std::vector<std::string>{"", "|-- ", "|   `-- ", "`-- "}));
}

TEST(Text, OfOthersDrivesNoTerminal) {
    const std::pair<std::string, std::string> kCases[] = {
        {"attic-1", "attic-1"},
        {"\x1b[31mred\r\n", "\\x1b[31mred\\x0d\\x0a"},
        {"K\xc3\xbc"
         "che",
         "K\xc3\xbc"
         "che"},
        {"a\xc2\x9bz", "a\\u{9b}z"},                              // a control character of its own
        {"\xe2\x80\xaegnp", "\\u{202e}gnp"},                      // turns the writing round
        {"\xff\xc3", "\\xff\\xc3"},                               // no UTF-8
        {"\xc0\x9b \xed\xa0\x80", "\\xc0\\x9b \\xed\\xa0\\x80"},  // a control character in disguise
        {"\\x1b", "\\\\x1b"},
    };
    for (const auto& [text, shown] : kCases) EXPECT_EQ(escaped(text), shown);
}

TEST(Report, KeyValueLinesAreSafeInAShell) {
    std::string out;
    printKeyValue(
        {{"a", {{"b", {"x", "y z"}}, {"c", nullptr}}}, {"evil", "$(reboot)'; `id`\nb=1"}, {"n", 7}},
        "", out);
    EXPECT_EQ(out, "a.b.0=x\na.b.1='y z'\na.c=\nevil='$(reboot)'\\''; `id`\\x0ab=1'\nn=7\n");
}

TEST(Mac, IsReadInAnyUsualSpelling) {
    for (const char* text : {"02:00:5E:10:00:01", "02-00-5e-10-00-01", "02.00.5e.10.00.01",
                             "0200.5e10.0001", "02005e100001"}) {
        ASSERT_TRUE(parseMac(text)) << text;
        EXPECT_EQ(parseMac(text)->text(), "02:00:5e:10:00:01");
    }
    for (const char* text : {"", "attic", "02:00:5e:10:00", "02:00-5e:10:00:01",
                             "02x00x5ex10x00x01", "02005e10000g", "2:0:5e:10:0:1:2:3"}) {
        EXPECT_FALSE(parseMac(text)) << text;
    }
}

std::string modelNaming(const std::string& name) {
    return "{\n\t\"Device\": {\n\t\t\"X_5E1F09_IEEE1905\": {\n\t\t\t\"AL\": {\n"
           "\t\t\t\t\"IEEE1905Id\": \"02:00:00:00:01:ff\",\n\t\t\t\t\"NetworkTopology\": {\n"
           "\t\t\t\t\t\"IEEE1905Device.1\": {\n"
           "\t\t\t\t\t\t\"IEEE1905Id\": \"02:00:00:00:02:ff\",\n"
           "\t\t\t\t\t\t\"Hostname\": \"" +
           name +
           "\",\n"
           "\t\t\t\t\t\t\"DeviceType\": "
           "\"Enrollee\"\n\t\t\t\t\t}\n\t\t\t\t}\n\t\t\t}\n\t\t}\n\t}\n}\n";
}

TEST(DataModel, NoNameHidesTheRest) {
    for (const std::string name :
         {"attic", "say \"hi\"", "back\\slash\\", "\x1b]0;x\x07", "a\nb", "a\",", "\": {", ""}) {
        const DataModel model = parseDataModel(modelNaming(name));
        EXPECT_EQ(model.trouble, "") << name;
        ASSERT_EQ(model.devices.size(), 1U) << name;
        EXPECT_EQ(model.devices[0].text("DeviceType"), "Enrollee") << name;
        EXPECT_EQ(model.devices[0].text("Hostname"), name);
    }
    EXPECT_EQ(parseDataModel(modelNaming("caf\xe9")).devices.at(0).text("Hostname"), "caf\xc3\xa9");
    const std::string whole = modelNaming("attic");
    for (size_t length = 0; length < whole.size() - 1; length++) {
        const DataModel model = parseDataModel(whole.substr(0, length));
        EXPECT_TRUE(!model.trouble.empty() || length > whole.size() - 3) << length;
    }
}

// How a command line is refused before any daemon is asked.
Failure failureOf(const std::vector<std::string>& words) {
    Choice choice;
    try {
        const auto app = makeCommandLine(choice);
        parse(*app, choice, words);
        Session session(choice.options, choice.command);
        (void)(choice.read ? choice.read : choice.act)(session);
    } catch (const Failure& failure) {
        return failure;
    }
    return {kDone, "it was carried out"};
}

TEST(Usage, IsCheckedBeforeAnythingIsAsked) {
    const struct {
        std::vector<std::string> words;
        const char* said;
    } kCases[] = {
        {{"led", "00:00:00:00:00:00", "1"}, "00:00:00:00:00:00 is no device; "},
        {{"led", "", "1"}, "no device is called "},
        {{"set", "allow-reboot", "5"}, "5 is no number from 0 to 1"},
        {{"set", "change-log-max", "256"}, "from 1 to 255"},
        {{"set", "change-log-max", "0x"}, "from 1 to 255"},
        {{"set", "wps", "0", "1"}, "TYPE SEARCH RESPONSE"},
        {{"set", "wps-band", "2", "1", "1"}, "All, 0, 1, 32, 33"},
        {{"status", "--timeout", "nan"}, "nan is no number"},
        {{"watch", "--interval", "abc"}, "abc is no number"},
        {{"status", "--json", "--keyvalue"}, "excludes"},
        {{"power", "dev2", "sideways"}, "on, save, off"},
        {{"wps", "foo"}, "no command wps foo; its commands: renew"},
        {{"wps"}, "wants a command; its commands: renew"},
        {{"help", "topology"}, "no command help"},
        {{"status", "3"}, "status takes nothing more: 3"},
        {{"send", "2"}, "--to DEVICE"},
        {{"send", "10", "--to", "dev2"}, "go to every device"},
        {{"send", "10", "0f000201"}, "no list of TLVs"},
        {{"command", "02:00:00:00:02:ff", std::string(241, 'a')}, "241 bytes; it may have 240"},
    };
    for (const auto& c : kCases) {
        const Failure failure = failureOf(c.words);
        EXPECT_EQ(failure.status, kUsage) << c.said;
        const std::string said = failure.text + "; " + failure.advice;
        EXPECT_NE(said.find(c.said), std::string::npos) << said;
        EXPECT_TRUE(reportOf(failure).json()["result"].is_null()) << "nothing was asked";
    }
    EXPECT_EQ(numberArgument("010", 0, 255, ""), 10);
    EXPECT_EQ(numberArgument("0x10", 0, 255, ""), 16);
}

TEST(Text, IsCutToTheTerminal) {
    EXPECT_EQ(cutTo("\x1b[1mK\xc3\xbc"
                    "che\x1b[0m\nab\nc\n",
                    2, 3),
              "\x1b[1mK\xc3\xbc"
              "c\x1b[0m\nab");
}

}  // namespace
