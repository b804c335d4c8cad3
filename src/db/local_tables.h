// The tables that describe this device: interfaces, the neighbours that the platform reports on
// them, bridging tuples.
//
// Unless told otherwise, updaters return kChanged when something changed (the rewrite of the data
// model has then been requested), kNothingChanged when nothing did or the target was not found.
#pragma once

#include <string_view>
#include <vector>

#include "db/records.h"
#include "platform/descriptions.h"

// Fill the tables from the platform. kOk, or the platform's failure code.
[[nodiscard]] int retrieveIntfTable(AlTable& al);
[[nodiscard]] int retrieveBrdgTupleTable(AlTable& al);

int updateAlMac(const MacAddr& alMac);
// Finds the interface by its name alone, replaces its MAC and reopens the ports.
int updateIntfMac(std::string_view name, const MacAddr& oldMac, uint32_t mediaType,
                  const MacAddr& newMac);
int updateIntfPwrState(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                       uint32_t newState);
int updateIntfOperStatus(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                         uint32_t newStatus);
int updateIntfMediaType(const MacAddr& mac, uint32_t oldMediaType, uint32_t newMediaType,
                        const MediaInfo& mediaInfo);

// Pass a power state (0 on ... ) on to the platform; its result.
int setIntfPwrStateByMediaType(uint32_t mediaType, uint32_t state);
int setIntfPwrStateByMac(const MacAddr& mac, uint32_t mediaType, uint32_t state);

// Adds every description that is not in the table yet, by name, MAC and media type. kFailure when
// a description lacks what its counts promise. The descriptions stay the caller's.
int addIntf(const IntfDesc* list);
// Removes every interface that is described.
int removeIntf(const IntfDesc* list);
// Neighbour interfaces of a local interface, named by its name; macs are 6-byte neighbour
// interface MACs. kNoLocalIntf when the interface is unknown.
int addIntfNbrIntf(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                   const std::vector<MacAddr>& macs);
int removeIntfNbrIntf(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                      const std::vector<MacAddr>& macs);
// Fetches the bridging tuples again. kChanged or kFailure.
int requestUpdateBrdgCap();

// Makes room for one more neighbour. When the table is full the oldest neighbour that is no 1905
// device gives way: those never age, and frames with made-up addresses bring them. False when
// there is none.
[[nodiscard]] bool makeNbrRoom(IntfTable& intf, const MacAddr& newcomer);
