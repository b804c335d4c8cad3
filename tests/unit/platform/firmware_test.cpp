// The firmware upgrade: manifests, the order of the rounds, and images that go over a real server.
#include "netctrl/firmware_image.h"

#include <poll.h>
#include <sys/wait.h>

#include <filesystem>

#include "common/job.h"
#include "netctrl/firmware_rounds.h"
#include "platform/exports.h"
#include "support.h"

using std::chrono::seconds;

namespace {

// What the daemon answers, and what it was asked.
int phaseOne = 16, phaseTwo = 16;
std::string calls;

constexpr const char* kImage = "the new firmware";
constexpr const char* kDigest = "fbff883c50bcc50dda2957efa038c9953d8e691058191a4dc66fb0942e84206e";

}  // namespace

int checkEXdeviceFWVersion(int32_t mode) {
    calls += "v" + std::to_string(mode);
    return phaseOne;
}
int checkEXdeviceFWStateIsReady() {
    calls += "r";
    return phaseTwo;
}
int sendEXdeviceReboot() {
    calls += "R";
    return 16;
}
int removeallFWupgradelist() {
    calls += "f";
    return 0;
}
int rebootSystem() {
    calls += "b";
    return 16;
}

TEST(Manifest, IsTakenOnlyWithAVersionAndADigest) {
    const std::string digest(64, 'a');
    const std::string version = "VERSION = 2.0_b-1\r\n";
    const auto good = parseManifest("# new\nSHA256=" + std::string(64, 'A') + "\nwhat is this\n" +
                                    version + "HOSTS = attic* cellar");
    ASSERT_TRUE(good);
    EXPECT_EQ(good->version, "2.0_b-1");
    EXPECT_EQ(good->sha256, digest);
    EXPECT_TRUE(isFor(*good, "attic-2") && isFor(*good, "cellar") && !isFor(*good, "porch"));
    EXPECT_TRUE(isFor({"2", digest, ""}, "porch"));

    for (const std::string& bad :
         {digest, digest + "0", digest.substr(2), digest.substr(1) + "g", std::string(5, '\0')}) {
        EXPECT_EQ(parseManifest(version + "SHA256 = " + bad).has_value(), bad == digest);
    }
    for (const std::string& bad : {std::string(), std::string("2.0 b"), std::string("-2"),
                                   std::string("a\x1b[1m"), std::string(128, '9')}) {
        EXPECT_FALSE(parseManifest("VERSION = " + bad + "\nSHA256 = " + digest)) << bad;
    }
}

TEST(UpgradeRounds, OrderUntilNobodyNeedsItThenRebootThenThisDevice) {
    UpgradeRounds rounds;
    UpgradeRounds::Time now{seconds(1000)};
    // What is called within so many seconds with these answers; "!" where this device itself is the
    // next.
    const auto go = [&](int ordered, int rebooted, int length) {
        phaseOne = ordered;
        phaseTwo = rebooted;
        for (int i = 0; i < length; i += 5, now += seconds(5)) {
            if (rounds.advance(now)) calls += "!";
        }
        return std::exchange(calls, {});
    };
    // Nothing to order: this device after a while, which others may need to be heard.
    EXPECT_EQ(go(16, 16, 45), "fv1v4v4v4v4!");
    EXPECT_FALSE(rounds.isServing());
    EXPECT_EQ(go(16, 16, 60), "");
    EXPECT_EQ(go(16, 16, 20), "fv1v4");

    rounds.restart();
    EXPECT_EQ(go(0, 16, 20), "fv1v4");
    EXPECT_TRUE(rounds.isServing());
    // A device that fails is ordered again within half a minute, so for as long none is rebooted.
    EXPECT_EQ(go(16, 16, 50), "v4v4v4v4rrr");
    EXPECT_EQ(go(16, 0, 5), "r!");
    EXPECT_FALSE(rounds.isServing());
    EXPECT_EQ(go(16, 0, 3500), "");
    EXPECT_EQ(go(16, 0, 110), "fv1");

    // A round later those are rebooted that had to wait for others.
    rounds.restart();
    EXPECT_TRUE(go(0, 16, 1510).ends_with("rrrR"));
    EXPECT_EQ(go(16, 0, 3700), "v1v4v4v4v4r!");

    // Devices that never come to an end neither hold up those that stand ready, nor are ordered for
    // ever. All stay listed for a later round; and this device follows after the last one.
    rounds.restart();
    const std::string days = go(0, 16, 3 * 86400);
    for (const auto& [call, times] : {std::pair{'f', 1}, {'1', 3}, {'r', 3 * 240}, {'R', 3}}) {
        EXPECT_EQ(std::count(days.begin(), days.end(), call), times) << call;
    }
    EXPECT_EQ(days.find('!'), days.size() - 1);
}

