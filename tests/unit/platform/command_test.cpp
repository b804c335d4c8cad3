// Hooks and other programs: their arguments, their output, and that none holds up the daemon.
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/hook.h"
#include "support.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

// Far more than the daemon waits, for busy machines, but less than the limit of a hook.
constexpr milliseconds kMostBlocking{1000};

auto openFds() {
    using Folder = std::filesystem::directory_iterator;
    return std::distance(Folder("/proc/self/fd"), Folder());
}

// Does not collect any.
bool hasChildren() {
    siginfo_t info{};
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

// Whether a process that is not our child ends; it may remain a zombie.
bool ends(const std::string& pid) {
    const std::string path = "/proc/" + std::to_string(std::stoi(pid)) + "/stat";
    return becomes([&path] {
        std::ifstream file(path);
        std::string stat;
        return !std::getline(file, stat) || stat.find(") Z ") != stat.npos;
    });
}

// The result of a call that must not hold up the daemon.
template <typename Call>
int prompt(Call&& call) {
    const auto start = steady_clock::now();
    const int result = call();
    EXPECT_LT(steady_clock::now() - start, kMostBlocking);
    return result;
}

// Follows the daemon's schedule until no job is running.
bool collected() {
    return becomes([] {
        EXPECT_EQ(prompt(reSendRenewbySynclist), 0);
        return !hasChildren();
    });
}

// Whether a call comes to have this result. A busy machine may need several attempts for a hook
// that ends while the daemon waits.
template <typename Call>
bool returns(int result, Call&& call) {
    return becomes([&] { return collected() && call() == result; });
}

}  // namespace

TEST(Hooks, GetTheirArgumentsUnchangedAndReturnTheStatus) {
    const ScratchFolder folder;
    folder.hook("network", "printf '%s|' \"$@\" >\"$0.args\"; exit 7");
    const std::string nasty = "$(touch " + folder.path("gotcha") + ") `id`; 'a' \"b\" * \\ \n-x";
    EXPECT_TRUE(returns(7, [&] { return setNetworkCtrl(513, nasty.c_str()); }));
    EXPECT_EQ(folder.read("network.args"), "513|" + nasty + "|");
    EXPECT_EQ(folder.read("gotcha"), "");
}

TEST(Hooks, ThatAreNotExecutableAreNamedInTheLog) {
    const ScratchFolder folder;
    folder.hook("led", "exit 0");
    folder.write("system", "#!/bin/sh\nexit 0\n", 0644);
    testing::internal::CaptureStdout();
    EXPECT_EQ(setSystemvalue(1), 16);
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_NE(log.find(folder.path("system")), log.npos) << log;
}

TEST(Hooks, AnswerByTheirOutput) {
    const ScratchFolder folder;
    folder.hook("extender-firmware-url",
                "[ \"$2\" = attic ] || exit 3; echo ftp://host/fw; echo fw.bin");
    char url[PLATFORM_FW_URL_LEN], file[PLATFORM_FW_FILE_NAME_LEN];
    EXPECT_TRUE(returns(0, [&] { return getDownloanURL("cellar", "attic", url, file); }));
    EXPECT_EQ(std::string(url) + " " + file, "ftp://host/fw fw.bin");
    EXPECT_TRUE(returns(3, [&] { return getDownloanURL("cellar", "porch", url, file); }));
    EXPECT_STREQ(url, "");
    folder.hook("new-firmware-version", "head -c 300 /dev/zero | tr '\\0' v");
    char version[PLATFORM_FW_TEXT_LEN];
    EXPECT_TRUE(returns(0, [&] { return getNewFWversion(version); }));
    EXPECT_EQ(version, std::string(127, 'v'));
    BcnRpt report{};
    for (const auto& [bytes, last] : {std::pair{601, 0}, {600, 600}}) {
        folder.hook("beacon-report-get", "echo >\"$0.ran\"; head -c " + std::to_string(2 * bytes) +
                                             " /dev/zero | tr '\\0' 0");
        EXPECT_TRUE(returns(last == 0 ? 16 : 0, [&] { return getBcnRptReq(&report); })) << bytes;
        EXPECT_TRUE(becomes([&] { return !folder.read("beacon-report-get.ran").empty(); }));
        EXPECT_EQ(report.len, last) << bytes;
    }
}

