#include "controller/firmware_upgrade.h"

#include <cstdlib>
#include <list>
#include <string>
#include <vector>

#include "base/log.h"
#include "base/result.h"
#include "db/database.h"
#include "db/own_state.h"
#include "net/vend_sender.h"
#include "orders/control_lists.h"
#include "orders/firmware_upgrade_list.h"
#include "platform/autoconfig.h"
#include "platform/device.h"
#include "platform/exports.h"
#include "wire/vend_payloads.h"

namespace {

constexpr Seconds kTooFast = 9;          // the log line differs from that of kNotYet
constexpr Seconds kNotYet = 30;          // no second order is sent within this time
constexpr Seconds kDownload = 79;        // after an order the device is taken to be downloading
constexpr Seconds kUpgradeTime = 240;    // a device that reports an upgrade is left alone
constexpr long kItemFormVersion = 1502;  // component version that takes an order with a file name
constexpr uint8_t kDownloadOption = 6;
constexpr uint8_t kTopoOption = 1;

bool isAdmitted(const Ieee1905DevTable& dev) {
    if (checkMACisApprove(dev.alMac.data(), dev.hostname.c_str()) == 0) return true;
    LOG(4, "Decvice(" MAC_FMT ") is not allow\r\n", MAC_ARGS(dev.alMac));
    return false;
}

bool isUpgradeOverdue(const MacAddr& alMac) {
    const FWupgradeEntry* entry = findFWupgradelist(alMac);
    return entry == nullptr || now() - entry->time > kUpgradeTime;
}

// Orders an upgrade if the versions differ. True if an order was sent.
bool orderOrNote(const Ieee1905DevTable& dev, const char* ownHostname, bool different) {
    if (different) {
        return sendEXdeviceFWCtrl(dev.alMac, dev.info.fwUpgradeVersion, ownHostname,
                                  dev.hostname.c_str()) == kOk;
    }
    addFWupgradelistHistory(dev.alMac, 0);
    return false;
}

// Orders an upgrade if the device's state allows it. True if an order was sent.
bool upgrade(const Ieee1905DevTable& dev, int32_t mode) {
    LOG(4,
        "alMac : [" MAC_FMT "], Hostname = [%s], firmwareversion = [%s], firmwareStatus  = [%d]\n",
        MAC_ARGS(dev.alMac), dev.hostname.c_str(), dev.firmwareVersion.c_str(), dev.firmwareState);
    if (!isAdmitted(dev)) return false;
    const std::string ownHostname(getAlTable()->hostname.view());
    char version[PLATFORM_FW_TEXT_LEN] = {};
    if (getNewFWVersionByPlatform(ownHostname.c_str(), dev.hostname.c_str(), version) != 0) {
        LOG_PUTS(4, "Not checkEXdeviceFWVersion");
        return false;
    }
    version[sizeof version - 1] = '\0';
    const bool different = dev.firmwareVersion != std::string_view(version);
    switch (dev.firmwareState) {
        case PLATFORM_FW_IDLE:
            return orderOrNote(dev, ownHostname.c_str(), different);
        case PLATFORM_FW_FAILED:
            if (mode != 1 && mode != 2 && mode != 4) return false;
            if (!different && mode != 4) (void)sendFWCtrlTodevice(dev.alMac, 0, 0, nullptr);
            return orderOrNote(dev, ownHostname.c_str(), different);
        case PLATFORM_FW_UPGRADE:
            return isUpgradeOverdue(dev.alMac) && orderOrNote(dev, ownHostname.c_str(), different);
        default:
            return false;
    }
}

// True if the device is ready to reboot, or has nothing to upgrade. In any other state the device
// is asked for it again.
bool isReady(const Ieee1905DevTable& dev) {
    if (dev.firmwareState == PLATFORM_FW_REBOOT) return true;
    if (dev.firmwareState == PLATFORM_FW_IDLE || dev.firmwareState == PLATFORM_FW_FAILED) {
        const FWupgradeEntry* entry = findFWupgradelist(dev.alMac);
        return entry == nullptr || entry->state == kFWupgradeNone ||
               entry->state == kFWupgradeFinished;
    }
    (void)sendFWStatechangeRequest(dev.alMac);
    return false;
}

std::vector<uint8_t> textItem(const char* text) {
    const std::string_view all(text);
    const std::string_view line = all.substr(0, all.find('\n'));
    return {line.begin(), line.end()};
}

// The order in the form whose values are items.
VendPayload itemForm(const char* url, const char* fileName) {
    FwCtrl2Req request;
    request.items = {{kFwOption, {kDownloadOption}}, {kFwTopoOption, {kTopoOption}}};
    if (*url != '\0') request.items.push_back({kFwUrl, textItem(url)});
    if (*fileName != '\0') request.items.push_back({kFwFileName, textItem(fileName)});
    return request;
}

// True if the last order to the device is too recent for another one.
bool isTooSoon(const MacAddr& alMac) {
    const FWupgradeEntry* entry = findFWupgradelist(alMac);
    if (entry == nullptr) return false;
    const Seconds age = now() - entry->time;
    if (age <= kTooFast) {
        LOG_PUTS(4, "Not to do FW upgrade, retry to fast");
    } else if (age <= kNotYet) {
        LOG_PUTS(4, "Not to do FW upgrade");
    } else {
        (void)addFWupgradelist(alMac, kFWupgradeSetTime, static_cast<long>(now()));
    }
    return age <= kNotYet;
}

void orderReboot(const MacAddr& alMac) {
    LOG(4, "send reboot(" MAC_FMT ")\n", MAC_ARGS(alMac));
    Outputlog("[FWupgrade] send Reboot to (" MAC_FMT ")", MAC_ARGS(alMac));
    uint16_t msgId = 0;
    (void)sendVendMsg(alMac, VEND_MSG_TYPE_REBOOT_REQ, AlMacPayload{alMac}, &msgId);
    (void)setRebootCtrlList(&alMac, msgId, 1);
}

}  // namespace

