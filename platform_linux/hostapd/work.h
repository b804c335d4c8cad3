// Keeps the BSSs of hostapd at the networks that this device has received. A program of its own
// (common/programs.h) talks to hostapd, so that no answer is waited for by the daemon, and with the
// rights that a confined daemon has given up.
#pragma once

#include "common/programs.h"
#include "netctrl/autoconfig_networks.h"

// Call when networks of a band have arrived in wifi-NUMBER.conf. tried gets the result of each
// attempt until one succeeds.
void giveToHostapd(uint8_t band, const NetworksTried& tried);
// Call when orders may have changed what a BSS runs: gives them again to one that has others.
void checkHostapd();
// Call every few seconds: gives them again to a hostapd that has been restarted.
void watchHostapd();
void dropHostapd();

// The work of the program "hostapd". Its argument is what the folder of the sockets showed the last
// time. If that has not changed, it does nothing; an empty argument means that it must. Otherwise
// it prints what the folder shows now, and the lines for the log, each after its level.
int runHostapd(const Arguments& args);
