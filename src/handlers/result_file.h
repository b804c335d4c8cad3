// Files below /tmp/vm1905 with the result of an order to another device, for other programs to
// show.
#pragma once

#include <set>
#include <string_view>

#include "base/mac_addr.h"

// The AL MACs of the devices whose results were written to files.
struct ResultFiles {
    std::set<MacAddr> senders;
};

// The words in these files: "success" for 0, else "fail".
const char* resultText(int result);

// Writes the result text of the device to /tmp/vm1905/vm1905<order>_<AL MAC>. kOk, or kFailure if
// the shell cannot write the text as it is, the path is not a regular file, or too many devices
// have left files already.
int writeResultFile(const char* order, const MacAddr& sender, std::string_view text);
