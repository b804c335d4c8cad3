// What nl80211 reports about wireless interfaces.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "api.h"
#include "netctrl/netlink.h"

struct WifiInfo {
    bool onChannel;                // false while the radio is off; mediaType is then a guess
    uint32_t mediaType;            // IEEE 1905.1 media-type code
    std::array<uint8_t, 10> info;  // its media-specific information
    uint32_t frequency;            // MHz of its primary channel, 0 while the radio is off
    bool hasStations;              // an access point or mesh point
    bool meshPoint;
};

// Reads the answer to NL80211_CMD_GET_INTERFACE; none if it is not about a wireless interface.
std::optional<WifiInfo> parseWifiInterface(nlmsghdr* message);

// Reads one station of the answer to NL80211_CMD_GET_STATION, without what depends on the radio
// (media type, connection type); none if it is not about a station.
std::optional<WifiStation> parseWifiStation(nlmsghdr* message);

// The usual standard of the band, since the frequency (MHz) alone does not determine it.
// MEDIA_TYPE.<interface> in platform.conf overrides it.
uint32_t mediaTypeOf(uint32_t frequency);
// Sets RSSI and signal level.
void setStrength(int dbm, WifiStation& station);
// A bit rate in units of 100 kb/s, as text; empty if it is 0.
std::string rateText(uint32_t rate);

// The name of the network that the stations of a radio are in: WIFI_ROLE of platform.conf, else
// made from the kind of radio and the band of its frequency (MHz), such as "Main_5G".
std::string connTypeOf(const std::string& ifname, uint32_t frequency, bool meshPoint);

// The channels at these frequencies (MHz, 0 for none). Of several 5 GHz channels the lowest is
// band5 and the highest band5High. 6 and 60 GHz have no field.
WifiChannels channelsOf(std::vector<uint32_t> frequencies);

class Nl80211 {
  public:
    // Looks nl80211 up in the kernel; without it no interface is wireless. The limit is for each
    // request.
    explicit Nl80211(std::chrono::milliseconds limit = std::chrono::seconds(1));
    bool isThere() const { return family_.has_value(); }
    // None if the interface is not wireless or the request fails.
    std::optional<WifiInfo> query(int ifindex);
    // The stations of a wireless interface; empty if the request fails.
    std::vector<WifiStation> stations(int ifindex);

  private:
    // Keeps the socket until a request fails.
    void request(int type, int flags, std::span<const uint8_t> payload,
                 const NetlinkSocket::OnMessage& take);

    std::chrono::milliseconds limit_;
    std::optional<NetlinkSocket> socket_;
    std::optional<uint16_t> family_;
};
