#include <fcntl.h>
#include <sys/stat.h>

#include <ctime>
#include <fstream>
#include <iterator>

#include "base/fd.h"
#include "publish/data_model_files.h"
#include "publish/json_autoconfig.h"
#include "publish/json_change_log.h"
#include "publish/json_data_model.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

const std::string kAutoconfig =
#include "golden_autoconfig.inc"
    ;
const std::string kChangeLog =
#include "golden_change_log.inc"
    ;

using JsonAPautoconfig = Device;

TEST_F(JsonAPautoconfig, IsWrittenToTheByte) {
    AlTable al;
    al.alMac = {2, 0, 0, 0, 0, 1};
    al.wpsConfig[0] = 1;
    al.wpsBandConfig[3] = {3, 4};
    al.apAutoConfTimes[0] = "main";
    al.apAutoConfTimes[6] = "ap";
    al.apAutoConfTimes[7] = "st";
    auto& dev = al.topol.devs.edit(al.topol.devs.add({}));
    dev.alMac = {2, 0, 0, 0, 0, 2};
    dev.role = 1;
    dev.apAutoConf.counters = {{{1, 2}, {}, {}, {7, 8}}};
    dev.apAutoConf.syncFlags = {1, 0, 2, 3};
    dev.apAutoConf.times[6] = "ap24";
    dev.apAutoConf.times[11] = "st52";
    EXPECT_EQ(renderJsonAPautoconfig(&al, &al.topol), kAutoconfig);
    dev.role = 0;
    EXPECT_EQ(occurrences(renderJsonAPautoconfig(&al, &al.topol), "AP-autoconfig_Sync"), 0U);
    EXPECT_EQ(renderJsonAPautoconfig(nullptr, nullptr), "");
}

using JsonChangeLog = Device;

TEST_F(JsonChangeLog, IsWrittenToTheByte) {
    setenv("TZ", "EST5", 1);
    tzset();
    TopolTable topol;
    topol.maxChangeLogEntries = 3;
    (void)topol.devs.add({});
    topol.changeLogNum = 1;
    topol.changeLogNext = 2;
    // 2026-02-03 04:05:06 UTC.
    topol.changeLog[0] = {1770091506,         1, {2, 0, 0, 0, 0, 1},
                          {2, 0, 0, 0, 0, 2}, 0, {2, 0, 0, 0, 0, 3}};
    EXPECT_EQ(renderJsonvm1905log(&topol), kChangeLog);
    topol.changeLogNum = 0xFFFF;
    EXPECT_EQ(occurrences(renderJsonvm1905log(&topol), "\"NeighborId\""), 256u);
    EXPECT_EQ(renderJsonvm1905log(nullptr), "{\n}\n");
    unsetenv("TZ");
    tzset();
}

class DataModelFiles : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        ASSERT_EQ(initDataManager(), kOk);
    }
    std::string path(const char* name) const { return folder() + "/" + name; }
};

TEST_F(DataModelFiles, AreReplacedWhole) {
    const std::string old(100000, 'x');
    for (const char* name : {"vm1905.json", "vm1905_APautoconfig.json", "vm1905_log.json"}) {
        std::ofstream(path(name)) << old;
    }
    std::filesystem::permissions(path("vm1905.json"), std::filesystem::perms{0604});
    std::ifstream reader(path("vm1905.json"));
    EXPECT_EQ(writeJsonDataModel(), kOk);
    EXPECT_EQ(writeJsonvm1905log(), kOk);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), old)
        << "a reader finds the old file or the new one, not an empty or mixed one";
    EXPECT_EQ(std::filesystem::status(path("vm1905.json")).permissions(),
              std::filesystem::perms{0604});
    EXPECT_EQ(fileText("vm1905.json"),
              renderJsonDataModel(getAlTable(), getNetTopolTable(), getSecurityTable()));
    EXPECT_EQ(fileText("vm1905_APautoconfig.json"),
              renderJsonAPautoconfig(getAlTable(), getNetTopolTable()));
    EXPECT_EQ(fileText("vm1905_log.json"), renderJsonvm1905log(getNetTopolTable()));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder()), {}), 3);
    std::ofstream(folder() + "/vm1905.conf")
        << "DATA_MODEL_MODE = 640\nDATA_MODEL_FOLDER = " + folder();
    setConfFolder(folder());
    std::filesystem::remove(path("vm1905_log.json"));
    EXPECT_EQ(initSysConfig() + writeJsonvm1905log() + writeJsonDataModel(), kOk);
    for (const char* name : {"vm1905.json", "vm1905_log.json"}) {  // an old file and a new one
        EXPECT_EQ(std::filesystem::status(path(name)).permissions(), std::filesystem::perms{0640});
    }
}

