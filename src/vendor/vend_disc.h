// The vendor discovery: tells a neighbour at once who is here, as a topology discovery does every
// minute.
#pragma once

#include "core/mac_addr.h"

struct VendContext;

// Sends a vendor discovery to a neighbour (AL MAC or interface MAC), or to all when dstMac is
// nullptr. The result of the send; kFailure without a database.
int sendVendDiscMsg(const MacAddr* dstMac);

// Treats a vendor discovery as a topology discovery. kOk or kFailure.
int handleVendDiscMsg(const VendContext& context);
