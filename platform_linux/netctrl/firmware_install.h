// Installation of a firmware image on this device: verified here, written by the product's hook.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "common/programs.h"
#include "netctrl/firmware_image.h"

struct Installation {
    std::string path;
    Manifest manifest;
    std::function<bool()> begin{};  // called once it is verified; false: it is not installed
    std::function<void(bool installed)> done{};  // called at the end
};

// Verifies an image by its manifest and hands it to the hook "firmware-install", reporting progress
// by the firmware state. False, with a log line, if there is no such hook or another image is being
// installed.
[[nodiscard]] bool installImage(Installation order);

// True if nobody is writing an image, not even a hook that has outlived the daemon that started it.
bool isInstallFree();

// Whether the hook is running.
bool isInstalling();

// Continues the verification, and gives up waiting for a reboot that nobody orders. True if it was
// busy verifying.
bool workOnInstall();

// At the end of the library. A hook that is running continues.
void dropInstall();

inline constexpr std::chrono::minutes kInstallLimit{10};
// The work of the program "verified firmware": manifest, signature and, as its file, the image. In
// place of "firmware-install" if the daemon is confined, because what hands over the image is not
// trusted then: verifies all of it again, and runs the hook on a copy that nobody else can change.
int runInstall(const Arguments& args);
