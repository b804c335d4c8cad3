// The firmware upgrade: manifests, the order of the rounds, and images from a real server.
#include "netctrl/firmware_image.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <tuple>

#include "common/helper.h"
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
const std::string kManifest =
    "MODEL = m1\nVERSION = 2.0\nSIZE = 16\nSHA256 = " + std::string(kDigest) + "\nHOSTS = attic\n";

// The manifest after a change.
std::string with(const std::string& from, const std::string& to) {
    std::string text = kManifest;
    return text.replace(text.find(from), from.size(), to);
}

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

TEST(Manifest, NeedsAllItsValues) {
    const auto good = parseManifest("# new\nSHA256=" + std::string(64, 'A') +
                                    "\nwhat is this\nSIZE = 16\nMODEL = m-1\n"
                                    "VERSION = 2.0_b-1\r\nHOSTS = attic* cellar");
    ASSERT_TRUE(good);
    EXPECT_EQ(good->model + " " + good->version + " " + good->sha256,
              "m-1 2.0_b-1 " + std::string(64, 'a'));
    EXPECT_TRUE(isFor(*good, "attic-2") && isFor(*good, "cellar") && !isFor(*good, "porch"));
    ASSERT_TRUE(parseManifest(kManifest));
    const std::map<std::string, std::vector<std::string>> bad = {
        {"fbff", {"fbff0", "fb", "fbfg"}},
        {"2.0", {"", "2.0 b", "-2", "a\x1b[1m", std::string(128, '9'), std::string(5, '\0')}},
        {"16", {"0", "536870913", "18446744073709551632"}},
        {"MODEL", {"MODE"}}};
    for (const auto& [from, all] : bad) {
        for (const auto& to : all) EXPECT_FALSE(parseManifest(with(from, to))) << from << to;
    }
}

