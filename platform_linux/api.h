// All groups of platform functions. The libraries are built with hidden symbols; what these headers
// declare is all that they export.
#pragma once

#pragma GCC visibility push(default)
#include "platform/autoconfig.h"
#include "platform/confinement.h"
#include "platform/descriptions.h"
#include "platform/device.h"
#include "platform/integrity.h"
#include "platform/lifecycle.h"
#include "platform/state.h"
#pragma GCC visibility pop
