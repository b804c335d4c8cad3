// The Wi-Fi stations that remote devices report, as texts: three decimal digits of length, then
// "{0=mac,1=media type,2=rate,3=RSSI,4=signal level,5=Tx,6=Rx,7=connection type,8=owner's AL MAC}".
#pragma once

#include <string>
#include <string_view>

#include "db/records.h"

// The text of a station, its length included.
[[nodiscard]] std::string wifiClientRecord(const WifiClient& client);

// The device's record of a station, made when there is none; it counts as just heard of.
WifiClient& touchWifiClient(Ieee1905DevTable& dev, const MacAddr& mac);

// Stores the records of a chunk. False when part of it is not understood.
[[nodiscard]] bool storeWifiClients(Ieee1905DevTable& dev, std::string_view chunk);

// Drops the stations of which the device has not told for a while.
void dropSilentWifiClients(Ieee1905DevTable& dev);
