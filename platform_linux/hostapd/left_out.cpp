// A library that was built without hostapd (VM1905_HOSTAPD=OFF): networks and push buttons need
// hooks.
#include "base/result.h"
#include "common/log.h"
#include "hostapd/stations.h"
#include "hostapd/work.h"
#include "netctrl/push_button.h"

void giveToHostapd() {
    LOG_LINE(1,
             "the networks need the hook autoconf-networks: this library was built without "
             "hostapd");
}

void watchHostapd() {}

void dropHostapd() {}

int runHostapd(const Arguments& /*args*/) {
    return kFailure;
}

std::string stationsOfHostapd(const Arguments& /*except*/) {
    return {};
}

void dropHostapdStations() {}

int runHostapdStations(const Arguments& /*except*/) {
    return kFailure;
}

int pressPushButtons(const PushButtonEvent& /*event*/) {
    LOG_LINE(1, "a push button needs the hook push-button: this library was built without hostapd");
    return kFailure;
}

void dropPushButtons() {}

int runPushButtons(const Arguments& /*args*/) {
    return kFailure;
}
