#include "publish/web_copy.h"

#include <sys/stat.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "publish/json_change_log.h"
#include "publish/json_data_model.h"
#include "support/device.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

class WebCopy : public Device {
  protected:
    static constexpr uid_t kUser = 23456;
    static constexpr gid_t kGroup = 34567;

    void SetUp() override {
        Device::SetUp();
        ASSERT_EQ(initDataManager(), kOk);
        getSysCtrl().config.webGroup = geteuid() == 0 ? kGroup : getegid();
        getSysCtrl().config.dataModelFolder = folder();
        setWebFolderOption(web());
    }
    std::string web(const std::string& name = "") const { return folder() + "/web" + name; }
    // What the log says.
    static std::string make(uid_t user = geteuid()) {
        static std::string logged;
        logged.clear();
        makeWebFolder({user, getegid()}, [](const std::string& line) { logged += line; });
        return logged;
    }
    std::string read(const std::string& path) const {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static void fill() {
        // Not even a pass phrase that looks like members of the file.
        const std::string phrase = "key-1\n\t\t\t\t}\n\t\t\t\t\"DeviceMode\": \"key-2\n{\n";
        getAlTable()->security.value.assign(phrase.begin(), phrase.end());
        getAlTable()->info.sshState = "unlisted";
        for (const uint8_t number : {uint8_t{1}, uint8_t{2}}) {
            DevTopol topol;
            topol.alMac = peer(number).al;
            topol.intfs = {{peer(number).intf, 1, {}, 0, Text<16>("eth0")}};
            topol.ieee1905Lists = {{peer(number).intf, {{peer(3 - number).al, 0}, {kOwnAl, 1}}}};
            topol.non1905Lists = {{peer(number).intf, {{6, 0, 0, 0, 0, number}}}};
            topol.brdgTuples = {{{peer(number).intf}}};
            (void)updateIeee1905DevTable(kEth0, kMedia, topol);
            auto& dev = getIeee1905DevTables().edit(*getIeee1905DevTableById(peer(number).al));
            dev.hostname = "{}},[ IEEE1905Device.9: {";
            dev.info.sshState = dev.info.appVersion = dev.info.ledStatus = "unlisted";
            dev.info.ethernetPortState = "1,\"unlisted\n";
            dev.info.ipv6 = {"unlisted", "unlisted"};
        }
    }
};

// Every member of the copy is one of the file.
void expectPart(const Json& part, const Json& whole) {
    for (const auto& [key, value] : part.items()) {
        ASSERT_TRUE(whole.contains(key)) << key;
        if (value.is_object()) {
            expectPart(value, whole[key]);
        } else {
            EXPECT_EQ(value, whole[key]) << key;
        }
    }
}

TEST_F(WebCopy, HasListedMembersOnly) {
    fill();
    ASSERT_EQ(make(), "");
    EXPECT_EQ(writeJsonDataModel(), kOk);
    const std::string text = read(web("/vm1905.json"));
    for (const char* hidden : {"key-", "unlisted", "Security", "AppVersion", "BridgingTuple"}) {
        EXPECT_EQ(text.find(hidden), std::string::npos) << hidden;
    }
    const Json copy = Json::parse(text);
    SecurityTable harmless;
    for (auto& dev : getIeee1905DevTables()) {
        getIeee1905DevTables().edit(dev).info.ethernetPortState = "";
    }
    expectPart(copy, Json::parse(renderJsonDataModel(getAlTable(), getNetTopolTable(), &harmless)));
    const Json& al = copy["Device"]["X_5E1F09_IEEE1905"]["AL"];
    const Json& last = al["NetworkTopology"]["IEEE1905Device.2"];
    EXPECT_EQ(al["Interface.2"]["InterfaceName"], "eth1");
    EXPECT_EQ(last["Hostname"], getIeee1905DevTables().begin()->hostname.view());
    EXPECT_EQ(last["IEEE1905Neighbor.2"]["IEEE802dot1Bridge"], true);
    EXPECT_EQ(last["NonIEEE1905Neighbor.1"]["LocalInterface"], "Interface.1");
    EXPECT_EQ(pclose(popen((VM1905_CHECK_FILES " --copies " + web()).c_str(), "w")), 0);
    // Its copy is current, although nobody has requested the file.
    EXPECT_EQ(Json::parse(read(web("/vm1905_log.json")))["IEEE1905DeviceNumberOfEntries"], 2);
    EXPECT_FALSE(fs::exists(folder() + "/vm1905_log.json"));
    EXPECT_TRUE(Json::accept(webCopyOf({}))) << "no table yet";
    setWebFolderOption("");
    fs::remove_all(web());
    EXPECT_EQ(make(), "");
    EXPECT_EQ(writeJsonDataModel(), kOk);
    EXPECT_FALSE(fs::exists(web()));
}

TEST_F(WebCopy, BelongsToTheGroup) {
    const bool isRoot = geteuid() == 0;
    std::ofstream(folder() + "/vm1905_log.json") << "kept";
    for (const uid_t user : {geteuid(), isRoot ? kUser : geteuid()}) {
        fs::permissions(folder(), fs::perms{0755});
        ASSERT_EQ(make(user), "") << "a first time, and for another user";
        EXPECT_FALSE(fs::exists(web("/vm1905.json"))) << "that of the daemon before";
        setDataModelFolderOption("/dev/null");
        ASSERT_EQ(seteuid(user), 0);
        EXPECT_EQ(writeJsonDataModel(), kOk);
        writeWebChangeLog();
        ASSERT_EQ(seteuid(isRoot ? 0 : user), 0);
        setDataModelFolderOption(folder().c_str());
        for (const auto& [name, mode] :
             {std::pair{"", 042750U}, {"/vm1905.json", 0100640U}, {"/vm1905_log.json", 0100640U}}) {
            struct stat info {};
            ASSERT_EQ(lstat(web(name).c_str(), &info), 0) << name;
            EXPECT_EQ(info.st_mode, mode) << name;
            EXPECT_EQ(info.st_uid, user) << name;
            EXPECT_EQ(info.st_gid, getWebGroupOption()) << name;
        }
    }
}

// Nothing that anything else uses is changed.
TEST_F(WebCopy, RefusesOtherFolders) {
    const std::string other = web() + "/other", link = web() + "/link";
    fs::create_directories(other);
    fs::create_directory_symlink(other, link);
    std::vector<std::pair<std::string, std::string>> cases{{web(), "no other use"},
                                                           {link, "Not a directory"},
                                                           {other + "/sub/web", "No such file"},
                                                           {folder() + "//", "data-model folder"}};
    if (geteuid() == 0 && chown(other.c_str(), kUser, kUser) == 0) {
        cases.emplace_back(other, "another owner");
    }
    for (const auto& [path, why] : cases) {
        setWebFolderOption(path);
        EXPECT_NE(make().find(why), std::string::npos) << path;
        EXPECT_STREQ(getWebFolderOption(), "") << path;
    }
    for (const std::string& path : {folder(), web(), other}) {
        EXPECT_EQ(static_cast<unsigned>(fs::status(path).permissions()) & 02020U, 0U) << path;
    }
    EXPECT_TRUE(fs::exists(link));
}

}  // namespace
