// The firmware upgrade: manifests, the order of the rounds, and images from a real server.
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

TEST(Manifest, NeedsAVersionAndADigest) {
    const std::string digest(64, 'a');
    const auto good = parseManifest("# new\nSHA256=" + std::string(64, 'A') +
                                    "\nwhat is this\nVERSION = 2.0_b-1\r\nHOSTS = attic* cellar");
    ASSERT_TRUE(good);
    EXPECT_EQ(good->version + " " + good->sha256, "2.0_b-1 " + digest);
    EXPECT_TRUE(isFor(*good, "attic-2") && isFor(*good, "cellar") && !isFor(*good, "porch"));
    EXPECT_TRUE(isFor({"2", digest, ""}, "porch"));

    const std::pair<std::string, std::string> bad[] = {
        {"2.0", digest + "0"},
        {"2.0", digest.substr(2)},
        {"2.0", digest.substr(1) + "g"},
        {"2.0", std::string(5, '\0')},
        {"", digest},
        {"2.0 b", digest},
        {"-2", digest},
        {"a\x1b[1m", digest},
        {std::string(128, '9'), digest},
    };
    for (const auto& [version, sha256] : bad) {
        EXPECT_FALSE(parseManifest("VERSION = " + version + "\nSHA256 = " + sha256))
            << version << ", " << sha256;
    }
}

TEST(UpgradeRounds, OrderThenRebootThenUpgradeThisDevice) {
    UpgradeRounds rounds;
    UpgradeRounds::Time now{seconds(1000)};
    // The calls within `length` seconds, given these answers; "!": it is this device's turn.
    const auto go = [&](int ordered, int rebooted, int length) {
        phaseOne = ordered;
        phaseTwo = rebooted;
        for (int i = 0; i < length; i += 5, now += seconds(5)) {
            if (rounds.advance(now)) calls += "!";
        }
        return std::exchange(calls, {});
    };
    // Nothing to order: this device follows after a while, in which others may still be found.
    EXPECT_EQ(go(16, 16, 45), "fv1v4v4v4v4!");
    EXPECT_FALSE(rounds.isServing());
    EXPECT_EQ(go(16, 16, 60), "");
    EXPECT_EQ(go(16, 16, 20), "fv1v4");

    rounds.restart();
    EXPECT_EQ(go(0, 16, 20), "fv1v4");
    EXPECT_TRUE(rounds.isServing());
    // For half a minute no device is rebooted, because one that fails may need another order.
    EXPECT_EQ(go(16, 16, 50), "v4v4v4v4rrr");
    EXPECT_EQ(go(16, 0, 5), "r!");
    EXPECT_FALSE(rounds.isServing());
    EXPECT_EQ(go(16, 0, 3500), "");
    EXPECT_EQ(go(16, 0, 110), "fv1");

    // Devices that had to wait for others are rebooted a round later.
    rounds.restart();
    EXPECT_TRUE(go(0, 16, 1510).ends_with("rrrR"));
    EXPECT_EQ(go(16, 0, 3700), "v1v4v4v4v4r!");

    // Devices that never finish do not hold up those that are ready, and are not ordered forever.
    // All stay listed for later rounds. This device follows after the last one.
    rounds.restart();
    const std::string days = go(0, 16, 3 * 86400);
    for (const auto& [call, times] : {std::pair{'f', 1}, {'1', 3}, {'r', 3 * 240}, {'R', 3}}) {
        EXPECT_EQ(std::count(days.begin(), days.end(), call), times) << call;
    }
    EXPECT_EQ(days.find('!'), days.size() - 1);
}

