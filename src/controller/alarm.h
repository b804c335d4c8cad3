// The one-shot alarm that paces the topology discoveries.
#pragma once

#include <cstdint>

// Installs the function that a firing alarm calls (its result is ignored). kOk, or kFailure for
// a null handler.
int setDiscMsgTransAlarmHandler(int (*handler)());

// Arms the alarm in sec seconds, replacing an earlier time. kOk.
int setDiscMsgTransAlarm(uint16_t sec);

// Disarms and fires the alarm when it is due. kOk, or kFailure when no handler is installed.
int checkAlarms();
