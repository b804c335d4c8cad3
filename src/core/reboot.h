// The restart of the device.
#pragma once

// Restarts the device at once, after the file systems were written out. kFailure when the kernel
// refuses; else it does not return, but in a PID namespace, whose processes the kernel ends.
int rebootSystem();
