// Listings of the ports and of the topology on the console, for those who debug a mesh.
#pragma once

void showportinfo();
void showtopolTable();
