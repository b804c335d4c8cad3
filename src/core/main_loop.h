// Start of the controllers and the polling loop.
#pragma once

// Installs what low modules may ask of higher ones.
void installRequestHandlers();

// Starts platform and monitors and runs the main loop until it ends. kOk or kFailure.
int runStateMachine();

// Polls until the system state is stopped. kOk, or kFailure when a monitor or the platform fails.
int runMainLoop();
