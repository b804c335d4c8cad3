// Whether one can log in to this device.
#pragma once

// kOk, or kFailure when the platform does not tell.
int checkSecurityStatet();
