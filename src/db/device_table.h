// The table of remote IEEE 1905.1 devices.
#pragma once

#include "db/records.h"

// Stores the content of a topology response that the local interface with this MAC and media type
// heard, and logs neighbors that came or went. An existing record of the device keeps its fields
// that no topology response carries. kOk, or kFailure if the interface is unknown or the table is
// full.
int updateIeee1905DevTable(const MacAddr& intfMac, uint32_t mediaType, const DevTopol& dev);

// Copies the device's two values from the Wi-Fi sync list of the platform; zeros if the list does
// not have the device.
void updateWifiSync(const Ieee1905DevTable& dev);

// Removes a device and logs its loss. kOk, or kFailure if there is no such device.
int removeIeee1905DevTable(const MacAddr& alMac);

// The record of a device, nullptr if there is none. Valid until the device is removed.
const Ieee1905DevTable* getIeee1905DevTableById(const MacAddr& alMac);
// The same, to be changed (DevTables::edit).
Ieee1905DevTable* editIeee1905DevTableById(const MacAddr& alMac);

// True if the device has said that it is a Registrar.
bool isKnownRegistrar(const MacAddr& alMac);

// The AL MAC of the device that has an interface with this MAC, nullptr if none has.
const MacAddr* getalMacOfIeee1905DevTableByintfMac(const MacAddr& intfMac);
