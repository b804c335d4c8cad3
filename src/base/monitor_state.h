// States of the two monitors, that of the frames and that of the service channel.
#pragma once

#include <cstdint>

enum MonitorState : uint32_t { kUninit = 0, kInit = 1, kStart = 2, kIdle = 3, kStop = 4 };
