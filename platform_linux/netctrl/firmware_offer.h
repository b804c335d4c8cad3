// The images that a Registrar announces to the mesh.
#pragma once

#include <string>
#include <vector>

#include "netctrl/firmware_image.h"

// FIRMWARE_FOLDER of platform.conf.
std::string firmwareFolder();

// From runNetCtrl: looks for announcements and carries the rounds on. Does nothing on an Enrollee.
void directOffers();

// One step in verifying the first image that is not verified yet.
void verifyOffers();

// The files in FIRMWARE_FOLDER that the network may read, as they were when they were verified: the
// verified images, their manifests and signatures.
struct ServedFile {
    std::string name;
    Stamp stamp{};
};
std::vector<ServedFile> filesToServe();

// At the end of the library.
void forgetOffers();
