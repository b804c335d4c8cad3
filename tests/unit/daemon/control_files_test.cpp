#include "daemon/control_files.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <fstream>

#include "base/fd.h"
#include "base/service_manager.h"
#include "base/state.h"
#include "db/sys_ctrl.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

class ControlFile : public Device {
  protected:
    // The debug level after a look at the folder, and whether the daemon goes on.
    std::string look() {
        stateOf<ControlFiles>().folder = folder();
        setSysState(kRunning);
        (void)checkScriptCmd();
        return std::to_string(getDebugLevelOption()) + (getSysState() == kRunning ? " on" : " off");
    }
};

TEST_F(ControlFile, OfOthersAreIgnoredIfOnlyTheOwnersCount) {
    const std::string debug = folder() + "/vm1905_debug", stop = folder() + "/vm1905_stop";
    LogCapture log(1);
    const std::string file = folder() + "/file";
    const std::function<int()> makes[] = {
        [&] { return symlink(file.c_str(), debug.c_str()); },
        [&] { return link(file.c_str(), debug.c_str()); }, [&] { return mkfifo(stop.c_str(), 0); },
        [&] {  // a file of another user
            stateOf<ControlFiles>().user = geteuid() + 1;
            const int made = rename(file.c_str(), debug.c_str());
            return geteuid() == 0 ? chown(debug.c_str(), 2, 2) : made;
        }};
    std::ofstream(file) << "1";
    EXPECT_EQ(look(), "3 on");
    for (const auto& make : makes) {
        ASSERT_EQ(make(), 0);
        getSysCtrl().config.controlFilesOfOwner = true;
        for (int i = 0; i < 3; i++) EXPECT_EQ(look(), "3 on");
        EXPECT_EQ(occurrences(log.text(), " is ignored: "), 1U);
        getSysCtrl().config = {};
        EXPECT_NE(look(), "3 on") << "by default it counts";
        getSysCtrl().config = {};
        getSysCtrl().config.controlFilesOfOwner = true;
        for (const auto& path : {debug, stop}) (void)remove(path.c_str());
        (void)look();
    }
    for (const std::string start : {"", stop.c_str()}) {
        stateOf<ControlFiles>() = {};
        getSysCtrl().config.controlFilesOfOwner = true;
        EXPECT_EQ(look(), start.empty() ? "3 on" : "3 off");
        std::ofstream(stop) << "";
        EXPECT_EQ(look(), "3 off") << "an own file";
        EXPECT_EQ(occurrences(log.text(), stop + " is left over"), start.empty() ? 0U : 1U);
    }
}

TEST_F(ControlFile, ThatRestartsCountsOnceUnderAServiceManager) {
    const std::string restart = folder() + "/vm1905_restart";
    std::ofstream(restart) << "";
    sockaddr_un name{AF_UNIX, {}};
    const int length = snprintf(name.sun_path, sizeof name.sun_path, "%s/notify", folder().c_str());
    const Fd manager(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(bind(manager.get(), reinterpret_cast<sockaddr*>(&name), sizeof name), 0) << length;
    setenv("NOTIFY_SOCKET", name.sun_path, 1);
    for (int i = 0; i < 3; i++) EXPECT_EQ(look(), "3 on") << "it has led to this start";
    const timespec earlier[2] = {};
    ASSERT_EQ(utimensat(AT_FDCWD, restart.c_str(), earlier, 0), 0);
    EXPECT_EQ(look(), "3 off") << "touched again";
    notifyServiceManager("WATCHDOG=1");
    unsetenv("NOTIFY_SOCKET");
    notifyServiceManager("READY=1");
    char text[32] = {};
    EXPECT_EQ(recv(manager.get(), text, sizeof text, MSG_DONTWAIT), 10);
    EXPECT_STREQ(text, "WATCHDOG=1");
    EXPECT_EQ(recv(manager.get(), text, sizeof text, MSG_DONTWAIT), -1);
}

}  // namespace
