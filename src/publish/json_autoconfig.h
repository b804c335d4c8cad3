// The state of the AP auto-configuration as a JSON file.
#pragma once

#include <cstdint>
#include <string>

#include "db/records.h"

// Rewrites "vm1905_APautoconfig.json" in the data-model folder. kOk always; a file that cannot be
// opened is left as it is.
int writeJsonAPautoconfig();

// Its text; empty without al, and no devices without topol.
std::string renderJsonAPautoconfig(const AlTable* al, const TopolTable* topol);

// Whether an Enrollee is in step with this device's configuration of a band (0, 1, 32 or 33).
// kOk, or kFailure for another band, with flag left alone.
int getAPautoconfigFlag(const Ieee1905DevTable& dev, uint8_t band, uint8_t& flag);
