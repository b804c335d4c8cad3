// What hangs on the own Ethernet ports.
#pragma once

// kOk, or kFailure when the platform does not tell.
int checkEthernetPortState();
