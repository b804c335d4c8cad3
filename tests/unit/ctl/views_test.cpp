// What vm1905ctl shows of a daemon that the test plays.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <sstream>

#include "cli.h"
#include "completion.h"
#include "failure.h"
#include "support/played_daemon.h"
#include "terminal.h"
#include "views.h"

namespace {

Mac mac(int device, int port = 0xff) {
    return vm1905_mac{{2, 0, 0, 0, static_cast<uint8_t>(device), static_cast<uint8_t>(port)}};
}

class Views : public testing::Test {
  protected:
    Views() {
        setenv("TZ", "UTC", 1);
        playedDaemon = {};
        publish(Json::object());
    }
    ~Views() override { std::remove(path_.c_str()); }

    // Writes the data model of a line: this device and those with these names, from 2 on. Each
    // hears the one before on lan0, which ends on eth1 or lan1 there, and the next one on lan1.
    void publish(const Json& names, bool isStandard = false) {
        const auto intf = [](const char* name, int device, int port) {
            return Json{{"InterfaceName", name}, {"InterfaceId", mac(device, port).text()}};
        };
        Json al{{"IEEE1905Id", mac(1).text()},
                {"Interface.1", intf("eth0", 1, 0xff)},
                {"Interface.2", intf("eth1", 1, 1)},
                {"StandardMode", isStandard},
                {"NetworkTopology", Json::object()}};
        for (const auto& [device, name] : names.items()) {
            const int number = std::stoi(device);
            Json& out = al["NetworkTopology"]["IEEE1905Device." + device];
            out = {{"IEEE1905Id", mac(number).text()},
                   {"Hostname", name},
                   {"Interface.1", intf("lan0", number, 0)},
                   {"Interface.2", intf("lan1", number, 1)}};
            for (const int step : {-1, 1}) {
                if (step > 0 && !names.contains(std::to_string(number + 1))) continue;
                out[step < 0 ? "IEEE1905Neighbor.1" : "IEEE1905Neighbor.2"] = {
                    {"LocalInterface", step < 0 ? "Interface.1" : "Interface.2"},
                    {"NeighborDeviceId", mac(number + step).text()},
                    {"NeighborInterfaceId", mac(number + step, step < 0 ? 1 : 0).text()}};
            }
        }
        std::ofstream(path_) << Json{{"Device", {{"X_5E1F09_IEEE1905", {{"AL", al}}}}}};
        model_ = readDataModel(path_);
        playedDaemon.known = &model_;
    }
    void makeLine() {
        publish({{"2", "attic"}, {"3", "the cellar of the house"}});
        playedDaemon.downIntf = mac(1, 1);
        playedDaemon.silence = {7, 100};
    }
    static void log(uint32_t time, bool isLost, int neighbor, bool isHost = false,
                    const Mac& port = mac(1), int reporter = 1) {
        playedDaemon.log.push_back(
            {time, isLost, mac(reporter), port, static_cast<uint8_t>(isHost), mac(neighbor)});
    }

    // Without padding, and with "me" for the name of this device.
    static std::string bare(std::string text) {
        const std::string own = Session({}, "").ownName();
        for (size_t at = 0; (at = text.find("  " + own + " ", at)) != std::string::npos; at++) {
            text.replace(at + 2, own.size(), "me");
        }
        std::string out;
        for (const char c : text) {
            if (c != ' ' || !out.ends_with(' ')) out += c;
        }
        return out;
    }

    // What the command prints, or says if it fails.
    std::string shown(const std::string& line) {
        std::istringstream text(line);
        Choice choice;
        std::string out;
        try {
            const auto app = makeCommandLine(choice);
            parse(*app, choice, {std::istream_iterator<std::string>(text), {}});
            choice.options.dataModel = path_;
            Session session(choice.options, choice.command);
            Report report = choice.read ? readSelected(choice, session) : choice.act(session);
            report.print(choice.options.format, out);
        } catch (const Failure& failure) {
            return failure.text;
        }
        return out;
    }

