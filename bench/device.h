// A device to measure on: a scripted platform, a database, and neighbours.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "base/mac_addr.h"
#include "db/records.h"

// Addresses of the n-th neighbour.
MacAddr nbrAlMac(unsigned n);
MacAddr nbrIntfMac(unsigned n);

// Starts a device of 3 interfaces, one of them Wi-Fi, all in one bridge, with 4 non-1905 and 4
// 1905 neighbours on two of them. Its topology response has 170 bytes.
void startReferenceDevice();
// Starts a device with this many Gigabit interfaces in one bridge, on each of them a non-1905 and
// a 1905 neighbour.
void startDevice(unsigned intfNum);
void stopDevice();

// Builds the own topology response and flattens it, end-of-message TLV included, to the start of
// out. Its size in bytes.
size_t encodeTopolResp(std::span<uint8_t> out);
// Decodes one. False when it is rejected.
bool decodeTopolResp(Bytes area, DevTopol& dev);
