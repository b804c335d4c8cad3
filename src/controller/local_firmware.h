// Firmware that was left on the device itself.
#pragma once

// Asks the platform whether it has taken up a firmware file since the last call. kOk when it has,
// else kFailure.
int checkLocalFWExist();
