// The mesh as a tree. A bridge forwards what a device sends, so devices hear each other across
// several hops. The tree leaves out each pair of devices that has another device in between.
#pragma once

#include <string>
#include <vector>

#include "mesh.h"

// A device or host at its place in the tree.
struct Place {
    const Device* device = nullptr;  // of a host: the device it is attached to
    bool isHost = false;
    Mac mac;
    int parent = -1;  // index of its parent's place; -1 for the root, and if the parent is unknown
    size_t depth = 0;
    bool isCertain = true;  // false: somewhere behind its parent
    Mac parentPort, port;   // zero: unknown
    const Heard* fromParent =
        nullptr;  // the records of both ends of the link; nullptr if there is none
    const Heard* fromChild = nullptr;
    std::vector<const Device*> alsoLinked;  // other direct links, as in a ring
};

// All devices, and hosts if wanted, in the order in which the tree is drawn: the root first,
// devices without a known parent last, at depth 1.
std::vector<Place> placeMesh(const Mesh& mesh, const Device& root, bool withHosts);

// What is drawn before each place: with line characters, or plain ASCII.
std::vector<std::string> branchesOf(const std::vector<Place>& places, bool hasUnicode);
