// Who hangs off whom. A bridge carries what a device says far beyond its cable, so that devices
// hear each other across several hops; the tree is what remains when every pair is dropped that has
// another device in between.
#pragma once

#include <string>
#include <vector>

#include "mesh.h"

// A device or host in its place.
struct Place {
    const Device* device = nullptr;  // of a host: what it hangs on
    bool isHost = false;
    Mac mac;
    int parent = -1;  // index of the place that it hangs off; -1: the root, or nobody knows where
    size_t depth = 0;
    bool isCertain = true;              // false: somewhere behind its parent
    Mac parentPort, port;               // zero: not known
    const Heard* fromParent = nullptr;  // the two records of the link, as far as there are any
    const Heard* fromChild = nullptr;
    std::vector<const Device*> alsoLinked;  // to whom else there is a direct link, as in a ring
};

// All devices in the order in which a tree is drawn, the root first; hosts when they are wanted.
// Places that hang off nobody stand at the end, at depth 1.
std::vector<Place> placeMesh(const Mesh& mesh, const Device& root, bool withHosts);

// What is drawn before each place: with line characters, or plain ASCII.
std::vector<std::string> branchesOf(const std::vector<Place>& places, bool hasUnicode);
