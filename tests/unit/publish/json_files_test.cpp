#include <fcntl.h>
#include <sys/stat.h>

#include <ctime>
#include <fstream>
#include <iterator>

#include "base/fd.h"
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

using JsonChangeLog = Device;

TEST_F(JsonChangeLog, IsWrittenToTheByte) {
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
}

class DataModelFiles : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        ASSERT_EQ(initDataManager(), kOk);
    }
    std::string path(const char* name) const { return folder() + "/" + name; }
    std::string read(const char* name) const {
        std::ifstream file(path(name));
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

TEST_F(DataModelFiles, AreOverwrittenWhole) {
    for (const char* name : {"vm1905.json", "vm1905_APautoconfig.json", "vm1905_log.json"}) {
        std::ofstream(path(name)) << std::string(100000, 'x');
    }
    EXPECT_EQ(writeJsonDataModel(), kOk);
    EXPECT_EQ(writeJsonvm1905log(), kOk);
    EXPECT_EQ(read("vm1905.json"),
              renderJsonDataModel(getAlTable(), getNetTopolTable(), getSecurityTable()));
    EXPECT_EQ(read("vm1905_APautoconfig.json"),
              renderJsonAPautoconfig(getAlTable(), getNetTopolTable()));
    EXPECT_EQ(read("vm1905_log.json"), renderJsonvm1905log(getNetTopolTable()));
}

// Everybody may write to the folder.
TEST_F(DataModelFiles, LinksAndFifosAreLeftAlone) {
    std::ofstream(path("precious")) << "kept";
    std::filesystem::create_symlink(path("precious"), path("vm1905.json"));
    ASSERT_EQ(mkfifo(path("vm1905_log.json").c_str(), 0666), 0);
    const Fd reader(open(path("vm1905_log.json").c_str(), O_RDONLY | O_NONBLOCK));
    LogCapture log(3);
    EXPECT_EQ(writeJsonDataModel(), kOk);
    EXPECT_EQ(writeJsonvm1905log(), kOk);
    EXPECT_EQ(log.finish(), "");
    EXPECT_EQ(read("precious"), "kept");
    EXPECT_NE(read("vm1905_APautoconfig.json"), "");
    char byte = 0;
    EXPECT_LE(::read(reader.get(), &byte, 1), 0) << "nothing is written to the FIFO";
}

}  // namespace
