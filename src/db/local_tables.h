// The tables that describe this device: interfaces, the neighbors that the platform reports on
// them, and bridging tuples.
//
// Unless described otherwise, an update returns kChanged if it changed something, and has then
// requested a data-model rewrite and a topology notification; it returns kNothingChanged if nothing
// changed or the target was not found.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "db/records.h"
#include "platform/descriptions.h"

// Fill the tables from the platform. kOk, or the result of the platform call that failed.
[[nodiscard]] int retrieveIntfTable(AlTable& al);
[[nodiscard]] int retrieveBrdgTupleTable(AlTable& al);

// Sets the AL MAC of this device.
int updateAlMac(const MacAddr& alMac);
// Set the MAC (and reopen the ports), the power state or the status of an interface. They find it
// by its name alone; newState and newStatus are those of platform/descriptions.h.
int updateIntfMac(std::string_view name, const MacAddr& oldMac, uint32_t mediaType,
                  const MacAddr& newMac);
int updateIntfPwrState(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                       uint32_t newState);
int updateIntfOperStatus(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                         uint32_t newStatus);
// Sets the media type and media-specific information of the interface with this MAC and media type.
int updateIntfMediaType(const MacAddr& mac, uint32_t oldMediaType, uint32_t newMediaType,
                        const MediaInfo& mediaInfo);

// Order a power state (IntfTable::pwrState) from the platform, for all interfaces of a media type
// or for one interface. The result of the platform.
int setIntfPwrStateByMediaType(uint32_t mediaType, uint32_t state);
int setIntfPwrStateByMac(const MacAddr& mac, uint32_t mediaType, uint32_t state);

// Adds the described interfaces that the table does not have yet; name, MAC and media type identify
// an interface. kFailure without a database, or at a description that announces media information
// or neighbors and has a null pointer for them. The caller keeps the descriptions.
int addIntf(const IntfDesc* list);
// Removes the described interfaces.
int removeIntf(const IntfDesc* list);
// Add or remove neighbor interfaces of a local interface, which is found by its name alone.
// kNoLocalIntf if it is unknown.
int addIntfNbrIntf(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                   std::span<const MacAddr> macs);
int removeIntfNbrIntf(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                      const std::vector<MacAddr>& macs);
// Replaces the bridging tuples with those of the platform. kChanged, or kFailure without a database
// or if the platform fails; the old tuples are gone in that case.
int requestUpdateBrdgCap();

// Makes room for newcomer among the neighbors of an interface. In a full table the oldest neighbor
// that is no 1905 device gives way, else one whose device never answered: frames with forged
// addresses create both. False if there is no such neighbor.
[[nodiscard]] bool makeNbrRoom(IntfTable& intf, const MacAddr& newcomer);
