// The restart of the device: rebootSystem, which the platform library may call as well.
#pragma once

#include "platform/exports.h"
