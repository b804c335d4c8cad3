// The periodic checks of this device itself: each asks the platform and stores what changed in the
// own record, and the data model is then rewritten in time.
//
// kOk, or kFailure when the platform does not tell: the record keeps its value.
#pragma once

int checkWIFIChannelInfo();    // channels of the radios
int checkLEDstate();           // status and brightness of the LED
int updateNetworkState();      // name service, and interfaces in a bridge
int checkIPv6Info();           // IPv6 addresses
int checkSecurityStatet();     // whether one can log in by SSH or telnet
int checkWIFICountryCode();    // country code of the radios
int checkEthernetPortState();  // what is connected to the Ethernet ports
// Daisy-chain option, configure state, country code, backhaul type, approve flag, and when the
// Wi-Fi networks were last configured. kFailure when one of them is missing; the others are stored.
int checkDeviceSettings();

// Asks the platform whether it has taken up a local firmware file since the last call. kOk when it
// has, else kFailure.
int checkLocalFWExist();
