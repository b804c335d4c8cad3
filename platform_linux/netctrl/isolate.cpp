#include "netctrl/isolate.h"

#include <string>

#include "common/command.h"
#include "common/conf.h"
#include "common/log.h"

namespace {

// Adding the table first avoids an error if it does not exist.
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
        // Fails on a kernel without nftables, which has nothing to remove either.
        runNft(nft, kRemove, true);
        return;
    }
    isolation.installed = runNft(nft, kIsolate, false);
    if (isolation.installed) return;
    if (nft.empty()) {
        LOG_LINE(1,
                 "FORWARD_1905 = no needs the program nft: install the package nftables. "
                 "Bridges continue to forward IEEE 1905.1 frames");
    } else {
        LOG_LINE(1,
                 "nft refused the rule for FORWARD_1905 = no; the kernel needs nf_tables for "
                 "bridges. Bridges continue to forward IEEE 1905.1 frames");
    }
}

void removeIsolation() {
    if (isolation.installed && !runNft(findProgram("nft"), kRemove, false)) {
        LOG_LINE(1, "can't remove the nftables table vm1905");
    }
    isolation.installed = false;
}