namespace {

// A device that serves an image to itself and records what is installed.
class Upgraded {
  public:
    Upgraded() {
        ip("link add v0 type veth peer name v1; address add 192.0.2.1/24 dev v0");
        ip("link set lo up; link set v0 up; link set v1 up");
        folder.platformConf("FIRMWARE_FOLDER = " + folder.path() +
                            "\nFIRMWARE_DOWNLOAD = " + folder.path("downloads") +
                            "\nINCLUDE = v0\nHOSTNAME = attic\nFIRMWARE_VERSION = 1.0\n");
        std::filesystem::create_directory(folder.path("downloads"));
        folder.hook("firmware-install", "cat \"$1\" >\"$0.got\"; echo \" $2\" >>\"$0.got\"");
        daemon = std::make_unique<Listener>();
    }
    void announce(const std::string& image, const std::string& digest,
                  const std::string& rest = "VERSION = 2.0\nHOSTS = attic\n") {
        folder.write("fw.bin", image);
        folder.write("fw.bin.manifest", rest + "SHA256 = " + digest + "\n");
    }
    // Follows the daemon's schedule meanwhile.
    bool becomes(const std::function<bool()>& condition) {
        return ::becomes([&] {
            EXPECT_EQ(reSendRenewbySynclist(), 0);
            daemon->next();
            poll(nullptr, 0, 15);
            return condition();
        });
    }
    bool hasDownloads() const { return !std::filesystem::is_empty(folder.path("downloads")); }
    // Takes the announcement up first, because that stops the server.
    void serve() {
        daemon->next();
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

NETWORK_TEST(Upgrade, OnlyTheAnnouncedImageIsInstalled) {
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
    EXPECT_EQ(checkLocalFW(), 16) << "reported once";
    EXPECT_EQ(getNewFWVersionByPlatform("", "porch", version), 16);
    ASSERT_EQ(getDownloanURL("", "attic", url, file), 0);
    EXPECT_EQ(device.fetched(url), uint32_t{PLATFORM_FW_REBOOT});
    EXPECT_EQ(installed(), "the new firmware 2.0\n");

    device.folder.hook("firmware-install", "echo must not run >\"$0.got\"");
    constexpr uint32_t kFailed = PLATFORM_FW_FAILED, kIdle = PLATFORM_FW_IDLE;
    const struct {
        const char *name, *image, *manifest;
        uint32_t state;
    } table[] = {
        {"corrupted", "the nEw firmware", "VERSION = 2.0\n", kFailed},
        {"cut", "the new firm", "VERSION = 2.0\n", kFailed},
        {"empty", "", "VERSION = 2.0\n", kFailed},
        {"no version", kImage, "", kFailed},
        {"other device", kImage, "VERSION = 2.0\nHOSTS = porch\n", kFailed},
        {"running version", kImage, "VERSION = 1.0\n", kIdle},
    };
    for (const auto& row : table) {
        device.announce(row.image, kDigest, row.manifest);
        EXPECT_EQ(device.fetched(url), row.state) << row.name;
    }
    EXPECT_EQ(device.fetched(url + std::string("2")), kFailed) << "no manifest";
    EXPECT_EQ(installed(), "the new firmware 2.0\n");

    device.announce(kImage, kDigest);
    device.folder.hook("firmware-install", "exit 1");
    EXPECT_EQ(device.fetched(url), kFailed) << "the installation fails";
    const FwCtrl forget{};
    EXPECT_EQ(FWCtrl(&forget), 0);
    EXPECT_EQ(Upgraded::state(), kIdle);
    EXPECT_EQ(set_vsftpd_StartStop(0), 0);
}

NETWORK_TEST(Upgrade, AnInstallationOutlivesTheDaemon) {
    Upgraded device;
    device.folder.hook("firmware-install",
                       "echo; until [ -e \"$0.go\" ]; do sleep 0.02; done; echo; "
                       "cat \"$1\" >\"$0.got\"");
    device.announce(kImage, kDigest);
    device.serve();
    FwCtrl order{6, 1, "http://192.0.2.1:8905/fw.bin", {}};
    // Only the daemon may be able to block installations.
    const std::filesystem::path run = device.folder.path("run");
    const std::filesystem::path squatter = device.folder.path("downloads/vm1905_firmware.lock");
    std::filesystem::create_directories(squatter / "x");
    std::filesystem::create_directory(run);
    for (const int mode : {0777, 0755}) {
        std::filesystem::permissions(run, std::filesystem::perms(mode));
        ASSERT_EQ(FWCtrl(&order), mode == 0777 ? 16 : 0);
    }
    std::filesystem::remove_all(squatter);
    ASSERT_TRUE(device.becomes([] { return isJobRunning("hook firmware-install"); }));
    device.daemon.reset();
    ASSERT_EQ(initNetCtrl(), 0);
    EXPECT_EQ(FWCtrl(&order), 16) << "still installing";
    device.folder.write("firmware-install.go", "");
    EXPECT_GT(wait(nullptr), 0);
    EXPECT_EQ(device.folder.read("firmware-install.got"), kImage);
    EXPECT_TRUE(device.hasDownloads());
    ASSERT_EQ(initNetCtrl(), 0);
    EXPECT_FALSE(device.hasDownloads());
}

TEST(Upgrade, TheServerFollowsTheLastOrder) {
    const ScratchFolder folder;
    folder.hook("ftp-server", "until [ -e \"$0.go\" ]; do sleep 0.02; done; echo $1 >>\"$0.got\"");
    const auto hasRun = [&folder](const std::string& args) {
        return becomes([&] {
            collectJobs();
            return folder.read("ftp-server.got") == args;
        });
    };
    EXPECT_EQ(set_vsftpd_StartStop(1), 0);
    EXPECT_EQ(set_vsftpd_StartStop(0), 0);
    folder.write("ftp-server.go", "");
    EXPECT_TRUE(hasRun("1\n0\n"));
    // At the end of the library, a running start is followed by a stop, too.
    while (isJobRunning("hook ftp-server")) collectJobs();
    EXPECT_EQ(set_vsftpd_StartStop(1), 0);
    EXPECT_EQ(destroyNetCtrl(), 0);
    EXPECT_TRUE(hasRun("1\n0\n1\n0\n"));
    EXPECT_GT(wait(nullptr), 0);
}

TEST(Upgrade, OrdersThatCannotBeCarriedOutAreRefused) {
    const ScratchFolder folder;
    FwCtrl order{6, 1, "http://host/fw", {}};
    EXPECT_EQ(FWCtrl(&order), 16) << "no hook";
    folder.hook("firmware-install", "exit 0");
    for (const char* url : {"", "file:///etc/shadow", "http://", "-o/etc/passwd", "HTTP://h/x y",
                            "http://h/a\nb", "gopher://h/x", "/etc/shadow", "http://127.0.0.1/x",
                            "ftp://LOCALHOST:80/x", "http://[::1]:80/x", "http://a@0x7f.1/x",
                            "http://[::ffff:127.0.0.1]/x", "http://%31%32%37.0.0.1/x"}) {
        copyText(order.url, url);
        EXPECT_EQ(FWCtrl(&order), 16) << url;
    }
    // A hook may use a name from the network as a path or an argument.
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
