// Hooks and other programs: what reaches them, what comes back, and that none holds up the daemon.
#include <dirent.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>

#include "support.h"

namespace {

// How many descriptors this process has open.
int openFds() {
    int count = 0;
    DIR* folder = ::opendir("/proc/self/fd");
    while (::readdir(folder) != nullptr) ++count;
    ::closedir(folder);
    return count;
}

bool hasChildren() {
    return ::waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

// Whether the process, which is not our child, is gone or only waits to be collected; a signal may
// take a moment on a busy machine.
bool ends(const std::string& pid) {
    const std::string path = "/proc/" + std::to_string(std::stoi(pid)) + "/stat";
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    std::string stat;
    while (std::chrono::steady_clock::now() < until) {
        (void)plat::runCommand({"/bin/cat", path}, {.output = &stat, .quiet = true});
        if (stat.empty() || stat.find(") Z ") != stat.npos) return true;
    }
    return false;
}

}  // namespace

TEST(Hooks, HandOverArgumentsAsTheyAreAndReturnTheStatus) {
    const ScratchFolder folder;
    folder.hook("network", "printf '%s|' \"$@\" >\"$0.args\"; exit 7");
    const std::string nasty = "$(touch " + folder.path("gotcha") + ") `id`; 'a' \"b\" * \\ \n-x";
    EXPECT_EQ(setNetworkCtrl(513, nasty.c_str()), 7);
    EXPECT_EQ(folder.read("network.args"), "513|" + nasty + "|");
    EXPECT_EQ(folder.read("gotcha"), "");

    EXPECT_EQ(setNetworkCtrl(1, nullptr), 7);
    EXPECT_EQ(folder.read("network.args"), "1||");
}

TEST(Hooks, MissingOnesFailHonestly) {
    const ScratchFolder folder;
    folder.hook("led", "exit 0");
    folder.write("system", "#!/bin/sh\nexit 0\n", 0644);  // not executable
    folder.write("reset-to-default", "neither a script nor a program", 0755);
    EXPECT_EQ(setLEDvalue(1), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(setSystemvalue(1), 16);
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_NE(log.find(folder.path("system")), log.npos) << log;
    EXPECT_EQ(resetToDefault(), 16);
    EXPECT_EQ(setAPSteering(1), 16);
    FwCtrl order{};
    EXPECT_EQ(FWCtrl(&order), 16);
    EXPECT_EQ(FWCtrl(nullptr), 16);
}

TEST(Hooks, TheirOutputIsTheAnswer) {
    const ScratchFolder folder;
    folder.hook("extender-firmware-url",
                "[ \"$2\" = attic ] || exit 3; echo ftp://host/fw; echo fw.bin");
    char url[PLATFORM_FW_URL_LEN];
    char file[PLATFORM_FW_FILE_NAME_LEN];
    EXPECT_EQ(getDownloanURL("cellar", "attic", url, file), 0);
    EXPECT_STREQ(url, "ftp://host/fw");
    EXPECT_STREQ(file, "fw.bin");
    EXPECT_EQ(getDownloanURL("cellar", "porch", url, file), 3);
    EXPECT_STREQ(url, "");

    folder.hook("new-firmware-version", "head -c 300 /dev/zero | tr '\\0' v");
    char text[PLATFORM_FW_TEXT_LEN];
    EXPECT_EQ(getNewFWversion(text), 0);
    EXPECT_EQ(std::string(text), std::string(127, 'v'));
    folder.hook("new-firmware-date", "exit 0");
    EXPECT_EQ(getNewFWdate(text), 16);

    folder.hook("beacon-report-get", "echo 27 00 ff");
    BcnRpt report{};
    EXPECT_EQ(getBcnRptReq(&report), 0);
    EXPECT_EQ(plat::hexText({report.data, report.len}), "2700ff");
    folder.hook("beacon-report-get", "head -c 1202 /dev/zero | tr '\\0' 0");
    EXPECT_EQ(getBcnRptReq(&report), 16);
}

TEST(Commands, AreBoundedInTimeAndOutput) {
    const ScratchFolder folder;
    const int fds = openFds();
    // A child and its grandchild that never end, and hold our pipe.
    folder.hook("hang", "sleep 1000 & echo $! >\"$0.pid\"; echo early; sleep 1000");
    std::string output;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(plat::runCommand({folder.path("hang")},
                               {.limit = std::chrono::milliseconds(200), .output = &output}),
              16);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(output, "early\n");
    EXPECT_TRUE(ends(folder.read("hang.pid")));

    // One that writes for ever without a pause.
    folder.hook("yes", "exec yes");
    EXPECT_EQ(plat::runCommand(
                  {folder.path("yes")},
                  {.limit = std::chrono::milliseconds(200), .output = &output, .maxOutput = 1000}),
              16);
    EXPECT_EQ(output.size(), 1000u);

    // More than a pipe holds must neither block it nor be kept.
    folder.hook("big", "head -c 1000000 /dev/zero; exit 4");
    EXPECT_EQ(plat::runCommand({folder.path("big")}, {.output = &output}), 4);
    EXPECT_EQ(output.size(), 8192u);

    // What it leaves in the background does not delay the answer.
    folder.hook("background", "sleep 1000 & echo $! >\"$0.pid\"; echo done");
    EXPECT_EQ(plat::runCommand({folder.path("background")}, {.output = &output}), 0);
    EXPECT_EQ(output, "done\n");
    EXPECT_EQ(::kill(std::stoi(folder.read("background.pid")), SIGKILL), 0);

    EXPECT_EQ(plat::runCommand({"/bin/sh", "-c", "kill -9 $$"}, {}), 16);
    EXPECT_EQ(plat::runCommand({"/nonexistent"}, {}), 16);
    EXPECT_EQ(plat::runCommand({}, {}), 16);
    EXPECT_EQ(openFds(), fds);
    EXPECT_FALSE(hasChildren());
}

TEST(Commands, InheritNothingButOutputAndErrors) {
    const ScratchFolder folder;
    const int leak = ::dup(0);  // not close-on-exec
    std::string output;
    EXPECT_EQ(plat::runCommand({"/bin/ls", "/proc/self/fd"}, {.output = &output}), 0);
    EXPECT_EQ(output, "0\n1\n2\n3\n");  // 3 is the folder that it reads
    ::close(leak);
}
