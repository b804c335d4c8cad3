// Work between two calls of runNetCtrl.
#pragma once

// Call once a second: collects programs that have ended, and continues to verify images and to
// configure networks.
void tickSecond();
