// The settings of this device that have no check of their own: daisy-chain option, configure
// state, country code, backhaul type, and when its Wi-Fi networks were last configured.
#pragma once

// kOk, or kFailure when the platform does not tell one of them; the others are stored all the same.
int checkDeviceSettings();
