// Names that another user has taken before the daemon starts, and a second daemon. All of it needs
// root and an IPC namespace.
#include "daemon/own_names.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <fstream>

#include "base/claimed_name.h"
#include "base/state.h"
#include "publish/json_change_log.h"
#include "service/service_monitor.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

namespace fs = std::filesystem;

constexpr uid_t kStranger = 12345, kUser = 23456;

// Type, mode, owner, group and size of a file; size, mode, owner and group of a segment.
std::string shown(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) return path + " is absent";
    char text[80];
    snprintf(text, sizeof text, "%o %u %u %ld", info.st_mode, info.st_uid, info.st_gid,
             S_ISDIR(info.st_mode) ? 0 : static_cast<long>(info.st_size));
    return text;
}
std::string shown(int key) {
    shmid_ds info{};
    EXPECT_EQ(shmctl(shmget(key, 0, 0), IPC_STAT, &info), 0) << key;
    char text[80];
    snprintf(text, sizeof text, "%zu %o %u %u", info.shm_segsz, info.shm_perm.mode & 0777U,
             info.shm_perm.uid, info.shm_perm.gid);
    return text;
}

class OwnNamesTest : public Device {
  protected:
    void SetUp() override {
        if (geteuid() != 0) GTEST_SKIP() << "needs root";
        Device::SetUp();
        umask(022);
        ASSERT_EQ(unshare(CLONE_NEWIPC | CLONE_NEWNS), 0);
        ASSERT_EQ(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        fs::permissions(folder(), fs::perms{0755});
        fs::create_directory(shared());
        fs::permissions(shared(), fs::perms{01777});
        device();
    }
    void TearDown() override {
        if (child_ > 0) end();
        Device::TearDown();
    }
    // A daemon that is about to start.
    void device() {
        freshDevice();
        setenv("VM1905_RUN", (folder() + "/run").c_str(), 1);
        stateOf<SlotsState>() = {};
        stateOf<WakeFifo>().path = shared("/vm1905_wake");
        stateOf<RootAp>().folder = stateOf<OwnNames>().folder = shared();
        stateOf<ResultFiles>().folder = shared("/vm1905");
        (void)setDataModelFolderOption(shared("/m").c_str());
        stateOf<OwnNames>().patience = 100;
        DEBUGLEVEL = 1;
    }
    std::string shared(const std::string& name = "") const { return folder() + "/s" + name; }
    // A process that does this and then lives, until end().
    template <typename Work>
    void fork(Work work, unsigned seconds = 60) {
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        child_ = ::fork();
        if (child_ == 0) {
            work();
            (void)!write(ready[1], "", 1);
            usleep(seconds * 1'000'000);
            _exit(0);
        }
        char byte = 0;
        EXPECT_EQ(read(ready[0], &byte, 1), 1);
        for (const int end : ready) close(end);
    }
    void end() {
        kill(child_, SIGKILL);
        waitpid(std::exchange(child_, 0), nullptr, 0);
    }
    pid_t child_ = 0;
};

TEST_F(OwnNamesTest, AreTakenFromStrangers) {
    const std::string precious = folder() + "/precious";
    for (const uid_t user : {uid_t{0}, kUser}) {
        for (const auto& left : fs::directory_iterator(shared())) fs::remove_all(left);
        std::ofstream(precious) << "kept";
        fork([&] {
            (void)!setresuid(kStranger, kStranger, kStranger);
            shmat(shmget(slots::kReqKey, 4096, IPC_CREAT | 0600), nullptr, 0);
            shmat(shmget(slots::kRespKey, slots::kRespSize, IPC_CREAT | 0666), nullptr, 0);
            (void)mkfifo(shared("/vm1905_wake").c_str(), 0666);
            (void)open(shared("/vm1905_wake").c_str(), O_RDWR);
            fs::create_symlink(precious, shared("/rootap_ip"));
            fs::create_directory_symlink(folder(), shared("/m"));
            for (const auto& at :
                 {shared("/ROOTAP_MESH_MAC/.moved"), shared("/.rootap_ip.new/deep")}) {
                std::string deep = at;
                for (int i = 0; i < 60; i++) deep += "/d";
                fs::create_directories(deep);
                fs::create_symlink(folder(), deep + "/link");
            }
            std::ofstream(shared("/vm1905_client.lock")) << "theirs";
            fs::create_directory(shared("/vm1905"));
            for (int i = 0; i < 2500; i++) {
                std::ofstream(shared("/vm1905/") + std::to_string(i)) << "";
            }
        });
        device();
        getSysCtrl().config.channelMode = 0660;
        getSysCtrl().config.channelGroup = 34567;
        LogCapture log(1);
        ASSERT_EQ(claimNames(user, user), kOk);
        EXPECT_EQ(occurrences(log.text(), "which belonged to user 12345"), 9U);
        ASSERT_EQ(claimNames(user, user), kOk);
        EXPECT_EQ(log.text(), "") << "nothing is left of the stranger";
        const std::string his = " " + std::to_string(user) + " ";
        EXPECT_EQ(shown(slots::kReqKey), "256 660" + his + "34567");
        EXPECT_EQ(shown(slots::kRespKey), "632 660" + his + "34567");
        for (const auto& [path, mode] : {std::pair{"/ROOTAP_MESH_MAC", "100644"},
                                         {"/rootap_ip", "100644"},
                                         {"/vm1905_client.lock", "100666"},
                                         {"/m", "40755"},
                                         {"/vm1905", "40755"}}) {
            EXPECT_EQ(shown(shared(path)), mode + his + std::to_string(user) + " 0") << path;
        }
        EXPECT_EQ(fs::file_size(precious), 4U) << "no link was followed";
        // The daemon can use all of it.
        ASSERT_EQ(seteuid(user), 0);
        EXPECT_EQ(initServiceMonitor(), kOk);
        EXPECT_EQ(shown(shared("/vm1905_wake")), "10620" + his + "34567 0");
        EXPECT_EQ(writeJsonvm1905log(), kOk);
        EXPECT_TRUE(fs::exists(shared("/m/vm1905_log.json")));
        EXPECT_EQ(destroyServiceMonitor(), kOk);
        ASSERT_EQ(seteuid(0), 0);
        end();
    }
}

TEST_F(OwnNamesTest, OfRootAreMadeAnewAndMountsAreLeft) {
    const auto log = [](const std::string& line) { puts(line.c_str()); };
    const std::string file = shared("/file"), mounted = shared("/theirs/m"), own = shared("/own");
    std::ofstream(file) << "content";
    fs::create_directory(own);
    fs::create_directories(mounted);
    ASSERT_EQ(mount("tmpfs", mounted.c_str(), "tmpfs", 0, nullptr), 0);
    std::ofstream(mounted + "/precious") << "";
    ASSERT_EQ(chown(shared("/theirs").c_str(), kStranger, 0), 0);
    LogCapture capture(1);
    claimFile(file, {kUser, kUser}, {}, log);
    claimFolder(own, {kUser, kUser}, log);
    EXPECT_EQ(occurrences(capture.text(), "which belonged to user 0"), 2U);
    EXPECT_EQ(shown(file), "100644 23456 23456 0");
    EXPECT_EQ(shown(own), "40755 23456 23456 0");
    claimFolder(shared("/theirs"), {kUser, kUser}, log);
    EXPECT_NE(capture.finish().find("can't remove"), std::string::npos);
    EXPECT_TRUE(fs::exists(mounted + "/precious"));
    EXPECT_EQ(umount(mounted.c_str()), 0);
    // Nothing is made in a folder in which it could not be handed over.
    EXPECT_EQ(chown(shared("/theirs").c_str(), kStranger, 0), 0);
    EXPECT_FALSE(handOver(shared("/theirs/log"), {kUser, kUser}, 0640));
    EXPECT_EQ(shown(shared("/theirs/log")), shared("/theirs/log is absent"));
    EXPECT_TRUE(handOver(folder() + "/log", {kUser, kUser}, 0640));
    EXPECT_EQ(shown(folder() + "/log"), "100640 23456 23456 0");
}

TEST_F(OwnNamesTest, OfALivingDaemonAreNotTouched) {
    fork([&] {
        (void)!(claimNames(0, 0) == kOk && initServiceMonitor() == kOk);
        if (::fork() != 0) return;
        sleep(9);
        _exit(0);
    });
    const auto held = [&] {
        shmid_ds info{};
        struct stat fifo {};
        (void)shmctl(shmget(slots::kReqKey, 0, 0), IPC_STAT, &info);
        (void)stat(shared("/vm1905_wake").c_str(), &fifo);
        return std::tuple(info.shm_cpid, info.shm_ctime, info.shm_nattch, fifo.st_ino);
    };
    const auto before = held();
    EXPECT_EQ(std::get<2>(before), 1U) << "clients must notice its end";
    for (const char* run : {"/run", "/elsewhere"}) {
        device();
        setenv("VM1905_RUN", (folder() + run).c_str(), 1);
        LogCapture log(1);
        EXPECT_EQ(claimNames(0, 0), kFailure) << run;
        EXPECT_NE(log.finish().find("(process " + std::to_string(child_) + ")"), std::string::npos);
        EXPECT_EQ(held(), before);
        EXPECT_FALSE(fs::exists(folder() + "/elsewhere"));
    }
    end();
    device();
    EXPECT_EQ(claimNames(0, 0), kOk) << "after a crash";
    // Another user's process may have got the number of the one that crashed.
    fork([&] {
        (void)shmctl(shmget(slots::kReqKey, 0, 0), IPC_RMID, nullptr);
        shmat(shmget(slots::kReqKey, slots::kReqSize, IPC_CREAT | 0666), nullptr, 0);
        (void)!setresuid(kStranger, kStranger, kStranger);
    });
    device();
    EXPECT_EQ(claimNames(0, 0), kOk) << "after a crash";
    end();
    device();
    fork([&] { (void)!(claimNames(0, 0) == kOk && initServiceMonitor() == kOk); }, 1);
    device();
    stateOf<OwnNames>().patience = 10000;
    EXPECT_EQ(claimNames(0, 0), kOk) << "it ends, as one does that restarts";
}

TEST_F(OwnNamesTest, WhoHoldsAllSegmentsIsNamed) {
    ASSERT_EQ(seteuid(kStranger), 0);
    while (shmget(IPC_PRIVATE, 1, 0600) >= 0) continue;
    ASSERT_EQ(seteuid(0), 0);
    LogCapture log(1);
    EXPECT_EQ(claimNames(0, 0), kFailure);
    EXPECT_EQ(occurrences(log.finish(), ": user 12345 has 4096 of 4096 segments"), 2U);
}

}  // namespace
