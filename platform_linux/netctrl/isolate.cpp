#include "netctrl/isolate.h"

#include <string>

#include "common/command.h"
#include "common/conf.h"
#include "common/log.h"

namespace {

// Adding the table first makes the removal of an absent one no error.
constexpr char kRemove[] = "add table bridge vm1905; delete table bridge vm1905";
constexpr char kIsolate[] =
    "add table bridge vm1905; delete table bridge vm1905; "
    "add table bridge vm1905; "
    "add chain bridge vm1905 forward { type filter hook forward priority -200; policy accept; }; "
    "add rule bridge vm1905 forward ether type 0x893a drop";

struct {
    bool installed = false;
} isolation;

bool runNft(const std::string& nft, const char* commands, bool quiet) {
    return !nft.empty() && runCommand({nft, commands}, {.quiet = quiet}) == 0;
}

}  // namespace

void applyForwarding() {
    const std::string nft = findProgram("nft");
    if (conf().value("FORWARD_1905") != "no") {
        // A kernel without nftables refuses, and has nothing left over either.
        runNft(nft, kRemove, true);
        return;
    }
    isolation.installed = runNft(nft, kIsolate, false);
    if (isolation.installed) return;
    if (nft.empty()) {
        LOG_LINE(1,
                 "FORWARD_1905 = no needs the program nft, which is not installed: install the "
                 "package nftables. Bridges go on forwarding IEEE 1905.1 frames");
    } else {
        LOG_LINE(1,
                 "nft refused the rule of FORWARD_1905 = no; the kernel needs nf_tables for "
                 "bridges. Bridges go on forwarding IEEE 1905.1 frames");
    }
}

void removeIsolation() {
    if (isolation.installed && !runNft(findProgram("nft"), kRemove, false)) {
        LOG_LINE(1, "can't remove the nftables table vm1905");
    }
    isolation.installed = false;
}