TEST(Hooks, ThatTakeLongContinueInTheBackground) {
    const ScratchFolder folder;
    const auto fds = openFds();
    folder.hook("led", "until [ -e \"$0.go\" ]; do sleep 0.02; done; echo blue; echo 7");
    folder.hook("ap-steering", "sleep 1000 & echo $! >\"$0.pid\"; sleep 1000");
    EXPECT_EQ(prompt([] { return setLEDvalue(1); }), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(prompt([] { return setLEDvalue(2); }), 16) << "one at a time";
    EXPECT_EQ(prompt([] { return setAPSteering(1); }), 0);
    folder.write("led.go", "");
    EXPECT_TRUE(collected());
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_NE(log.find("hook led is still running"), log.npos) << log;
    LedState led{};
    EXPECT_EQ(getLEDState(&led), 0);
    EXPECT_EQ(std::string(led.status) + " " + led.brightness, "blue 7");
    EXPECT_TRUE(ends(folder.read("ap-steering.pid")));
    EXPECT_EQ(openFds(), fds);
}

TEST(Hooks, ShareTheTimeThatTheDaemonWaits) {
    const ScratchFolder folder;
    folder.hook("reset-to-default", "until [ -e \"$0.go\" ]; do sleep 0.02; done");
    folder.hook("security-start", "sleep 0.03; exit 5");
    EXPECT_EQ(runHook("reset-to-default"), 0);
    EXPECT_EQ(runHook("security-start"), 0) << "nobody waited for it any more";
    folder.write("reset-to-default.go", "");
    EXPECT_TRUE(returns(5, [] { return runHook("security-start"); }));
}

TEST(Hooks, AnswerAQuestionWithTheLastOutput) {
    const ScratchFolder folder;
    std::string output;
    const auto ask = [&](const char* arg) {
        return prompt([&] { return askHook("wifi-country-code", {arg}, output); });
    };
    folder.hook("wifi-country-code", "echo \"old $1\"");
    EXPECT_TRUE(returns(0, [&] { return ask("a"); }));
    // Not by folder.hook, which forgets all answers.
    folder.write("wifi-country-code",
                 "#!/bin/sh\nsleep 0.2; head -c 1000000 /dev/zero | tr '\\0' $1; exit 1\n", 0755);
    EXPECT_EQ(ask("a"), 0);
    EXPECT_EQ(output, "old a\n");
    EXPECT_EQ(ask("b"), 16) << "no answer to that yet";
    EXPECT_TRUE(collected());
    EXPECT_EQ(ask("a"), 1);
    EXPECT_EQ(output, std::string(8192, 'a'));
}

TEST(Jobs, AreLimitedAndEndWithTheLibrary) {
    const ScratchFolder folder;
    folder.hook("system", "sleep 1000 & echo $! >\"$0.pid\"; sleep 1000");
    folder.hook("led", "exec sleep 1000");
    const auto fds = openFds();
    bool called = false;
    const auto start = [&called](const char* hook) {
        return startJob(hook, {"1"}, {.limit = seconds(100)},
                        [&called](int, const std::string&) { called = true; });
    };
    EXPECT_NE(start("system"), 0U);
    for (size_t i = 1; i < kMaxJobs; i++) EXPECT_NE(start("led"), 0U);
    EXPECT_EQ(start("led"), 0U);
    EXPECT_TRUE(becomes([&folder] { return !folder.read("system.pid").empty(); }));
    EXPECT_EQ(destroyNetCtrl(), 0);
    EXPECT_FALSE(hasChildren());
    EXPECT_TRUE(ends(folder.read("system.pid")));
    EXPECT_EQ(openFds(), fds);
    EXPECT_FALSE(called);
}

TEST(Jobs, AreBoundedInTimeAndOutputAndInheritOnlyTheStandardDescriptors) {
    const ScratchFolder folder;
    const int leak = dup(0);  // not close-on-exec
    std::string output;
    const auto status = [&](const char* script, milliseconds limit) {
        folder.hook("led", script);
        const JobId job = startJob("led", {"1"}, {.limit = limit, .maxOutput = 1000},
                                   [&](int, const std::string& text) { output = text; });
        return waitJob(job, seconds(10));
    };
    EXPECT_EQ(status("exec yes", milliseconds(200)), 16) << "it writes without a pause";
    EXPECT_EQ(output.size(), 1000U);
    // A process left in the background holds our pipe, but does not delay the answer.
    EXPECT_EQ(status("sleep 1000 & echo $!; exit 4", seconds(2)), 4);
    EXPECT_EQ(kill(std::stoi(output), SIGKILL), 0);
    EXPECT_EQ(status("kill -9 $$", seconds(2)), 16);
    EXPECT_EQ(status("exec ls /proc/self/fd", seconds(2)), 0);
    EXPECT_EQ(output, "0\n1\n2\n3\n");  // 3 is the folder that it reads
    EXPECT_FALSE(hasChildren());
    close(leak);
}
