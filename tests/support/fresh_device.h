// A device with nothing in it, for tests. One is there from the start of the program.
#pragma once

// Throws away the device in use and all that it knows, and makes another, on which every module
// works from now on.
void freshDevice();
