// The vendor discovery: announces a device at once, as a topology discovery does every minute.
#pragma once

#include "handlers/vend_context.h"

// Treats a vendor discovery as a topology discovery. kOk, or kFailure if its AL MAC is zero or this
// device's own.
int handleVendDiscMsg(const VendContext& context, const VendDisc& disc);
