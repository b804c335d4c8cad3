// What the parts of the firmware upgrade use of one another. A Registrar announces images to the
// mesh (upgrade_offer), serves them (upgrade_server) and orders the devices to fetch and to start
// them (upgrade_rounds), and follows itself (upgrade_own); an Enrollee fetches what it is ordered
// to (upgrade_fetch); both install (upgrade_install).
#pragma once

#include <functional>
#include <string>

#include "netctrl/upgrade.h"
#include "netctrl/upgrade_image.h"

// ---- upgrade_offer ----

// FIRMWARE_FOLDER.
std::string firmwareFolder();

// ---- upgrade_server ----

// The beginning of the URL of every image, with a slash at its end; empty while nothing can serve
// them, with a line in the log the first time.
std::string firmwareUrl();

// Stops the server if it was started.
void stopServer();

// The same at the end of the library: waits a moment for a start that is still at work.
void endServer();

// ---- upgrade_own ----

// Installs the image on this device, unless its version runs or it has been tried before.
void installOwn(const std::string& path, const Manifest& manifest);

// From runNetCtrl: reboots into what was installed. Whether any of it is under way.
bool workOnOwn();

// What could not be installed may be tried again.
void retryOwn();

// Forgets it.
void dropOwn();

// ---- upgrade_install ----

struct Installation {
    std::string path;
    Manifest manifest;
    std::function<bool()> begin{};  // asked when it is verified; false: it is not installed
    std::function<void(bool installed)> done{};  // hears the end
};

// Verifies an image by its manifest and hands it to the hook "firmware-install". The state tells
// how it goes. False, with a line in the log, when there is no such hook or another image is at
// work.
[[nodiscard]] bool installImage(Installation order);

// Whether nobody writes an image, not even a hook that has outlived the daemon that started it.
bool isInstallFree();

// Whether the hook is at work.
bool isInstalling();

// Goes on with the verification; and gives a reboot up that nobody orders. Whether it was busy.
bool workOnInstall();

// Forgets it.
void dropInstall();

// ---- upgrade_fetch ----

// FIRMWARE_DOWNLOAD.
std::string downloadFolder();

// Removes what an earlier run has fetched, unless it is being installed.
void sweepFetches();

// Ends the download that is at work and removes what was fetched, unless it is being installed.
void dropFetch();
