// The control-message log (ENABLE_LOG; vm1905.log0 and vm1905.log1): the orders of other devices
// that this one has obeyed. The platform log (Outputlog) is another one.
#pragma once

#include <string>

#include "base/mac_addr.h"
#include "wire/vend_msg.h"

struct MessageLog {
    // Meant: fixed, whatever LOG_FOLDER says. A test sets another one.
    std::string folder = "/etc/vm1905";
    bool resumed = false;  // the first line since the start was written
};

// Appends a line about an order, unless the log is switched off. The log has two files of ten
// lines, which are overwritten in turn. The first line after a start continues after the last one
// in the newer file; LOG_INDEX counts only if there is no file. srcMac is the source of the frame
// that carried the order.
void writeVendMsgLog(const VendMsg& msg, const MacAddr& srcMac);
