#include "db/mesh_macs.h"

#include <algorithm>

#include "base/state.h"
#include "db/database.h"

namespace {

constexpr size_t kVeryMany = 8192;

void collect(std::vector<MacAddr>& macs) {
    macs.clear();
    const AlTable* al = getAlTable();
    if (al == nullptr) return;
    macs.push_back(al->alMac);
    for (const auto& intf : al->intfs) {
        macs.push_back(intf.mac);
        for (const auto& nbr : intf.nbrs) {
            if (nbr.is1905) macs.insert(macs.end(), {nbr.nbrAlMac, nbr.nbrIntfMac});
        }
    }
    for (const auto& dev : al->nbrDevs) macs.push_back(dev.alMac);
    for (const auto& dev : al->topol.devs) {
        macs.push_back(dev.alMac);
        for (const auto& intf : dev.intfs) macs.push_back(intf.mac);
    }
    std::ranges::sort(macs);
}

// The addresses, collected again if they have changed.
const MeshMacs& meshMacs() {
    auto& mesh = stateOf<MeshMacs>();
    // Very many, which no real mesh has, are collected once a second at most.
    const bool isDue = mesh.macs.size() < kVeryMany || mesh.time != now();
    if (mesh.revision != topologyRevision() && isDue) {
        collect(mesh.macs);
        mesh.revision = topologyRevision();
        mesh.time = now();
    }
    return mesh;
}

}  // namespace

bool isMeshMac(const MacAddr& mac) {
    return std::ranges::binary_search(meshMacs().macs, mac);
}

uint64_t meshMacsRevision() {
    return meshMacs().revision;
}

bool meshMacsAreCurrent() {
    const auto& mesh = stateOf<MeshMacs>();
    std::vector<MacAddr> anew;
    collect(anew);
    return mesh.revision != topologyRevision() || mesh.macs == anew;
}
