// The own network: name service, and interfaces in a bridge.
#pragma once

// kOk, or kFailure when the platform does not tell.
int updateNetworkState();
