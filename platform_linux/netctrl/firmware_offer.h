// The images that a Registrar announces to the mesh.
#pragma once

#include <string>

// FIRMWARE_FOLDER of platform.conf.
std::string firmwareFolder();

// From runNetCtrl: looks for announcements and carries the rounds on. Does nothing on an Enrollee.
void directOffers();

// One step in verifying the first image that is not verified yet.
void verifyOffers();

// At the end of the library.
void forgetOffers();
