// The control-message log: which orders of other devices this one has obeyed.
#pragma once

#include "core/mac_addr.h"
#include "vendor/vend_msg.h"

// Appends a line about an order to the log of twenty lines in two alternating files, unless the log
// is switched off. srcMac is the source of the frame that brought it.
void writeVendMsgLog(const VendMsg& msg, const MacAddr& srcMac);
