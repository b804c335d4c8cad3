// Lists the ports and the topology on standard output, for debugging a mesh.
#pragma once

// Lists the ports: name, interface index, up or down, MAC, MTU and media type.
void showportinfo();
// Lists the AL MAC, the state of the topology, this device's interfaces with their neighbors, and
// the remote devices. Prints nothing without a database.
void showtopolTable();
