// The firmware upgrade. A Registrar announces images to the mesh, serves them and orders the
// devices to fetch and to start them (upgrade_offer, upgrade_rounds); an Enrollee fetches what it
// is ordered to (upgrade_fetch); both install (upgrade_install).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "netctrl/upgrade_image.h"

namespace plat {

// ---- upgrade_offer ----

// The Registrar's part, from runNetCtrl: looks for announcements and carries the rounds on.
void directUpgrade();

// Once a second: goes on with whatever is being verified.
void workOnUpgrade();

// Ends all of it at the end of the library.
void dropUpgrade();

// Reads the announced images, a part at a time, until all are verified.
void verifyOffers();

// Forgets the announcements; the server ends with the other jobs.
void dropOffers();

// ---- upgrade_install ----

// Verifies an image by its manifest and hands it to the hook "firmware-install". The state tells
// how it goes; done, which may be empty, hears the end. False when there is no such hook or
// another image is at work.
bool installImage(const std::string& path, const Manifest& manifest,
                  std::function<void(bool installed)> done);

// Goes on with the verification; and gives a reboot up that nobody orders.
void workOnInstall();

// Forgets it; its hook ends with the other jobs.
void dropInstall();

// ---- upgrade_fetch ----

// Ends the download that is at work and removes what was fetched.
void dropFetch();

// ---- firmware ----

// The state of the own upgrade, PLATFORM_FW_...; a change is reported.
void setFirmwareState(uint32_t state);
uint32_t firmwareState();

}  // namespace plat
