// Listings of the ports and of the topology on the console, for those who debug a mesh.
#pragma once

// The ports: name, interface index, whether it is up, MAC, MTU, medium.
void showportinfo();
// The AL MAC, the state of the topology, the own interfaces with the neighbours on each, and the
// devices. Nothing without a database.
void showtopolTable();
