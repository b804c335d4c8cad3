// Publishes the addresses of the mesh's root AP, which is the Registrar, for other programs on this
// device: two files in /tmp.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "base/text.h"

struct RootApMeshRow {
    std::string_view intfName;
    Text<32> mac{"00:00:00:00:00:00"};
    bool found = false;
};

struct RootAp {
    std::array<RootApMeshRow, 3> rows{{{"wlan0-msh0"}, {"wlan1-msh0"}, {"wlan2-msh0"}}};
    int flag_rootap_mesh_mac = 0;  // 1: the file was written
    Text<32> ip;                   // last published
    std::string folder = "/tmp";
};

// Writes the MACs of the Registrar's three mesh interfaces to ROOTAP_MESH_MAC, once all three are
// known by name.
void publishRootApMeshMacs();
// True once publishRootApMeshMacs has tried to write the file, which it does only once.
bool rootApMeshMacsPublished();

// Writes the Registrar's IP address to rootap_ip if it has changed.
void publishRootApIp();
// True on Enrollees, which alone publish the IP address.
bool isRootApIpWanted();
