// The radios that hostapd runs, each with one or more BSSs.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hostapd/control.h"
#include "hostapd/radios.h"

struct HostapdRadio {
    std::vector<HostapdBss> bss;              // those that have a control socket
    std::unique_ptr<HostapdControl> control;  // of the first one
    std::string band;                         // "2.4", "5" or "6"; empty if unknown
    size_t place = 0;                         // among the radios of its band
    bool isOn = false;
    uint32_t channel = 0;
    uint32_t frequency = 0;  // MHz; 0 while hostapd does not know it
    std::string country;     // empty if hostapd does not show it
};

// Sorted by the name of the first BSS, without BSSs of WIFI_BAND "none". Sets good to false if one
// does not answer.
std::vector<HostapdRadio> listRadios(const HostapdLog& log, bool& good);

// These set what hostapd does not have yet, and compare afterwards what it shows. A failure is
// logged. Setting a country code, and a channel to which the driver cannot switch, restarts a radio
// that is on, which disconnects its stations: hostapd uses them only when it starts a radio.
bool setRadioState(HostapdRadio& radio, bool on);
// Keeps the width of the channel if the new one can have it.
bool setRadioChannel(HostapdRadio& radio, uint32_t number);
// former is set again if the radio does not start with the code; empty if it is unknown.
bool setRadioCountry(HostapdRadio& radio, const std::string& code, const std::string& former);
