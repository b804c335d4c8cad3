// The table of all programs that the library runs, hooks first. docs/platform.md lists the hooks.
#include "common/programs.h"

#include <array>

#include "hostapd/orders.h"
#include "hostapd/stations.h"
#include "hostapd/work.h"
#include "netctrl/confinement.h"
#include "netctrl/firmware_download.h"
#include "netctrl/firmware_install.h"
#include "netctrl/firmware_server.h"
#include "netctrl/isolate.h"
#include "netctrl/push_button.h"
#include "netctrl/wifi_file.h"

namespace {

using std::chrono::minutes;
using std::chrono::seconds;

// For settings that radios and networks apply slowly, and for files from the network.
constexpr seconds kSlow{30};
constexpr seconds kTransfer{300};

constexpr auto kPrograms = std::to_array<Program>({
    {"ap-steering", "n"},
    {"autoconf-networks", "n", kSlow},
    {"autoconf-renew", "mnnn"},
    {"autoconf-response", "mnnn"},
    {"autoconf-wsc", "mmxt"},
    {"beacon-report-get", "m"},
    {"beacon-report-request", "mmnnnnt"},
    {"blacklist-add", "m"},
    {"blacklist-remove", "m"},
    {"btm-request", "mmnnnn"},
    {"extender-config", "mt", kSlow},
    {"extender-config-get", ""},
    {"extender-firmware-url", "tt"},
    {"extender-firmware-version", "tt"},
    {"firmware", "nnwf"},
    {"firmware-install", "pf", kInstallLimit},
    {"ftp-server", "n"},
    {"led", "n"},
    {"log-file-fetch", "fwf", kTransfer},
    {"log-file-fetched", "mn"},
    {"log-file-publish", "m"},
    {"network", "nt", kSlow},
    {"new-firmware-date", ""},
    {"new-firmware-version", ""},
    {"push-button", "mnn*"},
    {"push-button-join", "mnmm"},
    {"reset-to-default", "", kSlow},
    {"security-m1", "mx"},
    {"security-m2", "mx"},
    {"security-start", ""},
    {"speed-test", "nntnnm"},
    {"speed-test-data", ""},
    {"speed-test-result", "mt"},
    {"stations", ""},
    {"system", "n", kSlow},
    {"wifi-channel-get", ""},
    {"wifi-channel-result", "mt"},
    {"wifi-channel-set", "mt", kSlow},
    {"wifi-country-code", "t"},
    {"wifi-state-get", ""},
    {"wifi-state-result", "mt"},
    {"wifi-state-set", "mt", kSlow},
    {"verified firmware", "tx", kInstallLimit, runInstall},
    {"firmware download", "wnn", kDownloadLimit, runDownload},
    {"firmware server", "af*", kServerLife, runServer},
    {"hostapd", "t", minutes(1), runHostapd},
    {"hostapd btm", "mmnnnn", seconds(5), runHostapdTransition},
    {"hostapd orders", "tt", minutes(1), runHostapdOrders},
    {"hostapd radios", "", seconds(5), runHostapdRadios},
    {"hostapd stations", "f*", seconds(5), runHostapdStations},
    {"adopt images", "", seconds(2), runAdopt},
    {"nft (isolate)", "", seconds(2), runIsolate},
    {"nft (remove)", "", seconds(2), runRemoveIsolation},
    {"push button", "", seconds(130), runPushButtons},
    {"restart", "", seconds(2), runRestart},
    {"wifi.conf", "", seconds(2), runWifiFile},
});

}  // namespace

std::span<const Program> programs() {
    return kPrograms;
}
