// Feeds each input as four files: vm1905.conf and vm1905_Version to the daemon, platform.conf and
// wifi.conf to the platform library.
#include "common/conf.h"
#include "common/text.h"
#include "db/data_manager.h"
#include "db/database.h"
#include "db/options.h"
#include "process.h"
#include "publish/json_data_model.h"
#include "support/test_device.h"
#include "wsc/wifi_conf.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bytes text(data, size);
    freshDevice();
    setConfFolder(scratch());
    (void)writeScratch("vm1905.conf", text);
    (void)writeScratch("vm1905_Version", text);
    require(initSysConfig() == 0);
    const SysConfig& config = getSysCtrl().config;
    require(config.ordersFrom.who == OrdersFrom::kListed || config.ordersFrom.listed.empty());
    require(initDataManager() == 0);
    (void)renderJsonDataModel(getAlTable(), getNetTopolTable(), getSecurityTable());

    setenv("VM1905_PLATFORM_CONF", writeScratch("platform.conf", text).c_str(), 1);
    reloadConf();
    for (const char* key : {"AL_MAC", "EXCLUDE", "MEDIA_TYPE.eth0", "SECURITY_MODE"}) {
        const std::string_view value = conf().value(key);
        require(value.empty() || conf().has(key));
        require(value.find('\n') == value.npos);
        (void)macFromText(value);
        (void)parseNumber(value);
        (void)conf().matches(key, "eth0");
    }

    bool complained = false;
    const auto networks = parseWifiConf(textOf(text), [&](int line, const std::string&) {
        require(line > 0);
        complained = true;
    });
    require(networks.has_value() != complained);
    for (const auto& each : networks.value_or(WifiConf{})) {
        require(!each.bands.empty() && !each.network.ssid.empty());
        require(each.network.key.empty() == (each.network.auth == kAuthOpen));
        require(!each.isOn(kBand6GHz) || each.network.auth == kAuthSae);
    }
    return 0;
}
