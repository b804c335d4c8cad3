// The vendor discovery: tells a neighbour at once who is here, as a topology discovery does every
// minute.
#pragma once

struct VendContext;

// Treats a vendor discovery as a topology discovery. kOk or kFailure.
int handleVendDiscMsg(const VendContext& context);