    DataModel model_;
    const std::string path_ = testing::TempDir() + "views_test.json";
};

TEST_F(Views, FoldOnlyNewsOfOneKind) {
    log(1, false, 2);
    log(2, false, 2, true);  // its MAC as a host
    log(3, false, 2);
    const std::string at = "1970-01-01 00:00:0";
    EXPECT_EQ(bare(shown("changes")), "TIME EVENT NEIGHBOR KIND SEEN BY ON TIMES LAST\n" + at +
                                          "1 new " + mac(2).text() + " device me eth0 2 " + at +
                                          "3\n" + at + "2 new " + mac(2).text() +
                                          " host me eth0 - -\n");
}

TEST_F(Views, NameThePortThatBearsTheAlMac) {
    log(1, false, 2);
    log(2, true, 2);  // the AL MAC, because the port is not known
    log(3, false, 9, true, mac(1, 1));
    log(4, false, 9, true, mac(2, 1), 2);  // of a device that the data model lacks
    const auto changes = Json::parse(shown("changes --json"))["changes"];
    Json ports = Json::array();
    for (const auto& change : changes) ports.push_back(change["interface"]);
    EXPECT_EQ(ports, (Json{"eth0", nullptr, "eth1", mac(2, 1).text()}));
}

TEST_F(Views, FollowPrintsEachChangeOnceWithTheNameItHad) {
    Choice choice;
    const auto app = makeCommandLine(choice);
    parse(*app, choice, {"changes"});
    choice.options.dataModel = path_;
    Session session(choice.options, "");
    static double lead;
    lead = 0;
    choice.follow = changeFollower([] { return lead; });
    Widths widths;
    const auto news = [&](Format format = Format::kText) {
        std::string out;
        session.forgetModel();
        choice.follow(session).printRows(format, widths, out);
        return out;
    };
    publish({{"2", "attic"}});
    log(1, false, 2);
    log(1, false, 2);
    const std::string line = "1970-01-01 00:00:01 new attic device me eth0\n";
    EXPECT_EQ(bare(news()), "TIME EVENT NEIGHBOR KIND SEEN BY ON\n" + line + line);
    EXPECT_EQ(news(), "");
    lead = 3600;  // the clock is set
    for (auto& entry : playedDaemon.log) entry.time += 3601;
    EXPECT_EQ(news(), "") << "the same entries";
    lead = 0;
    for (auto& entry : playedDaemon.log) entry.time -= 3601;
    playedDaemon.log[0] = {2, 1, mac(1), mac(1), 0, mac(2)};  // in place of the oldest
    publish(Json::object());
    EXPECT_EQ(bare(news()), "1970-01-01 00:00:02 lost attic device me -\n");
    // A device that has just come has not reported its name yet; what follows it waits, too.
    log(static_cast<uint32_t>(std::time(nullptr)), false, 3);
    log(static_cast<uint32_t>(std::time(nullptr)), false, 8, true);
    EXPECT_EQ(news(), "");
    publish({{"3", "cellar"}});
    const std::string both = news(Format::kJson);
    EXPECT_EQ(Json::parse(both.substr(0, both.find('\n')))["neighbor"], "cellar") << both;
    EXPECT_EQ(std::ranges::count(both, '\n'), 2) << both;
}

TEST_F(Views, ShowTheHealthOfTheMesh) {
    makeLine();
    const Json devices = Json::parse(shown("devices --json"))["devices"];
    EXPECT_EQ(devices[0]["firmware"], "7.1");
    EXPECT_EQ(devices[0]["lan_mac"], "02:00:00:00:01:0a");
    EXPECT_EQ(devices[2]["silence"], 100);
    const std::string tree = shown("topology");
    EXPECT_NE(tree.find("port down"), std::string::npos) << tree;
    std::istringstream lines(tree);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(width(line), 80U) << tree;
    const Json links = Json::parse(shown("links attic --json"))["links"];
    EXPECT_EQ(links.size(), 2U) << "those of attic alone";
    EXPECT_TRUE(links[1]["bridge"].is_null()) << "not known without READ_LLDP";
    publish({{"2", "attic"}}, true);
    EXPECT_EQ(Json::parse(shown("links attic --json"))["links"][0]["bridge"], false);
}

TEST_F(Views, ShowTheRowsAndColumnsThatAreWanted) {
    makeLine();
    EXPECT_EQ(bare(shown("devices --columns name,lan_mac --filter own=no")),
              "NAME LAN MAC\nattic -\nthe cellar of the house -\n");
    EXPECT_EQ(bare(shown("devices --columns name --sort -silence --filter silence<200 "
                         "--filter al_mac!=02:00:00:00:09:ff")),
              "NAME\nthe cellar of the house\nattic\n");
    EXPECT_EQ(shown("devices --columns name,age"), "there is no column age");
    EXPECT_EQ(shown("devices --filter silence"), "silence is not a condition");
    EXPECT_EQ(bare(shown("topology --columns name --filter silence>50")),
              "DEVICE\nthe cellar of the house\n");
}

TEST_F(Views, DrawGraphs) {
    makeLine();
    publish({{"2", "at\"tic"}, {"3", "<b>&#1"}});
    const std::string own = Session({}, "").ownName();
    EXPECT_EQ(shown("topology --dot"), "graph mesh {\n  n0 [label=\"" + own + R"("];
  n1 [label="at\"tic"];
  n2 [label="<b>&#1"];
  n0 -- n1 [label="eth1 - lan0"];
  n1 -- n2 [label="lan1 - lan0"];
}
)");
    EXPECT_EQ(shown("topology --mermaid"), "graph TD\n  n0[\"" + own + R"("]
  n1["at#quot;tic"]
  n2["#lt;b#gt;#amp;#35;1"]
  n0 ---|"eth1 - lan0"| n1
  n1 ---|"lan1 - lan0"| n2
)");
}

TEST_F(Views, DiscoverFailsIfTheDaemonHasNoPort) {
    EXPECT_EQ(shown("discover"), "done: discover\n");
    playedDaemon.hasNoPort = true;
    EXPECT_NE(shown("discover").find("no port open"), std::string::npos);
}

TEST(Failures, NameTheirCodeOnce) {
    for (const int result : {5, int{VM1905_FAILED}}) {
        try {
            throwFailure(result, "led");
        } catch (const Failure& failure) {
            const std::string code = "code " + std::to_string(result);
            const size_t first = failure.text.find(code);
            EXPECT_NE(first, std::string::npos) << failure.text;
            EXPECT_EQ(failure.text.find(code, first + 1), std::string::npos) << failure.text;
        }
    }
}

TEST(Completion, OffersAfterWatchWhatCanBeWatched) {
    testing::internal::CaptureStdout();
    printCompletions({"watch", ""});
    std::fflush(stdout);
    const std::string offered = "\n" + testing::internal::GetCapturedStdout();
    EXPECT_NE(offered.find("\ntopology\n"), std::string::npos);
    for (const char* other : {"reboot", "set", "watch"}) {
        EXPECT_EQ(offered.find("\n" + std::string(other) + "\n"), std::string::npos) << other;
    }
}

}  // namespace