int checkEXdeviceFWVersion(int32_t mode) {
    int sent = 0;
    for (const auto& dev : getIeee1905DevTables()) sent += upgrade(dev, mode) ? 1 : 0;
    return sent > 0 ? kOk : kFailure;
}

int checkEXdeviceFWStateIsReady(void) {
    const auto& devs = getIeee1905DevTables();
    if (devs.empty()) return kFailure;
    size_t ready = 0;
    for (const auto& dev : devs) ready += isReady(dev) ? 1 : 0;
    if (countFWupgradelist(kDownload) != 0) {
        LOG_PUTS(4, "Some device not ready !!!!");
        return kFailure;
    }
    LOG(4, "FWstateready_flag(%d) Vs topolTable->ieee1905DevNum(%d) \n", static_cast<int>(ready),
        static_cast<int>(devs.size()));
    return ready == devs.size() ? sendEXdeviceReboot() : kFailure;
}

int sendEXdeviceFWCtrl(const MacAddr& alMac, std::string_view version, const char* ownHostname,
                       const char* hostname) {
    const std::string versionText(version);
    LOG(4, "alMac = " MAC_FMT ", Version_FwUpgrade = [%s]\n", MAC_ARGS(alMac), versionText.c_str());
    if (isTooSoon(alMac)) return kFailure;
    char url[PLATFORM_FW_URL_LEN] = {};
    char fileName[PLATFORM_FW_FILE_NAME_LEN] = {};
    if (getDownloanURL(ownHostname, hostname, url, fileName) != 0) return kFailure;
    url[sizeof url - 1] = fileName[sizeof fileName - 1] = '\0';
    LOG(5, "send DownloanURL(%s)\n", plainText(url).c_str());
    (void)addFWupgradelist(alMac, kFWupgradeSetState, kFWupgradeOrdered);
    (void)addFWupgradelist(alMac, kFWupgradeSetSent, 1);
    (void)set_vsftpd_StartStop(1);
    addFWupgradelistHistory(alMac, 1);
    Outputlog("[FWupgrade] send (URL:%s)(FileName:%s) to (" MAC_FMT ")", plainText(url).c_str(),
              plainText(fileName).c_str(), MAC_ARGS(alMac));
    // Meant: exactly this version of the component, not a later one, takes the item form.
    if (strtol(versionText.c_str(), nullptr, 10) == kItemFormVersion) {
        (void)sendVendMsg(alMac, VEND_MSG_TYPE_FW_CTRL_2_REQ, itemForm(url, fileName));
    } else {
        (void)sendFWCtrlTodevice(alMac, kDownloadOption, kTopoOption, url);
    }
    return kOk;
}

int sendEXdeviceReboot(void) {
    int unfinished = 0;
    for (const auto& dev : getIeee1905DevTables()) {
        const FWupgradeEntry* entry = findFWupgradelist(dev.alMac);
        const int32_t state = entry != nullptr ? entry->state : kFWupgradeFinished;
        if (state != kFWupgradeFinished) unfinished++;
        if (dev.firmwareState == PLATFORM_FW_REBOOT && state == kFWupgradeNone) {
            orderReboot(dev.alMac);
        }
    }
    return unfinished == 0 ? kOk : kFailure;
}

int sendFWStatechangeRequest(const MacAddr& alMac) {
    const MacAddr* own = getAlMac();
    if (own == nullptr) return kFailure;
    return sendVendMsg(alMac, VEND_MSG_TYPE_FWSTATECHANGE_REQ, AlMacPayload{*own});
}

int sendFWCtrlTodevice(const MacAddr& alMac, uint8_t fwOption, uint8_t fwTopoOption,
                       const char* url) {
    FwCtrlReq request;
    request.fwOption = fwOption;
    request.fwTopoOption = fwTopoOption;
    if (url != nullptr) request.fwUrl = url;
    return sendVendMsg(alMac, VEND_MSG_TYPE_FW_CTRL_REQ, std::move(request));
}

int updateFWUpgradeStatus(int32_t value1, int32_t value2) {
    uint32_t status = 0;
    if (getfirmwareStatus(value1, value2, &status) != 0) return kOk;
    LOG(4, "FW upgrade status = %d\r\n", static_cast<int>(status));
    return updateNewFWUpgradeStatus(status);
}
