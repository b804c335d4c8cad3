// A firmware order: a program of the system fetches the image and its manifest, then they are
// installed.
#pragma once

// Removes what an earlier run has fetched, unless it is being installed.
void sweepFetches();

// At the end of the library: ends a running download and removes what was fetched, unless it is
// being installed.
void dropFetch();
