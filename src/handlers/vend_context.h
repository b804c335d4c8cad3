// A received vendor message on its way to its handler.
#pragma once

#include <vector>

#include "net/ports.h"
#include "wire/vend_msg.h"

// How a vendor message arrived: as a remote command, or as a message of its own.
enum VendPath : int { kVendPathCommand = 25, kVendPathNetwork = 255 };

// What a handler has done.
struct VendOutcome {
    std::vector<VendMsg> answers{};
    bool isUndone = false;   // nothing, since no answer could be sent: a copy may be obeyed
    bool isRefused = false;  // and not remembered, so that copies are refused anew
};

struct VendContext {
    const Port& port;
    const MacAddr& srcMac;  // of the frame
    uint16_t msgId;
    const VendMsg& msg;
    int path;  // VendPath
    VendOutcome& outcome;
    bool isMulticast;  // the frame
    bool isProven;     // by the key of the mesh, and not received before
};
