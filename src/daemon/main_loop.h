// Start of the controllers and the polling loop.
#pragma once

// Installs the calls upward (db/upcalls.h).
void installUpcalls();

// Starts platform and monitors. kOk or kFailure.
[[nodiscard]] int startControllers();

// One pass of the main loop but for its control files and its pause. kOk, or kFailure when a
// monitor or the platform fails.
[[nodiscard]] int runPass();

// Starts the controllers and runs the main loop until it ends. kOk or kFailure.
int runStateMachine();

// Polls until the system state is stopped. kOk, or kFailure when a monitor or the platform fails.
[[nodiscard]] int runMainLoop();
