// What network drivers report about wired links.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Present speed in Mb/s; none if the driver does not know it or the link is down.
std::optional<uint32_t> linkSpeed(const std::string& ifname);

// IEEE 1905.1 media type of a wired interface. It depends on the supported speeds, not the present
// one, so that it does not change when a cable is pulled.
uint32_t ethernetMediaType(const std::string& ifname);
