// The one-shot alarm that paces the topology discoveries.
#pragma once

#include <cstdint>

// Sets the function that the alarm calls; its result is ignored. kOk, or kFailure if handler is
// nullptr.
int setDiscMsgTransAlarmHandler(int (*handler)());

// Sets the alarm to sec seconds from now. Replaces an earlier time. kOk.
int setDiscMsgTransAlarm(uint16_t sec);

// If the alarm is due, disarms it and calls the handler. kOk, or kFailure if no handler is set.
int checkAlarms();
