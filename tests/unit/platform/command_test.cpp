// Hooks and other programs: what reaches them, what comes back, and that none holds up the daemon.
#include <dirent.h>
#include <poll.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>

#include "common/hook.h"
#include "support.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr milliseconds kMostBlocking{100};

// How many descriptors this process has open.
int openFds() {
    int count = 0;
    DIR* folder = ::opendir("/proc/self/fd");
    while (::readdir(folder) != nullptr) ++count;
    ::closedir(folder);
    return count;
}

// Without collecting any.
bool hasChildren() {
    siginfo_t info{};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

// Whether the process, which is not our child, is gone or only waits to be collected; a signal may
// take a moment on a busy machine.
bool ends(const std::string& pid) {
    const std::string path = "/proc/" + std::to_string(std::stoi(pid)) + "/stat";
    const auto until = steady_clock::now() + seconds(5);
    std::string stat;
    while (steady_clock::now() < until) {
        (void)plat::runCommand({"/bin/cat", path}, {.output = &stat, .quiet = true});
        if (stat.empty() || stat.find(") Z ") != stat.npos) return true;
    }
    return false;
}

// The result of a call that must not hold up the daemon.
template <typename Call>
int prompt(Call&& call) {
    const auto start = steady_clock::now();
    const int result = call();
    EXPECT_LT(steady_clock::now() - start, kMostBlocking);
    return result;
}

// Goes on as the schedule does until no job is at work; false when that takes too long.
bool collected() {
    const auto until = steady_clock::now() + seconds(10);
    while (hasChildren() && steady_clock::now() < until) {
        EXPECT_EQ(prompt(reSendRenewbySynclist), 0);
        ::poll(nullptr, 0, 10);
    }
    return !hasChildren();
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
    const FwCtrl order{6, 1, "http://host/fw", ""};
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

TEST(Hooks, ThatTakeLongAreLeftAtWork) {
    const ScratchFolder folder;
    const int fds = openFds();
    const std::string slow = "until [ -e \"$0.go\" ]; do sleep 0.02; done; ";
    folder.hook("led", slow + "echo blue; echo 7");
    folder.hook("wifi-country-code", slow + "exit 3");
    folder.hook("ap-steering", "sleep 1000 & echo $! >\"$0.pid\"; sleep 1000");
    folder.hook("system", slow + "head -c 1000000 /dev/zero | tr '\\0' v");
    EXPECT_EQ(prompt([] { return setLEDvalue(1); }), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(prompt([] { return setLEDvalue(2); }), 16) << "one at a time";
    EXPECT_EQ(prompt([] { return setWIFICountryCode("DE"); }), 0);
    EXPECT_EQ(prompt([] { return setAPSteering(1); }), 0);
    std::string output;
    EXPECT_EQ(prompt([&] { return plat::askHook("system", {}, &output); }), 16);

    for (const char* name : {"led", "wifi-country-code", "system"})
        folder.write(std::string(name) + ".go", "");
    EXPECT_TRUE(collected());
    const std::string log = testing::internal::GetCapturedStdout();
    for (const char* line : {"hook led is still at work", "hook wifi-country-code: 3",
                             "hook ap-steering took longer than 2000 ms"})
        EXPECT_NE(log.find(line), log.npos) << log;
    LedState led{};
    EXPECT_EQ(getLEDState(&led), 0);
    EXPECT_STREQ(led.status, "blue");
    EXPECT_STREQ(led.brightness, "7");
    char code[16];
    EXPECT_EQ(getWIFICountryCode(code), 0);
    EXPECT_STREQ(code, "");
    EXPECT_TRUE(ends(folder.read("ap-steering.pid")));
    EXPECT_EQ(prompt([&] { return plat::askHook("system", {}, &output); }), 0);
    EXPECT_EQ(output, std::string(8192, 'v'));
    EXPECT_EQ(openFds(), fds);
}

TEST(Hooks, AreWaitedForNoLongerAllTogetherThanOne) {
    const ScratchFolder folder;
    const char* const names[] = {"one", "two", "three", "four", "five", "six"};
    for (const char* name : names) folder.hook(name, "sleep 0.05");
    const auto start = steady_clock::now();
    for (const char* name : names) EXPECT_EQ(plat::runHook(name), 0);
    // With room for starting them: one by one they would take 300 ms.
    EXPECT_LT(steady_clock::now() - start, 2 * kMostBlocking);
    EXPECT_TRUE(collected());
}

TEST(Hooks, AnswerAQuestionWithWhatWasLastKnown) {
    const ScratchFolder folder;
    folder.hook("ask", "read answer <\"$0.answer\"; echo \"$answer $1\"");
    std::string output;
    const auto ask = [&](const char* arg) {
        return prompt([&] { return plat::askHook("ask", {arg}, &output); });
    };
    folder.write("ask.answer", "old\n");
    EXPECT_EQ(ask("a"), 0);
    EXPECT_EQ(output, "old a\n");
    folder.write("ask.answer", "new\n");
    folder.write("ask",
                 "#!/bin/sh\nsleep 0.2; read answer <\"$0.answer\"; echo \"$answer $1\"; exit 1\n",
                 0755);
    EXPECT_EQ(ask("a"), 0);
    EXPECT_EQ(output, "old a\n");
    EXPECT_EQ(ask("b"), 16) << "no answer to that yet";
    EXPECT_TRUE(collected());
    EXPECT_EQ(ask("a"), 1);
    EXPECT_EQ(output, "new a\n");
    EXPECT_EQ(ask("b"), 16);
    EXPECT_TRUE(collected());
    EXPECT_EQ(ask("b"), 1);
    EXPECT_EQ(output, "new b\n");
}

TEST(Jobs, AreFewAndEndWithTheLibrary) {
    const ScratchFolder folder;
    folder.hook("child", "sleep 1000 & echo $! >\"$0.pid\"; sleep 1000");
    const int fds = openFds();
    bool told = false;
    const auto done = [&](int, const std::string&) { told = true; };
    ASSERT_NE(plat::startJob({folder.path("child")}, {.limit = seconds(100)}, done), 0u);
    for (size_t i = 1; i < plat::kMaxJobs; ++i)
        EXPECT_NE(plat::startJob({"/bin/sleep", "1000"}, {.limit = seconds(100)}, done), 0u);
    EXPECT_EQ(plat::startJob({"/bin/true"}, {}, done), 0u);
    while (folder.read("child.pid").empty()) ::poll(nullptr, 0, 5);
    EXPECT_EQ(destroyNetCtrl(), 0);
    EXPECT_FALSE(hasChildren());
    EXPECT_TRUE(ends(folder.read("child.pid")));
    EXPECT_EQ(openFds(), fds);
    EXPECT_FALSE(told);

    // Whoever is told of an end may start the same again.
    folder.hook("again", "echo x >>\"$0.runs\"");
    EXPECT_NE(plat::startHook("again", {}, {.limit = seconds(2)},
                              [](int, const std::string&) { (void)plat::runHook("again"); }),
              0u);
    EXPECT_TRUE(collected());
    EXPECT_EQ(folder.read("again.runs"), "x\nx\n");
}

TEST(Commands, AreBoundedInTimeAndOutput) {
    const ScratchFolder folder;
    const int fds = openFds();
    // A child and its grandchild that never end, and hold our pipe.
    folder.hook("hang", "sleep 1000 & echo $! >\"$0.pid\"; echo early; sleep 1000");
    std::string output;
    const auto start = steady_clock::now();
    EXPECT_EQ(
        plat::runCommand({folder.path("hang")}, {.limit = milliseconds(200), .output = &output}),
        16);
    EXPECT_LT(steady_clock::now() - start, seconds(2));
    EXPECT_EQ(output, "early\n");
    EXPECT_TRUE(ends(folder.read("hang.pid")));

    // One that writes for ever without a pause.
    folder.hook("yes", "exec yes");
    EXPECT_EQ(plat::runCommand({folder.path("yes")},
                               {.limit = milliseconds(200), .output = &output, .maxOutput = 1000}),
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
