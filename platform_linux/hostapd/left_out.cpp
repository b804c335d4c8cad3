// A library that was built without hostapd (VM1905_HOSTAPD=OFF): networks, orders for Wi-Fi
// and push buttons need hooks.
#include "base/result.h"
#include "common/log.h"
#include "hostapd/orders.h"
#include "hostapd/radios.h"
#include "hostapd/stations.h"
#include "hostapd/work.h"
#include "netctrl/push_button.h"

void giveToHostapd(uint8_t /*band*/, const NetworksTried& tried) {
    LOG_LINE(1,
             "the networks need the hook autoconf-networks: this library was built without "
             "hostapd");
    if (tried) tried("");
}

std::vector<HostapdBss> listBss() {
    return {};
}

void watchHostapd() {}

void dropHostapd() {}

int runHostapd(const Arguments& /*args*/) {
    return kFailure;
}

std::vector<BssStations> stationsOfHostapd(const Arguments& /*except*/) {
    return {};
}

const std::vector<ShownBss>& bssOfHostapd() {
    static const std::vector<ShownBss> none;
    return none;
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

// So no order gets here.
bool doesHostapd(const std::string& /*hook*/) {
    return false;
}

int orderCountry(const std::string& /*code*/, std::function<void()> /*done*/) {
    return kFailure;
}

int orderRadioState(const std::string& /*text*/) {
    return kFailure;
}

int orderChannels(const std::string& /*text*/) {
    return kFailure;
}

int orderBar(const MacAddr& /*station*/, bool /*bar*/) {
    return kFailure;
}

int orderTransition(const BtmReq& /*req*/) {
    return kFailure;
}

std::vector<RadioReport> hostapdRadios() {
    return {};
}

std::string orderedCountry() {
    return {};
}

void watchHostapdOrders() {}

void dropHostapdOrders() {}

int runHostapdOrders(const Arguments& /*args*/) {
    return kFailure;
}

int runHostapdTransition(const Arguments& /*args*/) {
    return kFailure;
}

int runHostapdRadios(const Arguments& /*args*/) {
    return kFailure;
}
