// The command line, and the coalesced rewrite of the data model.
#include <iterator>
#include <sstream>

#include "daemon/command_line.h"
#include "db/data_model_update.h"
#include "db/upcalls.h"
#include "support/device.h"

namespace {

// "usage" or the values.
std::string parsed(const std::string& args) {
    std::istringstream in("vm1905 " + args);
    std::vector<std::string> words{std::istream_iterator<std::string>(in), {}};
    std::vector<char*> argv;
    for (auto& word : words) argv.push_back(word.data());
    CommandLine c;
    if (!parseCommandLine(static_cast<int>(argv.size()), argv.data(), c)) return "usage";
    std::string all = c.confFolder + " '" + c.modelName + "'";
    for (const int value : {c.debugLevel, c.topolCap, c.reboot, c.powerCtrl, c.enableLog,
                            c.deviceType, c.sendSearch, c.sendResponse, c.wifiReload, c.approve})
        all += " " + std::to_string(value);
    return all;
}

TEST(CommandLine, IsReadLikeThis) {
    EXPECT_EQ(parsed("-c /c -d 4 -t 0 -r 1 -p 2 -l x -m M -x 1 -y 7 -z 8 -w 1 -a 1"),
              "/c 'M' 4 0 1 2 0 1 7 8 1 1");
    for (const char* args : {"", "foo - restart", "-d", "-c"})
        EXPECT_EQ(parsed(args), "/etc/vm1905 '' -1 -1 -1 -1 -1 0 0 0 0 0") << args;
    // Meant: a value that looks like an option is one too.
    EXPECT_EQ(parsed("-c -t 1"), "-t '' -1 1 -1 -1 -1 0 0 0 0 0");
    EXPECT_EQ(parsed("-dxyz -1"), "usage");
}

int written, notified;

using Services = Device;

TEST_F(Services, BurstOfChangesGivesOneRewrite) {
    written = notified = 0;
    upcalls().writeJsonDataModel = [] { return ++written; };
    upcalls().requestSendTopolNtfMsg = [] { return ++notified; };
    for (const auto& [flag, writtenThen] :
         {std::pair{0, 0}, {1, 0}, {2, 1}, {2, 1}, {2, 1}, {2, 2}}) {
        (void)requestUpdateDataModel(flag);
        EXPECT_EQ(checkDataModelStatus(), kOk);
        EXPECT_EQ(written, writtenThen) << "two seconds after the first request";
        advance(1);
    }
    EXPECT_EQ(notified, 1) << "for flag 1 alone";
}

}  // namespace
