// The table of remote IEEE 1905.1 devices.
#pragma once

#include "db/records.h"

// Stores what a freshly parsed topology response tells, heard on the interface with this MAC and
// media type, and logs who came and went. What a topology response does not carry stays in an
// older record of the same device. kOk, or kFailure when the interface is unknown or the table is
// full.
int updateIeee1905DevTable(const MacAddr& intfMac, uint32_t mediaType, DevTopol&& dev);

// Fetches the device's two values from the platform's Wi-Fi sync list, zero when it is not there.
void updateWifiSync(Ieee1905DevTable& dev);

// Removes a device and logs its loss. kOk, or kFailure when it is absent.
int removeIeee1905DevTable(const MacAddr& alMac);

// nullptr when there is no such record.
Ieee1905DevTable* getIeee1905DevTableById(const MacAddr& alMac);

// AL MAC of the device that lists this interface, nullptr when none does.
const MacAddr* getalMacOfIeee1905DevTableByintfMac(const MacAddr& intfMac);
