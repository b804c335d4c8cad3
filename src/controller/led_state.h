// Status and brightness of the own LED.
#pragma once

// kOk, or kFailure when the platform does not tell.
int checkLEDstate();
