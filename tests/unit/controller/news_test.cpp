// The log lines that tell people what has changed in the mesh.
#include <map>
#include <sstream>

#include "controller/mesh_news.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

class News : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        start();
    }

    // Each device hears others on its two ports: "1a2 1b3" for this device (1) and devices 2 to 4.
    static void hear(const std::string& links) {
        getIntfTable().front().nbrs.clear();
        getIntfTable().back().nbrs.clear();
        std::map<char, DevTopol> topols;
        std::istringstream words(links);
        for (std::string word; words >> word;) {
            const size_t port = word[1] == 'a' ? 0 : 1;
            if (word[0] != '1') {
                topols[word[0]].ieee1905Lists.push_back({intfOf(word[0], port), {}});
            }
            for (const char other : word.substr(2)) {
                if (word[0] == '1') {
                    auto& intf = port == 0 ? getIntfTable().front() : getIntfTable().back();
                    intf.nbrs.push_back({.nbrAlMac = alMac(other), .is1905 = true});
                } else {
                    topols[word[0]].ieee1905Lists.back().nbrs.push_back({alMac(other)});
                }
            }
        }
        for (auto& [device, topol] : topols) {
            topol.alMac = alMac(device);
            for (const size_t port : {0U, 1U})
                topol.intfs.push_back({intfOf(device, port), 0, {}, 0, {}});
            EXPECT_EQ(updateIeee1905DevTable(kEth0, kMedia, topol), kOk);
            dev({alMac(device), {}}).hostname = "dev" + std::string(1, device);
        }
        noteTopologyChange();
    }
    // What a minute of passes logs, without the prefixes and the addresses of devices.
    static std::string logged() {
        LogCapture log(2);
        for (int i = 0; i < 12; i++) {
            advance(5);
            (void)logMeshNews();
        }
        std::istringstream lines(log.finish());
        std::string out;
        for (std::string line; std::getline(lines, line);) {
            line.erase(0, line.find("): ") + 3);
            if (line.ends_with('\r')) line.pop_back();
            const size_t address = line.find(" (0");
            if (address != std::string::npos) line.erase(address, 20);
            out += line + "; ";
        }
        return out;
    }

  private:
    static MacAddr alMac(char device) {
        return device == '1' ? kOwnAl
                             : MacAddr(6, 0, 0, 0, static_cast<uint8_t>(device - '0'), 0xff);
    }
    static MacAddr intfOf(char device, size_t port) {
        return {6, 0, 0, 0, static_cast<uint8_t>(device - '0'), static_cast<uint8_t>(port)};
    }
};

TEST_F(News, AreWhoComesGoesMovesAndChangesItsRole) {
    hear("1a23 2a1 2b3 3a12");  // a bridged line
    dev({{6, 0, 0, 0, 2, 0xff}, {}}).role = PLATFORM_ENROLLEE;
    EXPECT_EQ(logged(),
              "dev2 has joined as Enrollee on port eth0 of this device; "
              "dev3 has joined on port 06:00:00:00:02:01 of dev2; ");
    EXPECT_EQ(logged(), "");
    hear("1a2 1b3 2a13 2b 3a12");
    EXPECT_EQ(logged(),
              "dev3 has moved from port 06:00:00:00:02:01 of dev2 to port eth1 of this device; ");
    dev({{6, 0, 0, 0, 2, 0xff}, {}}).role = PLATFORM_REGISTRAR;
    EXPECT_EQ(logged(), "dev2 now has the role Registrar; ");
    (void)removeIeee1905DevTable({6, 0, 0, 0, 3, 0xff});
    EXPECT_EQ(logged(), "dev3 has left; ");
    EXPECT_EQ(fileText("vm1905_lost.json"), "{\n\t\"06:00:00:00:03:ff\": \"dev3\"\n}\n");
}

TEST_F(News, AreNoneOfARingOrOfABriefChange) {
    hear("1a2 1b4 2a1 2b3 3a2 3b4 4a3 4b1");  // isolated hops
    EXPECT_EQ(occurrences(logged(), "has joined"), 3U);
    hear("1a2 1b4 2a1 2b34 3a2 3b4 4a32 4b1");  // 4 and 2 hear each other through 3
    EXPECT_EQ(logged(), "");
    hear("1a24 2a1 2b34 3a2 3b4 4a3 4b2");
    (void)logMeshNews();
    hear("1a2 1b4 2a1 2b3 3a2 3b4 4a3 4b1");
    EXPECT_EQ(logged(), "");
}

}  // namespace
