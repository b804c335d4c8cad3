// What the other programs of a mesh want to know of its root AP, in two files of /tmp.
#pragma once

#include <string_view>

// Back to the start: nothing published, files in /tmp.
void initRootAp();

// Where the files are written instead.
void setRootApFolder(std::string_view folder);

// Once in the daemon's life, as soon as the Registrar has told the names of its three mesh
// interfaces: writes their MACs into ROOTAP_MESH_MAC.
void publishRootApMeshMacs();
bool rootApMeshMacsPublished();

// Writes the Registrar's IP address into rootap_ip whenever it changes. For Enrollees only.
void publishRootApIp();
bool isRootApIpWanted();
