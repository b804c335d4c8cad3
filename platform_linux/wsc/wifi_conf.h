// wifi.conf: the networks that a Registrar gives to its Enrollees. docs/platform.md describes it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wsc/network.h"

struct ConfiguredNetwork {
    std::string name;            // of its section
    std::vector<uint8_t> bands;  // numbers in kWifiBandTable
    WifiNetwork network;

    bool isOn(uint8_t band) const { return std::ranges::find(bands, band) != bands.end(); }
    friend bool operator==(const ConfiguredNetwork&, const ConfiguredNetwork&) = default;
};
using WifiConf = std::vector<ConfiguredNetwork>;

// Called with the number of a line, from 1, and what is wrong there.
using WifiComplaint = std::function<void(int line, const std::string& text)>;

// The networks in such a file, in their order. None if there is any complaint.
std::optional<WifiConf> parseWifiConf(std::string_view text, const WifiComplaint& complain);

// The authentication types as such a file names them.
std::string_view authenticationName(uint16_t types);

// The text of such a file. The networks must be ones that parseWifiConf or readSettings accepts.
std::string writeWifiConf(const WifiConf& conf);
