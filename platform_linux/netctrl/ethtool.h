// What a network driver says about its wired link.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Present speed in Mb/s; none when the driver does not know it or the link is down.
std::optional<uint32_t> linkSpeed(const std::string& ifname);

// IEEE 1905.1 media type of a wired interface. It follows from what the interface can do, not from
// its present speed, so that it does not change each time a cable is pulled.
uint32_t ethernetMediaType(const std::string& ifname);
