// The firmware upgrade, as the rest of the library drives it.
#pragma once

#include <cstdint>

// Removes what a crash has left behind, at the start of the library.
void startUpgrade();

// The Registrar's part, from runNetCtrl: looks for announcements and carries the rounds on.
void directUpgrade();

// Once a second: goes on with whatever is being verified.
void workOnUpgrade();

// Ends all of it at the end of the library. An installation that is at work goes on.
void dropUpgrade();

// The state of the own upgrade, PLATFORM_FW_...; a change is reported.
void setFirmwareState(uint32_t state);
uint32_t firmwareState();
