#include "netctrl/isolate.h"

#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "base/result.h"
#include "common/command.h"
#include "common/conf.h"
#include "common/log.h"
#include "netctrl/netlink.h"

namespace {

constexpr char kTable[] = "vm1905";
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

constexpr std::string_view kIsolateProgram = "nft (isolate)";
constexpr std::string_view kRemoveProgram = "nft (remove)";

int runNft(const char* commands) {
    const std::string nft = findProgram("nft");
    execl(nft.c_str(), nft.c_str(), commands, nullptr);
    return kFailure;
}

// Whether the table exists. To ask the kernel takes microseconds, to run nft takes longer than all
// the rest of the start.
bool hasTable() {
    struct {
        nfgenmsg header{AF_BRIDGE, NFNETLINK_V0, 0};
        nlattr attr{NLA_HDRLEN + sizeof kTable, NFTA_TABLE_NAME};
        char name[NLA_ALIGN(sizeof kTable)]{};
    } query;
    memcpy(query.name, kTable, sizeof kTable);
    auto socket = NetlinkSocket::open(NETLINK_NETFILTER);
    bool found = !socket;
    constexpr int kGetTable = NFNL_SUBSYS_NFTABLES << 8 | NFT_MSG_GETTABLE;
    if (socket)
        (void)socket->request(kGetTable, 0, bytesOf(query), [&](nlmsghdr*) { found = true; });
    return found;
}

bool apply(std::string_view program, bool quiet) {
    return !findProgram("nft").empty() && runCommand(program, quiet) == 0;
}

}  // namespace

int runIsolate(const Arguments& /*args*/) {
    return runNft(kIsolate);
}

int runRemoveIsolation(const Arguments& /*args*/) {
    return runNft(kRemove);
}

void applyForwarding() {
    if (conf().value("FORWARD_1905") != "no") {
        if (hasTable()) (void)apply(kRemoveProgram, true);
        return;
    }
    isolation.installed = apply(kIsolateProgram, false);
    if (isolation.installed) return;
    if (findProgram("nft").empty()) {
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
    if (isolation.installed && !apply(kRemoveProgram, false)) {
        LOG_LINE(1, "can't remove the nftables table vm1905");
    }
    isolation.installed = false;
}
