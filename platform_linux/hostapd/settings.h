// The networks that a Registrar has given to this device, in a file that survives a restart.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "wsc/network.h"

// By number of the band. A band without networks has none any more; an absent one was never
// configured.
using BandNetworks = std::map<uint8_t, std::vector<WifiNetwork>>;

// The text of such a file: that of a wifi.conf after a line that names the bands.
std::string writeSettings(const BandNetworks& bands);
// None if it is no such text.
std::optional<BandNetworks> parseSettings(std::string_view text);

// The networks in settingsFile(), replaced by those in wifi-NUMBER.conf in the daemon's own folder,
// which are newer. Writes the file if they differ. False if that fails or the file was wrong.
bool updateSettings(BandNetworks& bands);
