#include "db/own_state.h"

#include "base/result.h"
#include "base/store.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/upcalls.h"
#include "db/wifi_bands.h"
#include "platform/autoconfig.h"
#include "platform/device.h"

namespace {

void writeAndNotify() {
    upcalls().writeJsonDataModel();
    requestUpdateDataModel(1);
}

// Copies one address of the Wi-Fi sync list of the platform; true if it changed.
bool mirrorSyncList(AlTable& al, uint8_t selector) {
    WpsSyncRecord record{};
    record.selector = selector;
    if (getWPSSyncListByBand(&record) != 0) return false;
    const MacAddr mac(record.mac);
    return store(al.wifiSyncMac[selector], mac.isZero() ? std::string() : macText(mac));
}

}  // namespace

int updateFWNewfirmware(uint32_t result) {
    AlTable* al = getAlTable();
    if (al == nullptr) return kOk;
    al->newFirmwareFlag = static_cast<uint8_t>(result);
    if (result == 1) {
        al->fwUpgradeStatus = 1;
        (void)getNewFWversion(al->newFirmwareVersion.data());
        al->newFirmwareVersion.terminate();
        (void)getNewFWdate(al->newFirmwareDate.data());
        al->newFirmwareDate.terminate();
    }
    writeAndNotify();
    return kOk;
}

int updateNewFWUpgradeStatus(uint32_t status) {
    AlTable* al = getAlTable();
    if (al != nullptr && store(al->fwUpgradeStatus, static_cast<uint8_t>(status))) {
        writeAndNotify();
    }
    return kOk;
}

int updateLEDStatus(std::string_view text) {
    AlTable* al = getAlTable();
    if (al == nullptr) return kOk;
    const Text<32> plain(plainText(text, 31));
    if (store(al->info.ledStatus, plain)) writeAndNotify();
    return kOk;
}

int updateWPSConfig() {
    AlTable* al = getAlTable();
    if (al == nullptr) return kFailure;
    bool differs = false;

    if (uint8_t setting = 0; getAPautoconfig(&setting) == 0) {
        differs |= store(al->apAutoConfig, setting);
    }
    if (WpsConfig config{}; getWPSConfig(&config) == 0) {
        differs |= store(al->wpsConfig, std::array<uint8_t, 3>{config.deviceType, config.sendSearch,
                                                               config.sendResponse});
    }
    if (uint8_t reload = 0; getWiFiReload(&reload) == 0) differs |= store(al->wifiReload, reload);

    for (size_t i = 0; i < kWifiBands.size(); i++) {
        if (WpsBandConfig band{}; getWPSConfByBand(kWifiBands[i], &band) == 0) {
            differs |= store(al->wpsBandConfig[i],
                             std::array<uint8_t, 2>{band.sendSearch, band.sendResponse});
        }
    }
    for (uint8_t selector = 0; selector < 2; selector++) differs |= mirrorSyncList(*al, selector);
    for (const auto& dev : al->topol.devs) updateWifiSync(dev);

    if (differs) writeAndNotify();
    return kOk;
}
