// wifi.conf of this device: /etc/vm1905/wifi.conf, or the file that the environment variable
// VM1905_WIFI_CONF names. It is read at the start and whenever it changes.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "wsc/wifi_conf.h"

// Reads the file. If it has errors, they are logged, and the networks remain as they were.
void readWifiFile();
// At the start: reads the file, unless a confined daemon has done so as root, and waits for
// changes.
void openWifiFile();
void closeWifiFile();

// Whether the device has such a file, even a wrong one.
bool hasWifiFile();
// The networks of a band; none if the file has been wrong since the start.
std::optional<std::vector<ConfiguredNetwork>> configuredNetworks(uint8_t band);
// A time as the devices of the mesh show it: the seconds since 1970 as ten digits.
std::string wifiTimeText(time_t time);
// When the file was last changed.
std::string wifiFileTime();

// Reads the file if it has changed. Returns the bands whose networks are different now.
std::vector<uint8_t> takeWifiChanges();
