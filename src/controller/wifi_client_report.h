// The report of the Wi-Fi stations of this device, from which the other devices know the rate and
// the signal of its Wi-Fi links.
#pragma once

#include <cstdint>
#include <vector>

#include "db/records.h"

// Multicasts the stations that the platform knows, several per message. A station whose record
// would have more than 150 characters is left out. kOk, or kFailure if the report is switched off,
// there is no station, or there is no database.
int sendWIFIClientInfo();

// Appends the stations that the platform knows to list. ownerAlMac is the AL MAC of the device that
// has the station as one of its interfaces, zero if there is none. kOk, or kFailure if the platform
// does not know the stations.
int getWIFIConfdata(std::vector<WifiClient>& list);

// The switch of the report: 1 is on, any other value off.
int32_t getSendWIFIClientInfo_flag();

// The daemon itself does not call this one.

// Sets the switch.
void setSendWIFIClientInfo_flag(int32_t flag);
