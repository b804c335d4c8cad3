// The networks that a Registrar has given to this device.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "wsc/network.h"

struct ReceivedNetworks {
    const WifiBand* band = nullptr;
    std::string updateTime;             // the Registrar's text; empty if it sent none
    std::vector<WifiNetwork> networks;  // empty: the band has no network any more
};

// How an attempt to set them ended: empty, or why it failed. Further attempts follow until one
// succeeds.
using NetworksTried = std::function<void(const std::string& trouble)>;

// Puts them into effect in place of the former ones of the band: writes them to wifi-NUMBER.conf in
// the daemon's own folder and runs the hook autoconf-networks, or without it gives them to hostapd.
// tried is called after each attempt. False if they cannot be written; tried is then called at
// once, and for the last time.
bool applyNetworks(const ReceivedNetworks& received, const NetworksTried& tried = {});

// WIFI_SETTINGS_FILE of platform.conf, else /etc/vm1905/wifi-received.conf: there the networks that
// hostapd got survive a restart of the device. It is a wifi.conf, and belongs to root.
std::string settingsFile();

// Shows what this device received before it was restarted (wifi_report.h).
void recallNetworks();

// Call once a second: runs the hook for the bands that wait for it.
void tickNetworks();

// Forgets when they were configured, and which bands wait.
void dropNetworks();
