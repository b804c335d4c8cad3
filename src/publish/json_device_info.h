// Groups of members that the objects of this device and of remote devices have in common.
#pragma once

#include <string_view>

#include "db/records.h"
#include "publish/json_writer.h"

// "ReleaseVersion" to "LEDBrightness". newerRelease, unless empty, replaces the older form of the
// release version.
void writeReleaseAndLed(JsonWriter& out, std::string_view release, std::string_view newerRelease,
                        const DeviceInfo& info);
// "NetworkState_dnsmasq" to "WIFICountryCode".
void writeSettings(JsonWriter& out, std::string_view buildNumber, const DeviceInfo& info);
// "WIFI24GChannel" to "WIFI5G2Channel".
void writeChannels(JsonWriter& out, const DeviceInfo& info);
// "IPv6IP" to "AppVersion".
void writeAddressesAndVersions(JsonWriter& out, const DeviceInfo& info);
