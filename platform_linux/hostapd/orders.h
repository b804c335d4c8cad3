// Orders of the mesh for the Wi-Fi of this device that hostapd carries out if the product has no
// hook for them. The settings are kept over a restart, and set again in a hostapd that has been
// restarted. Separate programs talk to hostapd, so an order that takes longer than a hook may take
// counts as accepted, and its failure is logged.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "api.h"
#include "base/mac_addr.h"
#include "common/programs.h"

// Whether hostapd does what this hook would do: the hook is missing, and a BSS has a socket.
bool doesHostapd(const std::string& hook);

// Return 0 if done or accepted, else 16.
// done is called once all radios have the code.
int orderCountry(const std::string& code, std::function<void()> done);
// Texts as in hostapd/wanted.h. A text of channels that a radio has refused is refused without
// another attempt for the next 50 minutes, because an attempt may restart radios.
int orderRadioState(const std::string& text);
int orderChannels(const std::string& text);
// Bars a station from all access points, and disconnects it; or admits it again.
int orderBar(const MacAddr& station, bool bar);
// Asks a station of this device to move, if it knows BSS transitions.
int orderTransition(const BtmReq& req);

struct RadioReport {
    std::string ifname, band;
    bool isOn = false;
    uint32_t channel = 0, frequency = 0;
    std::string country;
};
// The radios of hostapd, as they were at the last call if it does not answer at once. Empty if one
// of them does not answer.
std::vector<RadioReport> hostapdRadios();
// The country code that was ordered last; empty if there is none.
std::string orderedCountry();

// Call every few seconds: repeats the orders in a hostapd that has been restarted.
void watchHostapdOrders();
void dropHostapdOrders();

// The work of the program "hostapd orders". The first argument is the order: "country", "state",
// "channels", "bar MAC" or "admit MAC", or empty. The second one has the settings. All of them go
// to BSSs that have not got them yet, the order also to the others. Prints lines for the log.
int runHostapdOrders(const Arguments& args);
// "hostapd btm": the arguments of the hook btm-request.
int runHostapdTransition(const Arguments& args);
// "hostapd radios": prints a line for each radio, or lines for the log if one does not answer.
int runHostapdRadios(const Arguments& args);
