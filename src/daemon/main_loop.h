// The start of the controllers, and the main loop.
#pragma once

// Sets the functions that lower floors call in higher ones (db/upcalls.h).
void installUpcalls();

// Starts the platform library and the monitors. kOk, or kFailure if one of them fails.
[[nodiscard]] int startControllers();

// One pass of the main loop, without control files and pause. kOk, or kFailure if a monitor or the
// platform library fails.
[[nodiscard]] int runPass();

// Starts the controllers and runs the main loop until it ends. kOk, or kFailure if either fails.
int runStateMachine();

// Repeats passes until the system state is stopped. kOk, or kFailure if a pass fails.
[[nodiscard]] int runMainLoop();
