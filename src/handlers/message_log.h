// The control-message log (ENABLE_LOG; vm1905.log0 and vm1905.log1): the orders of other devices
// that this one has obeyed. The platform log (Outputlog) is another one.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <utility>

#include "base/mac_addr.h"
#include "wire/vend_msg.h"

struct MessageLog {
    // Meant: fixed, whatever LOG_FOLDER says. A test sets another one.
    std::string folder = "/etc/vm1905";
    bool resumed = false;                             // the first line since the start was written
    std::deque<std::pair<int, std::string>> waiting;  // lines to write, with their numbers
    int64_t earliest = 0;                             // of the next write; as uptimeMs()
};

// Appends a line about an order, unless the log is switched off. The log has two files of ten
// lines, which are overwritten in turn. The first line after a start continues after the last one
// in the newer file; LOG_INDEX counts only if there is no file. srcMac is the source of the frame
// that carried the order. A file is written at most once a second; until then, the last twenty
// lines are kept.
void writeVendMsgLog(const VendMsg& msg, const MacAddr& srcMac);

// Writes lines that wait, if they are due. Called on every pass of the main loop.
void writeDueMsgLog();
// Writes all of them now. Called when the daemon ends or the device reboots.
void writeWaitingMsgLog();
