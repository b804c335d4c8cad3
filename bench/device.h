// A device to measure on: the daemon on a scripted platform, with neighbors.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "base/mac_addr.h"
#include "db/records.h"

// Addresses of the n-th neighbor.
MacAddr nbrAlMac(unsigned n);
MacAddr nbrIntfMac(unsigned n);

// Starts a device with 3 interfaces in one bridge, one of them Wi-Fi. Two of them have 2 non-1905
// and 2 1905 neighbors each. Its topology response has 170 bytes.
void startReferenceDevice();
// Starts a device with intfNum Gigabit interfaces in one bridge, each with one non-1905 and one
// 1905 neighbor.
void startDevice(unsigned intfNum);
void stopDevice();

// Writes the device's topology response to out, with its end-of-message TLV. Returns the size in
// bytes.
size_t encodeTopolResp(std::span<uint8_t> out);
// Reads the TLVs of a topology response into dev. False if they are rejected.
bool decodeTopolResp(Bytes area, DevTopol& dev);
