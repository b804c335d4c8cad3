// Files below /tmp/vm1905 with the result of an order to another device, for other programs to
// show.
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "base/mac_addr.h"

struct ResultFiles {
    std::string folder = "/tmp/vm1905";
    std::set<MacAddr> senders;  // AL MACs of the devices that have left files
};

// The words in these files: "success" for 0, else "fail".
const char* resultText(int result);

// vm1905<order>_<AL MAC>: the name of such a file.
std::string resultFileName(const char* order, const MacAddr& sender);

// Writes the result text of the device, and a line feed, to its file.
// kOk, or kFailure if the text has a backslash or a NUL or looks like an option of echo, if the
// device is not in the device table or 256 others have left files already, or if writing fails.
int writeResultFile(const char* order, const MacAddr& sender, std::string_view text);
