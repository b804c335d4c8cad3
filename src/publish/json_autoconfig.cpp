#include "publish/json_autoconfig.h"

#include <array>
#include <string_view>

#include "base/result.h"
#include "db/database.h"
#include "db/wifi_bands.h"
#include "platform/autoconfig.h"
#include "publish/data_model_files.h"
#include "publish/json_writer.h"
#include "publish/labels.h"

namespace {

constexpr size_t kColumn = 19;

// In the order of ApAutoConfTimes.
constexpr std::array<std::string_view, kApAutoConfTimes> kTimeKeys{
    "Main24G_time",      "Main5G_time",       "Guest24G_time",      "Guest5G_time",
    "Visitor24G_time",   "Visitor5G_time",    "Backhaul24GAP_time", "Backhaul24GST_time",
    "Backhaul5GAP_time", "Backhaul5GST_time", "Backhaul5G2AP_time", "Backhaul5G2ST_time"};

void writeOwnState(JsonWriter& out, const AlTable& al) {
    // Meant: the key of the guest network on 5 GHz is "Guest4G" here.
    static constexpr std::array<std::string_view, 4> kKeys{"Main24G", "Main5G", "Guest24G",
                                                           "Guest4G"};
    for (size_t i = 0; i < kKeys.size(); i++) out.numbers(kKeys[i], al.wpsBandConfig[i], kColumn);
    for (size_t i = 0; i < kApAutoConfTimes; i++) {
        out.text(kTimeKeys[i], al.apAutoConfTimes[i], kColumn);
    }
}

void writeDeviceState(JsonWriter& out, const Ieee1905DevTable& dev, size_t number) {
    out.beginObject("IEEE1905Device.", number);
    out.mac("IEEE1905Id", dev.alMac);
    out.text("DeviceType", roleLabel(dev.role));
    if (dev.role != PLATFORM_REGISTRAR) {
        std::array<uint8_t, kWifiBands.size()> flags{};
        for (size_t i = 0; i < kWifiBands.size(); i++) {
            (void)getAPautoconfigFlag(dev, kWifiBands[i], flags[i]);
        }
        out.numbers("AP-autoconfig_Sync", flags);
    }
    static constexpr std::array<std::string_view, 4> kKeys{
        "AP-autoconfig_Main24G", "AP-autoconfig_Main5G", "AP-autoconfig_Guest24G",
        "AP-autoconfig_Guest5G"};
    for (size_t i = 0; i < kKeys.size(); i++) out.numbers(kKeys[i], dev.apAutoConf.counters[i]);
    // Meant: the station of each backhaul comes before its AP, unlike above.
    static constexpr std::array<size_t, kApAutoConfTimes> kOrder{0, 1, 2, 3, 4,  5,
                                                                 7, 6, 9, 8, 11, 10};
    for (const size_t i : kOrder) out.text(kTimeKeys[i], dev.apAutoConf.times[i], kColumn);
    out.end();
}

}  // namespace

int getAPautoconfigFlag(const Ieee1905DevTable& dev, uint8_t band, uint8_t& flag) {
    const auto index = bandIndex(band);
    if (!index) return kFailure;
    flag = dev.apAutoConf.syncFlags[*index];
    return kOk;
}

std::string renderJsonAPautoconfig(const AlTable* al, const TopolTable* topol) {
    if (al == nullptr) return {};
    JsonWriter out(1500 * (1 + (topol != nullptr ? topol->devs.size() : 0)));
    out.begin();
    out.mac("IEEE1905Id", al->alMac);
    out.text("DeviceType", roleLabel(al->role()));
    writeOwnState(out, *al);
    out.beginObject("NetworkTopology");
    out.number("IEEE1905DeviceNumberOfEntries", topol != nullptr ? topol->ieee1905DevNum() : 0);
    if (topol != nullptr) {
        size_t number = 0;
        for (const auto& dev : topol->devs) writeDeviceState(out, dev, ++number);
    }
    out.end();
    out.end();
    return out.append("\n").take();
}

int writeJsonAPautoconfig() {
    writeDataModelFile("vm1905_APautoconfig.json", [](const WritePieces& write) {
        const std::string text = renderJsonAPautoconfig(getAlTable(), getNetTopolTable());
        write(std::array{std::string_view(text)}, {});
    });
    return kOk;
}
