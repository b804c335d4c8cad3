#include "controller/controller_loop.h"

// Nothing is scheduled yet.
void MessageTransmitterLoop(Seconds /*time*/, int /*force*/) {}
