#include "daemon/control_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <fstream>

#include "base/state.h"
#include "db/sys_ctrl.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

class ControlFile : public Device {
  protected:
    // Looks as after a start, in a folder that changed long ago. The debug level, and whether the
    // daemon goes on.
    std::string look() {
        stateOf<ControlFiles>().folder = folder();
        setSysState(kRunning);
        (void)checkScriptCmd();
        return std::to_string(getDebugLevelOption()) + (getSysState() == kRunning ? " on" : " off");
    }
    std::string path(const char* name) const { return folder() + "/" + name; }
    LogCapture log_{1};
};

TEST_F(ControlFile, OfOthersAreIgnoredIfOnlyTheOwnersCount) {
    const std::string debug = path("vm1905_debug"), stop = path("vm1905_stop");
    std::ofstream(path("own")) << "1";
    std::ofstream(path("twice")) << "1";
    const std::function<int()> makes[] = {
        [&] { return symlink(path("own").c_str(), debug.c_str()); },
        [&] { return link(path("twice").c_str(), debug.c_str()); },
        [&] { return mkfifo(stop.c_str(), 0600) + chmod(stop.c_str(), 0666); },
        [&] { return mkdir(stop.c_str(), 0777); },
        [&] {  // a file of another user
            stateOf<ControlFiles>().user = geteuid() == 0 ? 0 : geteuid() + 1;
            const int made = rename(path("own").c_str(), debug.c_str());
            return geteuid() == 0 ? made + chown(debug.c_str(), 1, 1) : made;
        }};
    (void)look();
    for (size_t i = 0; i < std::size(makes); i++) {
        ASSERT_EQ(makes[i](), 0);
        getSysCtrl().config = {};
        EXPECT_EQ(look(), i == 2 || i == 3 ? "3 off" : "1 on") << i << " counts by default";
        EXPECT_EQ(log_.text(), "");
        getSysCtrl().config = {};
        getSysCtrl().config.controlFilesOfOwner = true;
        for (int look = 0; look < 3; look++) EXPECT_EQ(this->look(), "3 on") << i;
        EXPECT_EQ(occurrences(log_.text(), " is ignored: "), 1U) << i;
        (void)remove(debug.c_str());
        (void)remove(stop.c_str());
        (void)look();
    }
    stateOf<ControlFiles>() = {};
    std::ofstream(debug) << "1";
    EXPECT_EQ(look(), "1 on") << "an own file";
    EXPECT_EQ(log_.text(), "");
    std::ofstream(stop) << "";
    EXPECT_EQ(look(), "1 off");
    EXPECT_EQ(log_.text(), "") << "made while the daemon runs";
    stateOf<ControlFiles>() = {};
    EXPECT_EQ(look(), "1 off");
    EXPECT_EQ(occurrences(log_.text(), stop + " is left over from before the start"), 1U);
}

}  // namespace