namespace {

// A device that serves an image to itself, and records what is installed.
class Upgraded {
  public:
    Upgraded() {
        ip("link add v0 type veth peer name v1");
        ip("address add 192.0.2.1/24 dev v0");
        for (const std::string name : {"lo", "v0", "v1"}) ip("link set " + name + " up");
        folder.platformConf("FIRMWARE_FOLDER = " + folder.path() +
                            "\nFIRMWARE_DOWNLOAD = " + folder.path("downloads") +
                            "\nINCLUDE = v0\nHOSTNAME = attic\nFIRMWARE_VERSION = 1.0\n");
        std::filesystem::create_directory(folder.path("downloads"));
        folder.hook("firmware-install", "cat \"$1\" >\"$0.got\"; echo \" $2\" >>\"$0.got\"");
        daemon = std::make_unique<Listener>();
    }
    // Announces an image, whatever its digest.
    void announce(const std::string& image, const std::string& digest,
                  const std::string& rest = "VERSION = 2.0\nHOSTS = attic\n") {
        folder.write("fw.bin", image);
        folder.write("fw.bin.manifest", rest + "SHA256 = " + digest + "\n");
    }
    // The same while the schedule goes on.
    bool becomes(const std::function<bool()>& condition) {
        return ::becomes([&] {
            EXPECT_EQ(reSendRenewbySynclist(), 0);
            (void)daemon->next();
            poll(nullptr, 0, 15);
            return condition();
        });
    }
    bool hasDownloads() const { return !std::filesystem::is_empty(folder.path("downloads")); }
    // Not before the announcement is taken up, which ends the server of an earlier one.
    void serve() {
        (void)daemon->next();
        ASSERT_EQ(set_vsftpd_StartStop(1), 0);
        collectJobs();
        poll(nullptr, 0, 300);
    }
    // The state in which an order for the image ends.
    uint32_t fetched(const std::string& url) {
        serve();
        FwCtrl order{6, 1, {}, {}};
        copyText(order.url, url);
        for (int times = 0; times < 2; times++) EXPECT_EQ(FWCtrl(&order), 0);
        EXPECT_EQ(state(), uint32_t{PLATFORM_FW_UPGRADE});
        EXPECT_TRUE(becomes([] { return state() != PLATFORM_FW_UPGRADE; }));
        EXPECT_TRUE(becomes([this] { return !hasDownloads(); }));
        return state();
    }
    static uint32_t state() {
        uint32_t state = 99;
        EXPECT_EQ(getfirmwareStatus(0, 0, &state), 0);
        return state;
    }

    const ScratchFolder folder;
    std::unique_ptr<Listener> daemon;
};

}  // namespace

TEST(Upgrade, AnImageIsInstalledOnlyAsItWasAnnounced) {
    inOwnNetwork([] {
        Upgraded device;
        char version[PLATFORM_FW_TEXT_LEN], url[PLATFORM_FW_URL_LEN];
        char file[PLATFORM_FW_FILE_NAME_LEN];
        const auto offered = [&] { return getNewFWVersionByPlatform("", "attic", version) == 0; };
        const auto installed = [&] { return device.folder.read("firmware-install.got"); };

        device.announce(kImage, std::string(64, '0'));
        calls.clear();
        EXPECT_TRUE(device.becomes([pass = 0]() mutable { return ++pass == 20; }));
        EXPECT_FALSE(offered()) << "it does not match its manifest";
        EXPECT_EQ(calls, "");
        device.announce(kImage, kDigest);
        ASSERT_TRUE(device.becomes(offered));
        EXPECT_EQ(checkLocalFW(), 0);
        EXPECT_EQ(checkLocalFW(), 16) << "daemon once";
        EXPECT_EQ(getNewFWVersionByPlatform("", "porch", version), 16);
        ASSERT_EQ(getDownloanURL("", "attic", url, file), 0);
        EXPECT_EQ(device.fetched(url), uint32_t{PLATFORM_FW_REBOOT});
        EXPECT_EQ(installed(), "the new firmware 2.0\n");

        // Corrupted, truncated, without a manifest, for another device, and what runs already.
        device.folder.hook("firmware-install", "echo must not run >\"$0.got\"");
        for (const char* image : {"the nEw firmware", "the new firm", ""}) {
            device.folder.write("fw.bin", image);
            EXPECT_EQ(device.fetched(url), uint32_t{PLATFORM_FW_FAILED}) << image;
        }
        EXPECT_EQ(device.fetched(url + std::string("2")), uint32_t{PLATFORM_FW_FAILED});
        const FwCtrl forget{};
        EXPECT_EQ(FWCtrl(&forget), 0);
        EXPECT_EQ(Upgraded::state(), uint32_t{PLATFORM_FW_IDLE});
        device.announce(kImage, kDigest, "VERSION = 2.0\nHOSTS = porch\n");
        EXPECT_EQ(device.fetched(url), uint32_t{PLATFORM_FW_FAILED});
        device.announce(kImage, kDigest, "VERSION = 1.0\n");
        EXPECT_EQ(device.fetched(url), uint32_t{PLATFORM_FW_IDLE});
        EXPECT_EQ(installed(), "the new firmware 2.0\n");

        device.announce(kImage, kDigest);
        device.folder.hook("firmware-install", "exit 1");
        EXPECT_EQ(device.fetched(url), uint32_t{PLATFORM_FW_FAILED}) << "the installation fails";
        EXPECT_EQ(set_vsftpd_StartStop(0), 0);
    });
}

