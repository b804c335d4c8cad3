// The state of the AP auto-configuration as a JSON file.
#pragma once

#include <cstdint>
#include <string>

#include "db/records.h"

// Rewrites "vm1905_APautoconfig.json" in the data-model folder, as soon as writeDataModelFile
// permits. Always kOk; a file that cannot be replaced is left as it is.
int writeJsonAPautoconfig();

// The text of that file: empty if al is nullptr, without devices if topol is nullptr.
std::string renderJsonAPautoconfig(const AlTable* al, const TopolTable* topol);

// Sets flag to the device's sync flag of a band (0, 1, 32 or 33): whether an Enrollee has this
// device's configuration of the band. kOk, or kFailure for another band, with flag unchanged.
int getAPautoconfigFlag(const Ieee1905DevTable& dev, uint8_t band, uint8_t& flag);
