// What vm1905.json has and the channel has not: names, the settings that devices report, and the
// Wi-Fi side of links.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mac.h"
#include "report.h"

// The Wi-Fi link of a station, as its device reported it.
struct WifiLink {
    int64_t rate = 0, rssi = 0, signal = 0;
    std::string tx, rx, connType;
};

struct ModelInterface {
    std::string name, media;  // empty: unknown; media without the explanation in parentheses
    Mac mac;
};

struct ModelNeighbor {
    Mac localIntf;  // zero: unknown
    Mac alMac;      // zero for a host
    Mac intf;
    std::string media;
    std::optional<WifiLink> wifi;
};

struct ModelDevice {
    Mac alMac;
    Json members;  // the whole object, as in the file
    std::vector<ModelInterface> interfaces;
    std::vector<ModelNeighbor> neighbors;

    std::string text(const char* member) const;  // empty if missing or "Unknown"
    const ModelInterface* intf(const Mac& mac) const;
};

struct DataModel {
    ModelDevice own;
    std::vector<ModelDevice> devices;
    std::map<Mac, std::string> lost;  // names of devices that have left, from vm1905_lost.json
    std::string trouble;              // why it could not be read; empty if it was

    const ModelDevice* find(const Mac& alMac) const;
};

// The value of a key in the daemon's configuration file; empty if it is missing.
std::string configured(std::string_view key,
                       const std::string& configuration = "/etc/vm1905/vm1905.conf");

// The path to which the daemon with this configuration file writes it.
std::string dataModelPath(const std::string& configuration = "/etc/vm1905/vm1905.conf");

// Reads the names of lost devices from the same folder, too. Never throws: if the file cannot be
// read, the model is empty and trouble says why.
DataModel readDataModel(const std::string& path);

// The same for the text of a file.
DataModel parseDataModel(std::string_view text);

// Reads a file of the daemon. Returns what is wrong with it, empty if nothing is. A file of another
// user than root, the daemon's and this one is not believed.
std::string readDaemonFile(const std::string& path, std::string& text);
// What a text in JSON has up to the usual depth; discarded if it is not JSON.
Json parseJson(std::string_view text);
