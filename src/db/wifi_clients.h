// The Wi-Fi stations that remote devices report. A record is a text: its length in three decimal
// digits, then
// "{0=mac,1=media type,2=rate,3=RSSI,4=signal level,5=Tx,6=Rx,7=connection type,8=owner's AL MAC}".
#pragma once

#include <string>
#include <string_view>

#include "db/records.h"

// The record of a station, with its length in front.
[[nodiscard]] std::string wifiClientRecord(const WifiClient& client);

// Finds the station with this MAC in the device's list, or adds it, and marks it as just heard. A
// full list drops the station that was silent longest.
WifiClient& touchWifiClient(Ieee1905DevTable& dev, const MacAddr& mac);

// Stores the records of a chunk. False at the first record that is malformed; those before it are
// stored.
[[nodiscard]] bool storeWifiClients(Ieee1905DevTable& dev, std::string_view chunk);

// Drops the stations that the device has not reported for more than 35 seconds.
void dropSilentWifiClients(const Ieee1905DevTable& dev);
