// The control-message log (ENABLE_LOG; vm1905.log0 and vm1905.log1): which orders of other devices
// this one has obeyed. Not to be mixed up with the platform log, see Outputlog.
#pragma once

#include "base/mac_addr.h"
#include "wire/vend_msg.h"

// Appends a line about an order to the log of twenty lines in two alternating files, unless the log
// is switched off. srcMac is the source of the frame that brought it.
void writeVendMsgLog(const VendMsg& msg, const MacAddr& srcMac);
