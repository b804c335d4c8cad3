// The Enrollee's side of the auto-configuration: it searches for a Registrar, sends it an M1 for
// each band and takes the networks in its M2.
#pragma once

#include "api.h"
#include "wsc/network.h"

// Whether this device asks for its networks itself: it is an Enrollee, and no hook does so.
bool asksItself();

// A Registrar answers a search, or renews the networks of a band. A renew starts an exchange that
// is under way anew; it is acknowledged when all networks have arrived and are set. 0 or
// PLATFORM_RENEW_STARTED if there is now an exchange with it.
enum class AutoConfCause { kResponse, kRenew };
int startExchange(const ApAutoConfInfo& msg, AutoConfCause cause);

// A WSC frame has arrived. 0 if it belongs to an exchange and was accepted, or is a copy of one
// that was.
int takeM2(const ApAutoConfWsc& msg);

// A search for the band is sent: it is repeated until the networks have arrived, although the band
// may have some.
void reopenSearch(const WifiBand& band);

// Call once a second: repeats what was not answered.
void tickEnrollee();
void dropEnrollee();