TEST(Manifest, VersionsAreComparedByTheirNumbers) {
    // The versions in a row are equal.
    const char* const ascending[][3] = {
        {"", "0", "snapshot"},
        {"0.9", "0.9", "00.09"},
        {"1", "1.0", "v1"},
        {"1.0-1", "1-0.1", "1.0-rc1"},
        {"1.9", "1.9.0", "1.9"},
        {"1.10", "1.10", "1_10+"},
        {"18446744073709551615", "018446744073709551615", "18446744073709551615.0"},
        {"18446744073709551616", "018446744073709551616", "r18446744073709551616"}};
    for (const auto& low : ascending) {
        for (const auto& high : ascending) {
            for (int i = 0; i < 9; i++) {
                EXPECT_EQ(compareVersions(low[i % 3], high[i / 3]), &low <=> &high)
                    << low[i % 3] << " " << high[i / 3];
            }
        }
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

// A key pair in a folder: X.key and X.pem.
struct Signer {
    Signer(const ScratchFolder& place, const std::string& name)
        : folder(place), key(name + ".key") {
        run("openssl genpkey -algorithm ed25519 -out " + folder.path(key));
        run("openssl pkey -pubout -in " + folder.path(key) + " -out " + folder.path(name + ".pem"));
    }
    std::string sign(const std::string& text) const {
        folder.write("signed", text);
        run("openssl pkeyutl -sign -rawin -inkey " + folder.path(key) + " -in " +
            folder.path("signed") + " -out " + folder.path("signature"));
        return folder.read("signature");
    }
    const ScratchFolder& folder;
    std::string key;
};

constexpr const char* kUrl = "http://192.0.2.2:8905/fw.bin";

// A device whose neighbor serves the same folder at 192.0.2.2. It records what is installed.
class Upgraded {
  public:
    Upgraded() {
        ip("link add v0 type veth peer name v1; address add 192.0.2.1/24 dev v0");
        ip("link set lo up; link set v0 up");
        configure("FIRMWARE_KEYS = " + folder.path("keys") + "\n");
        std::filesystem::create_directory(folder.path("downloads"));
        std::filesystem::create_directory(folder.path("keys"));
        const Signer old(folder, "keys/old");
        signer.emplace(folder, "keys/new");
        folder.hook("firmware-install", "cat \"$1\" >\"$0.got\"; echo \" $2\" >>\"$0.got\"");
        daemon = std::make_unique<Listener>();
        startNeighbor();
    }
    ~Upgraded() { kill(std::stoi(folder.read("neighbor")), SIGKILL); }
    Upgraded(const Upgraded&) = delete;
    Upgraded& operator=(const Upgraded&) = delete;
    void configure(const std::string& more) const {
        folder.platformConf("FIRMWARE_FOLDER = " + folder.path() +
                            "\nFIRMWARE_DOWNLOAD = " + folder.path("downloads") +
                            "\nINCLUDE = v0\nHOSTNAME = attic\nFIRMWARE_VERSION = 1.0\n"
                            "FIRMWARE_MODEL = m1\n" +
                            more);
    }
    void announce(const std::string& image, const std::string& manifest,
                  const std::string& signature) const {
        folder.write("fw.bin", image);
        folder.write("fw.bin.manifest.sig", signature);
        folder.write("fw.bin.manifest", manifest);
    }
    void announce() const { announce(kImage, kManifest, signer->sign(kManifest)); }
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
    std::string installed() const { return folder.read("firmware-install.got"); }
    // The state in which an order for the image ends; 16 if it is refused. `log`: its log lines.
    uint32_t fetched(const std::string& url, std::string* log = nullptr) {
        FwCtrl order{6, 1, {}, {}};
        copyText(order.url, url);
        testing::internal::CaptureStdout();
        int result = FWCtrl(&order);
        if (result == 0) {
            EXPECT_EQ(state(), uint32_t{PLATFORM_FW_UPGRADE});
            result = FWCtrl(&order);  // again, without effect
            EXPECT_TRUE(becomes([] { return state() != PLATFORM_FW_UPGRADE; }));
        }
        EXPECT_TRUE(becomes([this] { return !hasDownloads(); }));
        const std::string text = testing::internal::GetCapturedStdout();
        if (log != nullptr) *log = text;
        return result == 0 ? state() : 16;
    }
    static uint32_t state() {
        uint32_t state = 99;
        EXPECT_EQ(getfirmwareStatus(0, 0, &state), 0);
        return state;
    }

    const ScratchFolder folder;
    std::optional<Signer> signer;
    std::unique_ptr<Listener> daemon;

    void startNeighbor() const {
        const std::string script =
            "echo $$ >\"$0/neighbor\"; until ip link set v1 up; do sleep 0.02; done; "
            "ip address add 192.0.2.2/24 dev v1; "
            "exec busybox httpd -f -c /dev/null -p 192.0.2.2:8905 -h \"$0\"";
        run("unshare -n sh -c '" + script + "' " + folder.path() + " >/dev/null 2>&1 &");
        EXPECT_TRUE(::becomes([this] { return folder.read("neighbor").ends_with("\n"); }));
        ip("link set v1 netns " + std::string(trim(folder.read("neighbor"))));
        EXPECT_TRUE(::becomes([] { return download("192.0.2.2", "platform.conf") != ""; }));
    }
    static std::string download(const std::string& host, const std::string& name) {
        return run("busybox wget -q -O - http://" + host + ":8905/" + name + " 2>/dev/null || :");
    }
};

constexpr uint32_t kFailed = PLATFORM_FW_FAILED, kIdle = PLATFORM_FW_IDLE,
                   kReboot = PLATFORM_FW_REBOOT;

}  // namespace

NETWORK_TEST(Upgrade, OnlyASignedNewerImageForThisDeviceIsInstalled) {
    Upgraded device;
    device.announce();
    EXPECT_EQ(device.fetched(kUrl), kReboot);
    EXPECT_EQ(device.installed(), "the new firmware 2.0\n");

    device.folder.hook("firmware-install", "echo must not run >\"$0.got\"");
    const Signer stranger(device.folder, "stranger");
    const std::string good = device.signer->sign(kManifest);
    std::string damaged = good;
    damaged[63] = static_cast<char>(damaged[63] ^ 1);
    const struct {
        const char* name;
        std::string image, manifest, signature;  // "": signed by the right key
        const char* why;
        uint32_t state = kFailed;
    } table[] = {
        {"unsigned", kImage, kManifest, "-", "signature of its manifest is missing"},
        {"foreign key", kImage, kManifest, stranger.sign(kManifest), "no key of FIRMWARE_KEYS"},
        {"changed manifest", kImage, with("2.0", "3.0"), good, "no key of FIRMWARE_KEYS"},
        {"changed signature", kImage, kManifest, damaged, "no key of FIRMWARE_KEYS"},
        {"long signature", kImage, kManifest, good + "x", "can't be fetched"},
        {"changed image", "the nEw firmware", kManifest, good, "SHA-256 is another"},
        {"longer image", "the new firmware!", kManifest, good, "can't be fetched"},
        {"incomplete", kImage, with("MODEL", "MODE"), "", "no usable MODEL"},
        {"other model", kImage, with("m1", "m2"), "", "it is for the model m2"},
        {"other device", kImage, with("attic", "porch"), "", "does not include this device"},
        {"lower version", kImage, with("2.0", "0.9"), "", "FIRMWARE_DOWNGRADE"},
        {"equal version", kImage, with("2.0", "1.0.0"), "", "FIRMWARE_DOWNGRADE"},
        {"running version", kImage, with("2.0", "1.0"), "", "runs already", kIdle},
    };
    std::string log;
    for (const auto& row : table) {
        device.announce(row.image, row.manifest,
                        row.signature.empty() ? device.signer->sign(row.manifest) : row.signature);
        EXPECT_EQ(device.fetched(kUrl, &log), row.state) << row.name;
        EXPECT_NE(log.find(row.why), log.npos) << row.name << ": " << log;
    }
    EXPECT_EQ(device.fetched(kUrl + std::string("2")), kFailed) << "no manifest";

    device.announce();
    const std::string keys = "FIRMWARE_KEYS = " + device.folder.path("keys") + "\n";
    const struct {
        const char* name;
        std::string conf, url, why;
        uint32_t state;
    } settings[] = {
        {"no keys", "", kUrl, "set FIRMWARE_KEYS", 16},
        {"empty folder", "FIRMWARE_UNSIGNED = yes\nFIRMWARE_KEYS = /nonexistent", kUrl,
         "no *.pem file", 16},
        {"host", keys + "FIRMWARE_HOSTS = 192.0.2.22 192.0.2.*", kUrl, "does not list", 16},
        {"name", keys, "http://own.example:8905/fw.bin", "address of this device itself", kFailed},
    };
    // The device itself offers it, too, so that its own addresses would do.
    char version[PLATFORM_FW_TEXT_LEN];
    ASSERT_TRUE(
        device.becomes([&] { return getNewFWVersionByPlatform("", "attic", version) == 0; }));
    ASSERT_EQ(set_vsftpd_StartStop(1), 0);
    ASSERT_TRUE(::becomes([] { return Upgraded::download("192.0.2.1", "fw.bin") == kImage; }));
    // A private /etc, since not every system has a file for the names of hosts.
    ASSERT_EQ(unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    ASSERT_EQ(mount("tmpfs", "/etc", "tmpfs", 0, nullptr), 0);
    std::ofstream("/etc/hosts") << "192.0.2.1 own.example\n192.0.2.2 other.example\n";
    std::ofstream("/etc/nsswitch.conf") << "hosts: files\n";
    for (const auto& row : settings) {
        device.configure(row.conf);
        EXPECT_EQ(device.fetched(row.url, &log), row.state) << row.name;
        EXPECT_NE(log.find(row.why), log.npos) << row.name << ": " << log;
    }
    for (const char* own : {"192.0.2.1", "3221225985", "0xc0.0x201", "0300.0.02.01",
                            "[::ffff:192.0.2.1]", "[::192.0.2.1]"}) {
        device.configure(keys);
        EXPECT_EQ(device.fetched("http://" + std::string(own) + ":8905/fw.bin"), 16) << own;
    }
    EXPECT_EQ(device.installed(), "the new firmware 2.0\n");

    device.folder.hook("firmware-install", "echo >>\"$0.times\"; exit 0");
    device.configure(keys + "FIRMWARE_HOSTS = other.example");
    EXPECT_EQ(device.fetched("http://other.example:8905/fw.bin"), kReboot) << "by name";
    EXPECT_EQ(device.fetched("http://user@other.example:8905/fw.bin"), kReboot) << "by curl";
    device.configure(keys + "FIRMWARE_DOWNGRADE = yes");
    device.announce(kImage, with("2.0", "0.9"), device.signer->sign(with("2.0", "0.9")));
    EXPECT_EQ(device.fetched(kUrl), kReboot) << "downgrade";
    device.configure("FIRMWARE_UNSIGNED = yes");
    device.announce(kImage, kManifest, "-");
    EXPECT_EQ(device.fetched(kUrl), kReboot) << "unsigned";
    EXPECT_EQ(device.folder.read("firmware-install.times"), "\n\n\n\n");
    device.folder.hook("firmware-install", "exit 1");
    EXPECT_EQ(device.fetched(kUrl), kFailed) << "the installation fails";
    const FwCtrl forget{};
    EXPECT_EQ(FWCtrl(&forget), 0);
    EXPECT_EQ(Upgraded::state(), kIdle);
    testing::internal::CaptureStdout();
    device.daemon.reset();
    ASSERT_EQ(initNetCtrl(), 0);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("without a signature"), log.npos);
}

NETWORK_TEST(Upgrade, ARegistrarServesWhatItHasVerifiedAndNothingElse) {
    Upgraded device;
    char version[PLATFORM_FW_TEXT_LEN], url[PLATFORM_FW_URL_LEN];
    char file[PLATFORM_FW_FILE_NAME_LEN];
    const auto offered = [&] { return getNewFWVersionByPlatform("", "attic", version) == 0; };
    const std::string good = device.signer->sign(kManifest);
    for (const auto& [image, signature] :
         {std::pair{std::string("the nEw firmware"), good}, {kImage, std::string("-")}}) {
        device.announce(image, kManifest, signature);
        calls.clear();
        EXPECT_TRUE(device.becomes([pass = 0]() mutable { return ++pass == 20; }));
        EXPECT_FALSE(offered()) << image;
        EXPECT_EQ(calls, "");
    }
    std::filesystem::rename(device.folder.path("keys/new.pem"), device.folder.path("new.pem"));
    device.announce();
    EXPECT_TRUE(device.becomes([pass = 0]() mutable { return ++pass == 20; }));
    EXPECT_FALSE(offered()) << "no such key";
    std::filesystem::rename(device.folder.path("new.pem"), device.folder.path("keys/new.pem"));
    ASSERT_TRUE(device.becomes(offered)) << "once the key is there";
    EXPECT_EQ(checkLocalFW(), 0);
    EXPECT_EQ(checkLocalFW(), 16) << "reported once";
    EXPECT_EQ(getNewFWVersionByPlatform("", "porch", version), 16);
    ASSERT_EQ(getDownloanURL("", "attic", url, file), 0);
    EXPECT_EQ(url, std::string("http://192.0.2.1:8905/fw.bin"));

    device.folder.write("fw2.bin", "never verified");
    std::filesystem::create_symlink("/etc/passwd", device.folder.path("link"));
    chmod(device.folder.path("fw.bin").c_str(), 0600);
    ASSERT_EQ(set_vsftpd_StartStop(1), 0);
    const auto served = [](const char* name) { return Upgraded::download("192.0.2.1", name); };
    EXPECT_TRUE(::becomes([&] { return served("fw.bin") == kImage; }));
    EXPECT_EQ(served("fw.bin.manifest"), kManifest);
    EXPECT_EQ(served("fw.bin.manifest.sig"), good);
    for (const char* name : {"", "fw2.bin", "link", "platform.conf", "../platform.conf",
                             "%2e%2e/platform.conf", "keys/new.pem", "//etc/passwd"}) {
        EXPECT_EQ(served(name), "") << name;
    }
    EXPECT_EQ(set_vsftpd_StartStop(0), 0);
    EXPECT_TRUE(::becomes([&] { return served("fw.bin").empty(); }));
}

NETWORK_TEST(Upgrade, AnInstallationOutlivesTheDaemon) {
    Upgraded device;
    device.folder.hook(
        "firmware-install",
        "echo; until [ -e \"$0.go\" ] || [ ! -e \"$0\" ]; do sleep 0.02; done; echo; "
        "cat \"$1\" >\"$0.got\"");
    device.announce();
    FwCtrl order{6, 1, "http://192.0.2.2:8905/fw.bin", {}};
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
    EXPECT_EQ(device.installed(), kImage);
    EXPECT_TRUE(device.hasDownloads());
    ASSERT_EQ(initNetCtrl(), 0);
    EXPECT_FALSE(device.hasDownloads());
}

// Whoever has taken over a confined daemon can ask its helper to install an image.
NETWORK_TEST(Upgrade, TheHelperVerifiesAnImageAgain) {
    struct stat root {};
    if (stat("/", &root) != 0 || root.st_uid != geteuid()) return;  // hooks of others are refused
    Upgraded device;
    device.announce();
    device.folder.hook("network", "exit 0");
    ASSERT_TRUE(startHelper(0, 0));
    EXPECT_EQ(setNetworkCtrl(1, std::string(200'000, 'x').c_str()), 16) << "too long";
    EXPECT_EQ(setNetworkCtrl(1, "x"), 0);
    EXPECT_EQ(device.fetched(kUrl), kReboot);
    EXPECT_EQ(device.installed(), "the new firmware 2.0\n");

    device.folder.hook("firmware-install", "echo must not run >\"$0.got\"");
    const std::string good = device.signer->sign(kManifest), older = with("2.0", "0.9");
    const auto install = [&](const std::string& manifest, const std::string& signature) {
        const Fd image(open(device.folder.path("fw.bin").c_str(), O_RDONLY | O_CLOEXEC));
        const auto* const bytes = reinterpret_cast<const uint8_t*>(signature.data());
        const JobId job =
            startJob("verified firmware", {manifest, hexText({bytes, signature.size()})},
                     {.file = image.get()}, {});
        return waitJob(job, std::chrono::seconds(10));
    };
    EXPECT_EQ(install(kManifest, ""), 16);
    EXPECT_EQ(install(with("attic", "a*"), good), 16);
    EXPECT_EQ(install(older, device.signer->sign(older)), 16);
    device.folder.write("fw.bin", "the nEw firmware");
    EXPECT_EQ(install(kManifest, good), 16);
    EXPECT_EQ(device.installed(), "the new firmware 2.0\n");

    // The hook gets the bytes that were verified, whatever happens to the file meanwhile.
    device.folder.hook("firmware-install",
                       "printf X | dd conv=notrunc of=\"${0%/*}/fw.bin\";"
                       "cat \"$1\" >\"$0.got\"");
    device.folder.write("fw.bin", kImage);
    EXPECT_EQ(install(kManifest, good), 0);
    EXPECT_EQ(device.folder.read("fw.bin") + device.installed(),
              "Xhe new firmwarethe new firmware");
    EXPECT_FALSE(device.hasDownloads());
}

// He can also choose the files that are served.
NETWORK_TEST(Upgrade, TheHelperServesImagesAndRunsNothing) {
    const ScratchFolder folder;
    folder.platformConf("FIRMWARE_FOLDER = " + folder.path());
    for (const std::string place : {"cgi-bin", ".served/cgi-bin"}) {
        std::filesystem::create_directories(folder.path(place));
        folder.write(place + "/x", "#!/bin/sh\necho; echo RUNS\n", 0755);
    }
    for (const char* name : {"fw", "fw.manifest", "link.manifest", "foreign"}) {
        folder.write(name, name);
    }
    folder.write("private", "of root", 0600);
    folder.write("private.manifest", "");
    std::filesystem::create_symlink("/etc/passwd", folder.path("link"));
    ip("link set lo up");
    ASSERT_TRUE(startHelper(4242, 4242));
    const auto served = [](const char* name) { return Upgraded::download("127.0.0.1", name); };
    for (const Arguments& args :
         {Arguments{"127.0.0.1"},
          {"127.0.0.1", "fw", "fw.manifest", "link", "private", "foreign", "cgi-bin"}}) {
        const JobId job = startJob("firmware server", args, {}, {});
        EXPECT_EQ(waitJob(job, std::chrono::milliseconds(500)), std::nullopt);
        EXPECT_EQ(served("fw") + served("fw.manifest"), args.size() > 1 ? "fwfw.manifest" : "");
        for (const char* name : {"cgi-bin/x", "foreign", "link", "private", ""}) {
            EXPECT_EQ(served(name), "") << name;
        }
        killJob(job);
        EXPECT_EQ(waitJob(job, seconds(10)), 16);
    }
}

TEST(Upgrade, TheServerFollowsTheLastOrder) {
    const ScratchFolder folder;
    folder.hook(
        "ftp-server",
        "until [ -e \"$0.go\" ] || [ ! -e \"$0\" ]; do sleep 0.02; done; echo $1 >>\"$0.got\"");
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
    for (const char* url :
         {"", "file:///etc/shadow", "http://", "-o/etc/passwd", "HTTP://h/x y", "http://h/a\nb",
          "gopher://h/x", "/etc/shadow", "http://127.0.0.1/x", "ftp://LOCALHOST:80/x",
          "http://[::1]:80/x", "http://a@0x7f.1/x", "http://0/x", "http://[::]/x",
          "http://017700000001/x", "http://2130706433/x", "http://[::ffff:127.0.0.1]/x",
          "http://%31%32%37.0.0.1/x"}) {
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
