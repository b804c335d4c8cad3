// The control-message log (ENABLE_LOG; vm1905.log0 and vm1905.log1): the orders of other devices
// that this one has obeyed. The platform log (Outputlog) is another one.
#pragma once

#include "base/mac_addr.h"
#include "wire/vend_msg.h"

// Appends a line about an order, unless the log is switched off. The log has two files of ten
// lines, which are overwritten in turn. srcMac is the source of the frame that carried the order.
void writeVendMsgLog(const VendMsg& msg, const MacAddr& srcMac);
