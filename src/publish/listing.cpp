#include "publish/listing.h"

#include <cstdio>
#include <string>

#include "db/database.h"
#include "db/media_type.h"
#include "net/ports.h"

void showportinfo() {
    printf("ports:\n");
    for (const auto& port : getIntfPorts()) {
        printf("  %-15s index %3d  %s  " MAC_FMT "  mtu %u  %s\n", plainText(port.name).c_str(),
               port.ifIndex, port.isDown ? "down" : "up  ", MAC_ARGS(port.mac), port.mtu,
               std::string(mediaTypeLabel(port.mediaType)).c_str());
    }
    fflush(stdout);
}

void showtopolTable() {
    const AlTable* al = getAlTable();
    if (al == nullptr) return;
    const Seconds time = now();
    printf("topology of " MAC_FMT ": enable %u, status %u, %d devices\n", MAC_ARGS(al->alMac),
           al->topol.enable, al->topol.status, al->topol.ieee1905DevNum());
    for (const auto& intf : al->intfs) {
        printf("  %-15s " MAC_FMT "\n", plainText(intf.name).c_str(), MAC_ARGS(intf.mac));
        for (const auto& nbr : intf.nbrs) {
            if (!nbr.is1905) {
                printf("    " MAC_FMT "  other\n", MAC_ARGS(nbr.nbrIntfMac));
                continue;
            }
            printf("    " MAC_FMT "  1905 " MAC_FMT "  heard %ld s ago%s\n",
                   MAC_ARGS(nbr.nbrIntfMac), MAC_ARGS(nbr.nbrAlMac),
                   static_cast<long>(time - nbr.last1905Time),
                   nbr.bridgeFlag != 0 ? ", behind a bridge" : "");
        }
    }
    for (const auto& dev : al->topol.devs) {
        printf("  device " MAC_FMT " %s: %zu interfaces, %zu 1905 and %zu other neighbors\n",
               MAC_ARGS(dev.alMac), dev.hostname.c_str(), dev.intfs.size(), dev.ieee1905NbrNum(),
               dev.non1905NbrNum());
    }
    fflush(stdout);
}
