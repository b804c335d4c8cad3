// The periodic checks of this device itself. Each reads a state from the platform and stores it in
// the own record; a change rewrites the data model.
//
// kOk, or kFailure if the platform does not know the state, and the record keeps its value.
#pragma once

int checkWIFIChannelInfo();    // channels of the radios
int checkLEDstate();           // status and brightness of the LED
int updateNetworkState();      // name service, and interfaces in a bridge
int checkIPv6Info();           // IPv6 addresses
int checkSecurityStatet();     // SSH and telnet access
int checkWIFICountryCode();    // country code of the radios
int checkEthernetPortState();  // links of the Ethernet ports
// Daisy-chain option, configure state, country code, backhaul type, approve flag, and the times at
// which the Wi-Fi networks were last configured. kFailure if one of them is unknown; the others are
// stored.
int checkDeviceSettings();

// kOk if the platform has started to use a local firmware file since the last call, else kFailure.
int checkLocalFWExist();
