// What goes on beside the daemon between two calls of runNetCtrl.
#pragma once

// Once a second: collects programs that have ended and goes on with images that are verified.
void tickSecond();
