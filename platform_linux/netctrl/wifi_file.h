// wifi.conf of this device: /etc/vm1905/wifi.conf, or the file that the environment variable
// VM1905_WIFI_CONF names. It is read at the start and whenever it changes.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "common/programs.h"
#include "wsc/wifi_conf.h"

// Reads the file and waits for changes. Only the first call counts, which a confined daemon makes
// as root. If the file has errors, they are logged, and the networks remain as they were.
void openWifiFile();
void closeWifiFile();

// Whether the device has such a file, even a wrong one.
bool hasWifiFile();
// The networks of a band; none if the file has been wrong since the start.
std::optional<std::vector<ConfiguredNetwork>> configuredNetworks(uint8_t band);
// All of them; empty if there are none.
WifiConf allConfiguredNetworks();
std::string wifiFilePath();
// A time as the devices of the mesh show it: the seconds since 1970 as ten digits.
std::string wifiTimeText(time_t time);
// When the file was last changed.
std::string wifiFileTime();

// Reads the file if it has changed, through the helper where only root can read it. Returns the
// bands whose networks are different since the last call.
std::set<uint8_t> takeWifiChanges();

// The work of the program "wifi.conf": copies the file and its time to kWorkFile. Returns an errno
// if it cannot read the file.
int runWifiFile(const Arguments& args);
