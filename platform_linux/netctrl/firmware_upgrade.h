// The firmware upgrade, as the rest of the library drives it. A Registrar announces images to the
// mesh (firmware_offer), serves them (firmware_server) and orders the devices to fetch and start
// them (firmware_rounds), and then upgrades itself (firmware_own); an Enrollee fetches what it is
// ordered to (firmware_fetch, firmware_download); both check (firmware_trust) and install
// (firmware_install).
#pragma once

// At the start of the library: removes what a crash has left behind, and warns of unsigned images.
void startUpgrade();

// The Registrar's part, called from runNetCtrl: looks for announcements and carries the rounds on.
void directUpgrade();

// Called once a second: continues whatever is being verified.
void workOnUpgrade();

// At the end of the library. An installation that is running continues.
void dropUpgrade();
