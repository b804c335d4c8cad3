// The log of another device: requested from it, fetched by a hook of this device, read from a file.
#pragma once

#include <string>

#include "report.h"
#include "session.h"

// Throws Failure if the device does not answer, or if its log is not here in time.
[[nodiscard]] Report fetchLog(Session& session, const std::string& device);
