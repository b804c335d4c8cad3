// Keeps the kernel's bridges from forwarding IEEE 1905.1 frames, so that a multicast goes on only
// where the daemon relays it.
#pragma once

// Applies FORWARD_1905 of platform.conf: "no" installs the rule. In any case what an earlier run
// left behind is removed first. A kernel or device without nftables goes on forwarding.
void applyForwarding();
void removeIsolation();
