// Keeps the kernel's bridges from forwarding IEEE 1905.1 frames, so that multicasts are relayed by
// the daemon only.
#pragma once

#include "common/programs.h"

// Applies FORWARD_1905 of platform.conf: removes the rule that an earlier run left behind, and
// installs it if the value is "no". Without nftables the bridges continue to forward.
void applyForwarding();
// Removes the rule if this run installed it.
void removeIsolation();

// Works of the programs "nft (isolate)" and "nft (remove)".
int runIsolate(const Arguments& args);
int runRemoveIsolation(const Arguments& args);
