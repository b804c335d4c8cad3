// The periodic controller loop: everything that happens in the mesh on a schedule.
#pragma once

#include "core/clock.h"

// One pass; force runs the per-device queries at once. Called on every pass of the main loop.
void MessageTransmitterLoop(Seconds time, int force);
