// The repetition of renews, between the messages and the settings of the auto-configuration.
#pragma once

#include <cstdint>

// A renew of the band was sent to all devices. It is repeated while the library waits for
// acknowledgements.
void noteRenew(uint8_t band);
// Sends the renew of the band to each Enrollee that has not acknowledged it.
void repeatRenew(uint8_t band);
