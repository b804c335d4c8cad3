// The items of a configuration response: what a device says about itself, and where the other
// devices store it. docs/vendor-protocol.md lists them.
#pragma once

#include <span>
#include <string>

#include "db/records.h"
#include "wire/vend_payloads.h"

struct ConfItem {
    uint8_t type;
    const char* name;   // of the member in vm1905.json that shows it
    const char* width;  // bytes, "1" or "2", or "text"; an empty text is not sent
    // The value of this device.
    std::string (*read)(const AlTable& al);
    // Stores a received value, which may have any length and content.
    void (*store)(Ieee1905DevTable& dev, std::string_view value);
};

// All items, in the order in which they are sent.
std::span<const ConfItem> confItems();

// The items of this device. Items that do not fit into one message are left out.
std::vector<Item> readConfItems(const AlTable& al);
// Stores the items of a response. Unknown items are ignored; a missing text becomes empty, as it is
// at the sender.
void storeConfItems(Ieee1905DevTable& dev, const std::vector<Item>& items);

// The same for the second form, whose items are the IPv6 addresses.
std::vector<Item> readIPv6Items();
void storeIPv6Items(Ieee1905DevTable& dev, const std::vector<Item>& items);