// Others may have prepared the folder or the file.
TEST_F(DataModelFiles, WhatIsNotOursIsLeftAlone) {
    namespace fs = std::filesystem;
    const std::string file = path("vm1905_log.json"), shared = path("shared");
    // Whether two writes there change nothing but the log, by one line.
    const auto isRefused = [&](const std::string& place) {
        const auto content = [&] {
            const fs::path written = place + "/vm1905_log.json";
            const fs::file_type type = fs::symlink_status(written).type();
            const bool isFile = type == fs::file_type::regular;
            return std::pair(type,
                             fileText("precious") + (isFile ? fileText("vm1905_log.json") : ""));
        };
        const auto before = content();
        (void)setDataModelFolderOption(place.c_str());
        LogCapture log(1);
        for (int i = 0; i < 2; i++) EXPECT_EQ(writeJsonvm1905log(), kOk);
        const bool isUnchanged = content() == before;
        // It works again, so that the next failure is logged.
        (void)setDataModelFolderOption(folder().c_str());
        fs::remove(file);
        (void)writeJsonvm1905log();
        EXPECT_TRUE(fs::remove(file));
        return isUnchanged && occurrences(log.finish(), "LVL=1") == 1;
    };
    std::ofstream(path("precious")) << "kept";
    fs::create_symlink(path("precious"), file);
    EXPECT_TRUE(isRefused(folder()));
    fs::create_hard_link(path("precious"), file);
    EXPECT_TRUE(isRefused(folder())) << "a second name";
    ASSERT_EQ(mkfifo(file.c_str(), 0666), 0);
    const Fd reader(open(file.c_str(), O_RDONLY | O_NONBLOCK));
    EXPECT_TRUE(isRefused(folder())) << "a FIFO";
    fs::create_directory_symlink(folder(), path("linked"));
    EXPECT_TRUE(isRefused(path("linked")));
    EXPECT_TRUE(isRefused(path("linked/")));
    fs::create_directory(shared);
    fs::permissions(shared, fs::perms{0777});
    EXPECT_TRUE(isRefused(shared));
    if (geteuid() != 0) return;
    std::ofstream(file) << "theirs";
    ASSERT_EQ(chown(file.c_str(), 12345, 0), 0);
    EXPECT_TRUE(isRefused(folder())) << "a file of another user";
    for (const unsigned mode : {0755U, 01777U}) {
        const std::string theirs = shared + std::to_string(mode);
        fs::create_directory(theirs);
        fs::permissions(theirs, fs::perms{mode});
        ASSERT_EQ(chown(theirs.c_str(), 12345, 0), 0);
        EXPECT_TRUE(isRefused(theirs)) << "a folder of another user";
    }
}

// A rewrite takes a second, because every look at the clock does.
TEST_F(DataModelFiles, TakeATenthOfTheTime) {
    // Requests a rewrite that shows this number.
    const auto request = [](int maximum) {
        getNetTopolTable()->maxChangeLogEntries = static_cast<uint16_t>(maximum);
        (void)writeJsonvm1905log();
    };
    const auto shows = [&](const char* maximum) {
        return fileText("vm1905_log.json").find(maximum) != std::string::npos;
    };
    setClockSource([] { return test_clock::time++; });
    request(7);
    ASSERT_TRUE(shows(": 7,")) << "the first one is written at once";
    const Seconds end = test_clock::time;
    for (const int maximum : {8, 9}) request(maximum);
    EXPECT_LE(timeToDataModelFile(), 10'000'000) << "the loop waits no longer";
    while (shows(": 7,") && test_clock::time < end + 100) writeDueDataModelFiles();
    EXPECT_TRUE(shows(": 9,")) << "once, with the last state";
    EXPECT_NEAR(static_cast<double>(test_clock::time - end), 13, 2);
    request(10);
    writeWaitingDataModelFiles();
    EXPECT_TRUE(shows(": 10,")) << "the daemon ends";
    getNetTopolTable()->maxChangeLogEntries = 11;
    advance(100);
    writeDueDataModelFiles();
    EXPECT_TRUE(shows(": 10,")) << "not requested";
}

}  // namespace
