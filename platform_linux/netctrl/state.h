// Results of actions that are part of the device's state.
#pragma once

#include <string_view>

// The status and brightness texts that the LED hook printed.
void keepLedState(std::string_view status, std::string_view brightness);
// The country code that the radios were set to.
void keepWifiCountryCode(std::string_view code);
