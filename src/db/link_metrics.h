// Link metrics of the local interfaces and of the links to neighbor devices.
#pragma once

#include <optional>
#include <vector>

#include "db/records.h"

// The interface with its links up to date: they are fetched from the platform again if they are 5
// or more seconds old or empty. nullptr if the interface is unknown or the platform fails.
IntfTable* getIntfLinkMetricsById(const MacAddr& mac, uint32_t mediaType);

// Fetches the link metrics of one interface into table. kOk, or kFailure with table untouched if
// the interface is unknown or the platform fails.
int getIntfLinkTableById(const MacAddr& mac, uint32_t mediaType, LinkTable& table);

// Appends one LinkTable per local interface, in list order. kOk, or kFailure at the first failure
// of the platform.
int getLinkTableOfAllIntf(std::vector<LinkTable>& tables);

// The links to every neighbor device, one entry per device, possibly without links. std::nullopt if
// the platform fails.
std::optional<std::vector<LinkMetricInfo>> getLinkMetricInfo();
