// The Registrar's side of the auto-configuration: it answers each M1 with the networks of
// wifi.conf.
#pragma once

#include "api.h"

// Whether this device answers M1 itself: it is the Registrar and has wifi.conf. Otherwise the hooks
// do.
bool answersItself();

// A WSC frame has arrived. 0 if it was answered.
int answerM1(const ApAutoConfWsc& msg);

// Call once a second: sends a renew for each band whose networks have changed.
void tickRegistrar();
void dropRegistrar();
