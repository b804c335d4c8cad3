// A firmware order: the manifest and its signature are fetched and checked, then the image is
// fetched and installed.
#pragma once

#include <string>

// The folder for downloads: FIRMWARE_DOWNLOAD, or /tmp.
std::string downloadFolder();

// Removes what an earlier run has fetched, unless it is being installed.
void sweepFetches();

// At the end of the library: ends a running download and removes what was fetched, unless it is
// being installed.
void dropFetch();
