// What nl80211 says about a wireless interface.
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
    bool onChannel;                // false while the radio is off: then the media type is a guess
    uint32_t mediaType;            // IEEE 1905.1 media-type code
    std::array<uint8_t, 10> info;  // its media-specific information
    uint32_t frequency;            // MHz of its primary channel, 0 while the radio is off
    bool hasStations;              // an access point or mesh point
    bool meshPoint;
};

// Reads the answer to NL80211_CMD_GET_INTERFACE; none when it describes no wireless interface.
std::optional<WifiInfo> parseWifiInterface(nlmsghdr* message);

// Reads one station of the answer to NL80211_CMD_GET_STATION, but for what its radio tells (media
// type, connection type); none when it describes none.
std::optional<WifiStation> parseWifiStation(nlmsghdr* message);

// The name of the network that the stations of a radio are in: as platform.conf names it, else made
// of what the radio is and the band of its frequency (MHz), such as "Main_5G".
std::string connTypeOf(const std::string& ifname, uint32_t frequency, bool meshPoint);

// The channel numbers at these frequencies (MHz, 0 for none). The interfaces of one radio share a
// channel; of two 5 GHz channels the lower is band5, and of more than two the highest band5High.
// 6 and 60 GHz have no field.
WifiChannels channelsOf(std::vector<uint32_t> frequencies);

class Nl80211 {
  public:
    // Finds the kernel's nl80211; without it no interface is wireless. No request takes longer than
    // the limit.
    explicit Nl80211(std::chrono::milliseconds limit = std::chrono::seconds(1));
    bool isThere() const { return family_.has_value(); }
    // None when the interface is not wireless or cannot be asked.
    std::optional<WifiInfo> query(int ifindex);
    // The stations of a wireless interface; none when it cannot be asked.
    std::vector<WifiStation> stations(int ifindex);

  private:
    // On a socket that is kept until a request has failed on it.
    void request(int type, int flags, std::span<const uint8_t> payload,
                 const NetlinkSocket::OnMessage& take);

    std::chrono::milliseconds limit_;
    std::optional<NetlinkSocket> socket_;
    std::optional<uint16_t> family_;
};
