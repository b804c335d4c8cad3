// The items of a configuration response: what a device tells of itself, and where the others keep
// it. docs/vendor-protocol.md lists them.
#pragma once

#include <span>
#include <string>

#include "db/records.h"
#include "wire/vend_payloads.h"

struct ConfItem {
    uint8_t type;
    const char* name;   // of the member that shows it
    const char* width;  // "1", "2" or "text"; a text is sent only when it is not empty
    std::string (*read)(const AlTable& al);
    // The value is of any length and content.
    void (*store)(Ieee1905DevTable& dev, std::string_view value);
};

// In the order in which they are sent.
std::span<const ConfItem> confItems();

// The items of this device; those for which there is no room in a message are left out.
std::vector<Item> readConfItems(const AlTable& al);
// Stores the items of a response; unknown ones are ignored. Texts that it does not carry are empty
// at the sender.
void storeConfItems(Ieee1905DevTable& dev, const std::vector<Item>& items);

// The same for the second form, which carries the IPv6 addresses.
std::vector<Item> readIPv6Items();
void storeIPv6Items(Ieee1905DevTable& dev, const std::vector<Item>& items);
