// What the other programs of a mesh want to know of its root AP, in two files of /tmp.
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

// Once in the daemon's life, as soon as the Registrar has told the names of its three mesh
// interfaces: writes their MACs into ROOTAP_MESH_MAC.
void publishRootApMeshMacs();
bool rootApMeshMacsPublished();

// Writes the Registrar's IP address into rootap_ip whenever it changes. For Enrollees only.
void publishRootApIp();
bool isRootApIpWanted();
