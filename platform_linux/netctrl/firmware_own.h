// The image that a Registrar installs on itself once the others are done.
#pragma once

#include <string>

#include "netctrl/firmware_image.h"

// Installs the image on this device, unless it runs that version or has tried the image before.
void installOwn(const std::string& path, const Manifest& manifest);

// From runNetCtrl: reboots into what was installed. True while any of it is in progress.
bool workOnOwn();

// Allows an image that could not be installed to be tried again.
void retryOwn();

// At the end of the library.
void dropOwn();
