// Firmware that was left on the device itself.
#pragma once

// Lets the platform look for a firmware file and take it up. kOk when there was one, else kFailure.
int checkLocalFWExist();
