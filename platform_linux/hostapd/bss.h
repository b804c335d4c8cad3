// One BSS of hostapd: what it runs, and how it gets a network.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "hostapd/control.h"
#include "wsc/network.h"

// The lines NAME=value of an answer, which is erased after use because it may show a key.
class HostapdValues {
  public:
    explicit HostapdValues(std::string answer);
    ~HostapdValues();
    HostapdValues(const HostapdValues&) = delete;
    HostapdValues& operator=(const HostapdValues&) = delete;

    // Empty if there is no such line.
    std::string_view value(std::string_view name) const;
    // Whether the value is this one, or hostapd does not show it.
    bool mayBe(std::string_view name, std::string_view expected) const;

  private:
    std::string answer_;
    std::map<std::string_view, std::string_view> values_;
};

// An SSID as hostapd writes it: printable ASCII, other bytes escaped.
std::string ssidText(Bytes ssid);

// Gives the network to the BSS, which is restarted with it, and compares what it runs then. The
// stations of its radio are disconnected. If the radio is off, it is switched on unless staysOff. A
// failure is logged.
bool setBss(HostapdControl& control, const WifiNetwork& network, bool staysOff = false);
// Whether the BSS runs the network, as far as hostapd shows it. None if it does not answer.
std::optional<bool> runsNetwork(HostapdControl& control, const WifiNetwork& network);

// Ends a BSS that has no network. Its radio goes on if it has others.
bool disableBss(HostapdControl& control);

// The channel in use; empty if there is none.
std::string channelOf(HostapdControl& control);
