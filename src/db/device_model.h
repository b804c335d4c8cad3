// The device model that the daemon was started for.
#pragma once

#include <string_view>

// Sets the model by its name (-m), at most 31 characters.
void setDeviceModelType(std::string_view name);

// 0 for an empty name and "0", 1 for every other. Some periodic checks run only for 0.
int getDeviceModelType();