TEST(Upgrade, AnInstallationOutlivesTheDaemon) {
    inOwnNetwork([] {
        Upgraded device;
        device.folder.hook("firmware-install",
                           "echo; until [ -e \"$0.go\" ]; do sleep 0.02; done; echo; "
                           "cat \"$1\" >\"$0.got\"");
        device.announce(kImage, kDigest);
        device.serve();
        FwCtrl order{6, 1, "http://192.0.2.1:8905/fw.bin", {}};
        ASSERT_EQ(FWCtrl(&order), 0);
        ASSERT_TRUE(device.becomes([] { return isJobRunning("hook firmware-install"); }));
        device.daemon.reset();
        ASSERT_EQ(initNetCtrl(), 0);
        EXPECT_EQ(FWCtrl(&order), 16) << "it is at work";
        device.folder.write("firmware-install.go", "");
        EXPECT_GT(wait(nullptr), 0);
        EXPECT_EQ(device.folder.read("firmware-install.got"), kImage);
        EXPECT_TRUE(device.hasDownloads());
        ASSERT_EQ(initNetCtrl(), 0);
        EXPECT_FALSE(device.hasDownloads());
    });
}

TEST(Upgrade, TheServerBecomesWhatWasWantedLast) {
    const ScratchFolder folder;
    folder.hook("ftp-server", "until [ -e \"$0.go\" ]; do sleep 0.02; done; echo $1 >>\"$0.got\"");
    const auto isTold = [&folder](const std::string& daemon) {
        return becomes([&] {
            collectJobs();
            return folder.read("ftp-server.got") == daemon;
        });
    };
    EXPECT_EQ(set_vsftpd_StartStop(1), 0);
    EXPECT_EQ(set_vsftpd_StartStop(0), 0);
    folder.write("ftp-server.go", "");
    EXPECT_TRUE(isTold("1\n0\n"));
    // At the end of the library a start that is at work is followed by the stop as well.
    while (isJobRunning("hook ftp-server")) collectJobs();
    EXPECT_EQ(set_vsftpd_StartStop(1), 0);
    EXPECT_EQ(destroyNetCtrl(), 0);
    EXPECT_TRUE(isTold("1\n0\n1\n0\n"));
    EXPECT_GT(wait(nullptr), 0);
}

TEST(Jobs, WriteNoMoreThanTheyMay) {
    const ScratchFolder folder;
    const JobId job = startJob(
        {"/bin/sh", "-c", "sleep 0.2; exec head -c 100000 /dev/zero >\"$0\"", folder.path("big")},
        {.limit = seconds(10), .maxFile = 1000}, {});
    EXPECT_EQ(waitJob(job, seconds(10)), 16);
    EXPECT_EQ(folder.read("big").size(), 1000U);
}

TEST(Upgrade, OrdersThatCannotBeCarriedOutAreRefused) {
    const ScratchFolder folder;
    folder.hook("firmware-install", "exit 0");
    FwCtrl order{6, 1, {}, {}};
    for (const char* url : {"", "file:///etc/shadow", "http://", "-o/etc/passwd", "HTTP://h/x y",
                            "http://h/a\nb", "gopher://h/x", "/etc/shadow", "http://127.0.0.1/x",
                            "ftp://LOCALHOST:80/x", "http://[::1]:80/x", "http://a@0x7f.1/x",
                            "http://[::ffff:127.0.0.1]/x", "http://%31%32%37.0.0.1/x"}) {
        copyText(order.url, url);
        EXPECT_EQ(FWCtrl(&order), 16) << url;
    }
    // Of a name that comes from the network a hook may make a path or an argument.
    folder.hook("firmware", "[ \"$1\" = 5 ]");
    folder.hook("log-file-fetch", "exit 0");
    order.fwOption = 5;
    EXPECT_EQ(FWCtrl(&order), 0);
    for (const char* name : {"../../x", "-o", "a b", "a%2f", ".ssh"}) {
        copyText(order.fileName, name);
        EXPECT_EQ(FWCtrl(&order), 16) << name;
        EXPECT_EQ(DownloadLogFile(name, "ftp://h/x"), 16) << name;
    }
    EXPECT_EQ(DownloadLogFile("log-2.0_x86+1.bin", "ftp://h/x"), 0);
}
