// Link metrics of the local interfaces and towards the neighbour devices.
#pragma once

#include <optional>
#include <vector>

#include "db/records.h"

// The interface with a fresh link list, asked from the platform at most every 5 seconds (an empty
// answer is asked for again). nullptr when the interface is unknown or the platform fails.
IntfTable* getIntfLinkMetricsById(const MacAddr& mac, uint32_t mediaType);

// The link metrics of one interface, always fresh. kOk, or kFailure with table untouched.
int getIntfLinkTableById(const MacAddr& mac, uint32_t mediaType, LinkTable& table);

// One LinkTable per local interface in list order. kOk, or kFailure at the first failure of the
// platform.
int getLinkTableOfAllIntf(std::vector<LinkTable>& tables);

// For every neighbour device the links to it, possibly none. Nothing when the platform fails.
std::optional<std::vector<LinkMetricInfo>> getLinkMetricInfo();
