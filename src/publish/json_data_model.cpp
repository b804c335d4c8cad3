#include "publish/json_data_model.h"

#include <algorithm>

#include "base/result.h"
#include "db/database.h"
#include "platform/autoconfig.h"
#include "publish/data_model_files.h"
#include "publish/json_autoconfig.h"
#include "publish/json_device.h"
#include "publish/json_device_info.h"
#include "publish/json_writer.h"
#include "publish/labels.h"

namespace {

// Usual sizes of a device and of a neighbor in bytes, to reserve the text. In a large mesh nearly
// all of it is neighbors, because every device may hear every other.
constexpr size_t kDeviceSize = 3000;
constexpr size_t kNbrSize = 270;

size_t expectedSize(const TopolTable* topol) {
    size_t size = kDeviceSize;
    if (topol == nullptr) return size;
    for (const auto& dev : topol->devs) {
        size += kDeviceSize + kNbrSize * (dev.ieee1905NbrNum() + dev.non1905NbrNum());
    }
    return size;
}

void writeLowerLayers(JsonWriter& out, size_t intfNum) {
    out.key("LowerLayers");
    out.append("[ ");
    for (size_t number = 1; number <= intfNum; number++) {
        out.append(number == 1 ? "" : ", ").appendQuoted("Interface." + std::to_string(number));
    }
    out.append(" ]");
}

void writeAlMembers(JsonWriter& out, const AlTable& al) {
    out.mac("IEEE1905Id", al.alMac);
    out.text("Status", alStatusLabel(al.operStatus));
    out.number("LastChange", now() - al.lastChange);
    writeLowerLayers(out, al.intfs.size());
    out.number("InterfaceNumberOfEntries", static_cast<int64_t>(al.intfs.size()));
    out.boolean("EnableReboot", al.enableRebootFromNbr == 1);
    out.boolean("EnableInterfacePowerControl", al.enableIntfPwrCtrlFromNbr == 1);
    out.text("DeviceMode", al.deviceMode);
    out.text("FirmwareState", firmwareStateLabel(al.fwUpgradeStatus));
    writeReleaseAndLed(out, al.releaseVersion, al.releaseVersionGit, al.info);
    out.text("DeviceType", roleLabel(al.role()));
    out.text("DaisychainOption", al.info.daisychainOption);
    if (al.role() != PLATFORM_REGISTRAR) out.number("AP-autoconfig_WiFiReload", al.wifiReload);
    writeSettings(out, al.buildNumber, al.info);
    out.number("Approveflag", al.approveFlag);
    writeChannels(out, al.info);
    writeAddressesAndVersions(out, al.info);
}

void writeOwnIntfs(JsonWriter& out, const AlTable& al) {
    size_t number = 0;
    for (const auto& intf : al.intfs) {
        out.beginObject("Interface.", ++number);
        out.text("InterfaceName", plainText(intf.name));
        out.mac("InterfaceId", intf.mac);
        out.text("MediaType", intfMediaLabel(intf.mediaType, intf.name));
        out.text("PowerState", pwrStateLabel(intf.pwrState));
        out.end();
    }
}

void writeTopology(JsonWriter& out, const AlTable& al, const TopolTable& topol) {
    DataModel model{al, Hearings(al, topol)};

    out.beginObject("NetworkTopology");
    out.boolean("Enable", topol.enable == 1);
    out.text("Status", topolStatusLabel(topol.status));
    out.number("IEEE1905DeviceNumberOfEntries", topol.ieee1905DevNum());
    size_t number = 0;
    for (const auto& dev : topol.devs) writeIeee1905Device(out, model, dev, ++number);
    out.end();
}

void writeSecurity(JsonWriter& out, const SecurityTable& security) {
    const auto end = std::find(security.value.begin(), security.value.end(), 0);
    out.beginObject("Security");
    out.text("SetupMethod", setupMethodLabel(security.mode));
    out.text("Password", std::string(security.value.begin(), end));
    out.end();
}

}  // namespace

std::string renderJsonDataModel(const AlTable* al, const TopolTable* topol,
                                const SecurityTable* security) {
    JsonWriter out(expectedSize(topol));
    out.begin();
    out.beginObject("Device");
    out.beginObject("X_5E1F09_IEEE1905");
    if (al == nullptr) return out.append("\n").take();

    out.beginObject("AL");
    writeAlMembers(out, *al);
    writeOwnIntfs(out, *al);
    if (topol != nullptr) writeTopology(out, *al, *topol);
    // Meant: without the security object the closing braces are missing too.
    if (security == nullptr) return out.take();
    writeSecurity(out, *security);
    for (int open = 0; open < 4; open++) out.end();
    return out.append("\n").take();
}

int writeJsonDataModel() {
    writeDataModelFile("vm1905.json", [] {
        const AlTable* al = getAlTable();
        return al != nullptr ? renderJsonDataModel(al, getNetTopolTable(), getSecurityTable())
                             : renderJsonDataModel(nullptr, nullptr, nullptr);
    });
    return writeJsonAPautoconfig();
}
