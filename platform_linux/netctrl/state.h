// What the actions leave behind for the questions about the device's state.
#pragma once

#include <string_view>

// What the LED control printed: status and brightness.
void keepLedState(std::string_view status, std::string_view brightness);
// The country code that the radios were set to.
void keepWifiCountryCode(std::string_view code);
