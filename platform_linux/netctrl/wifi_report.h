// wifi.json in the daemon's own folder: the Wi-Fi networks of this device, its radios that hostapd
// runs, how its exchanges with other devices went, and its own stations. It has no keys.
#pragma once

#include <string>
#include <vector>

#include "api.h"
#include "base/mac_addr.h"
#include "wsc/wifi_conf.h"

enum class WifiExchange {
    kAsking,        // an Enrollee waits for the M2
    kConfigured,    // it has them
    kGiven,         // a Registrar has sent them
    kAcknowledged,  // and the Enrollee has acknowledged a renew
    kFailed,
};

// How the last exchange with the device with this AL MAC went. band is nullptr if it is unknown.
void noteExchange(const MacAddr& alMac, const WifiBand* band, WifiExchange state,
                  const std::string& reason = {});
// The networks that an Enrollee has received for a band, and the file that has them.
void noteReceived(const WifiBand& band, const std::string& file, const WifiConf& networks);
// The networks of a Registrar have changed.
void noteWifiFileChange();
// The stations of the access points of this device.
struct OwnStation {
    std::string ifname;  // of the access point; empty if it is unknown
    WifiStation station;
};
void noteStations(std::vector<OwnStation> stations);

// Call once a second: writes the file if it has changed, because of the stations alone every ten
// seconds.
void publishWifi();
// Forgets everything and removes the file.
void dropWifiReport();
