// What the daemon writes into vm1905.json: names, the settings that devices tell of themselves, and
// the Wi-Fi side of links, none of which the channel tells.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mac.h"
#include "report.h"

// How a station hears its access point, as the device reported it.
struct WifiLink {
    int64_t rate = 0, rssi = 0, signal = 0;
    std::string tx, rx, connType;
};

struct ModelInterface {
    std::string name, media;  // empty: unknown. media is the label without its explanation
    Mac mac;
};

struct ModelNeighbor {
    Mac localIntf;  // zero: not told
    Mac alMac;      // zero for what is no 1905 device
    Mac intf;
    std::string media;
    std::optional<WifiLink> wifi;
};

struct ModelDevice {
    Mac alMac;
    Json members;  // the whole object, as it stands in the file
    std::vector<ModelInterface> interfaces;
    std::vector<ModelNeighbor> neighbors;

    std::string text(const char* member) const;  // empty: not there, or not known
};

struct DataModel {
    ModelDevice own;
    std::vector<ModelDevice> devices;
    std::string trouble;  // why nothing was read; empty when something was

    const ModelDevice* find(const Mac& alMac) const;
};

// Where the daemon of this device writes it, by its configuration file.
std::string dataModelPath(const std::string& configuration = "/etc/vm1905/vm1905.conf");

// Never fails: what cannot be read is missing, and trouble says so.
DataModel readDataModel(const std::string& path);

// The same of the text of such a file.
DataModel parseDataModel(std::string_view text);
