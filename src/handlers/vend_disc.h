// The vendor discovery: tells a neighbour at once who is here, as a topology discovery does every
// minute.
#pragma once

#include "handlers/vend_context.h"

// Treats a vendor discovery as a topology discovery. kOk or kFailure.
int handleVendDiscMsg(const VendContext& context, const VendDisc& disc);
