// The report of the Wi-Fi stations of this device, from which every device of the mesh shows rate
// and signal of a Wi-Fi link.
#pragma once

#include <cstdint>
#include <vector>

#include "db/records.h"

// Multicasts the stations that the platform knows, in as few messages as they fit into. A station
// whose texts are too long for a record of 150 characters is left out. kOk, or kFailure when the
// report is switched off, there is no station, or no database.
int sendWIFIClientInfo();

// Fetches the stations; ownerAlMac is that of the known device that has the station as one of its
// interfaces, else zero. kOk, or kFailure when the platform does not tell.
int getWIFIConfdata(std::vector<WifiClient>& list);

// The switch: 1 sends, any other value does not.
int32_t getSendWIFIClientInfo_flag();
void setSendWIFIClientInfo_flag(int32_t flag);
