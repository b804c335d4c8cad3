#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "base/fd.h"
#include "base/result.h"
#include "db/data_manager.h"
#include "db/database.h"
#include "db/options.h"
#include "publish/json_autoconfig.h"
#include "publish/json_change_log.h"
#include "publish/json_data_model.h"
#include "support/log_capture.h"
#include "support/test_clock.h"
#include "support/test_device.h"

namespace {

namespace fs = std::filesystem;

const std::string kAutoconfig =
#include "golden_autoconfig.inc"
    ;
const std::string kChangeLog =
#include "golden_change_log.inc"
    ;

TEST(JsonAPautoconfig, IsWrittenToTheByte) {
    AlTable al;
    al.alMac = {2, 0, 0, 0, 0, 1};
    al.wpsConfig[0] = 1;
    al.wpsBandConfig[3] = {3, 4};
    al.apAutoConfTimes[0] = "main";
    al.apAutoConfTimes[6] = "ap";
    al.apAutoConfTimes[7] = "st";
    Ieee1905DevTable& dev = al.topol.devs.emplace_back();
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

TEST(JsonChangeLog, IsWrittenToTheByte) {
    setTestTime(1770091600);
    setenv("TZ", "EST5", 1);
    tzset();
    TopolTable topol;
    topol.maxChangeLogEntries = 3;
    topol.devs.resize(1);
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
    useSystemClock();
}

class DataModelFiles : public testing::Test {
  protected:
    void SetUp() override {
        freshDevice();
        setTestTime(1000);
        char folder[] = "/tmp/datamodelXXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        folder_ = folder;
        (void)setDataModelFolderOption(folder);
        ASSERT_EQ(initDataManager(), kOk);
    }
    void TearDown() override {
        freshDevice();
        fs::remove_all(folder_);
        useSystemClock();
    }
    std::string read(const char* name) const {
        std::ifstream file(folder_ / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    fs::path folder_;
};

TEST_F(DataModelFiles, AreOverwrittenWhole) {
    for (const char* name : {"vm1905.json", "vm1905_APautoconfig.json", "vm1905_log.json"}) {
        std::ofstream(folder_ / name) << std::string(100000, 'x');
    }
    EXPECT_EQ(writeJsonDataModel(), kOk);
    EXPECT_EQ(writeJsonvm1905log(), kOk);
    EXPECT_EQ(read("vm1905.json"),
              renderJsonDataModel(getAlTable(), getNetTopolTable(), getSecurityTable()));
    EXPECT_EQ(read("vm1905_APautoconfig.json"),
              renderJsonAPautoconfig(getAlTable(), getNetTopolTable()));
    EXPECT_EQ(read("vm1905_log.json"), renderJsonvm1905log(getNetTopolTable()));
}

// Others may write into the folder, too.
TEST_F(DataModelFiles, WhatIsPlantedIsLeftAlone) {
    std::ofstream(folder_ / "precious") << "kept";
    fs::create_symlink(folder_ / "precious", folder_ / "vm1905.json");
    ASSERT_EQ(mkfifo((folder_ / "vm1905_log.json").c_str(), 0666), 0);
    const Fd reader(open((folder_ / "vm1905_log.json").c_str(), O_RDONLY | O_NONBLOCK));
    LogCapture log(3);
    EXPECT_EQ(writeJsonDataModel(), kOk);
    EXPECT_EQ(writeJsonvm1905log(), kOk);
    EXPECT_EQ(log.finish(), "") << "without a word";
    EXPECT_EQ(fs::file_size(folder_ / "precious"), 4U);
    EXPECT_NE(read("vm1905_APautoconfig.json"), "");
    char byte = 0;
    EXPECT_LE(::read(reader.get(), &byte, 1), 0) << "nothing goes to whoever made the FIFO";
}

}  // namespace
