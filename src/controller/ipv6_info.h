// The own IPv6 addresses.
#pragma once

// kOk, or kFailure when the platform does not tell.
int checkIPv6Info();
