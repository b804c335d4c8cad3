#include "controller/root_ap.h"

#include <arpa/inet.h>

#include <algorithm>

#include "base/public_file.h"
#include "base/shell.h"
#include "base/state.h"
#include "db/database.h"
#include "platform/autoconfig.h"

namespace {

RootAp& rootAp() {
    return stateOf<RootAp>();
}

bool isRootAp(const Ieee1905DevTable& dev) {
    return !dev.intfs.empty() && dev.role == PLATFORM_REGISTRAR;
}

void noteMeshMac(const DevIntf& intf) {
    for (auto& row : rootAp().rows) {
        if (row.found || intf.name != row.intfName) continue;
        row.mac = macText(intf.mac);
        row.found = true;
        return;
    }
}

// Checked because the text comes from another device and is part of a shell command.
bool isIpAddress(const Text<32>& text) {
    in6_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 ||
           inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

}  // namespace

bool rootApMeshMacsPublished() {
    return rootAp().flag_rootap_mesh_mac != 0;
}

void publishRootApMeshMacs() {
    const TopolTable* topol = getNetTopolTable();
    if (topol == nullptr) return;
    for (const auto& dev : topol->devs) {
        if (!isRootAp(dev)) continue;
        for (const auto& intf : dev.intfs) noteMeshMac(intf);
    }
    if (!std::all_of(rootAp().rows.begin(), rootAp().rows.end(),
                     [](const RootApMeshRow& row) { return row.found; })) {
        return;
    }
    // Meant: there is no second attempt if the file cannot be written.
    rootAp().flag_rootap_mesh_mac = 1;
    std::string text;
    for (const auto& row : rootAp().rows) {
        text.append(row.intfName).append("=").append(row.mac.view()).append("\n");
    }
    (void)writePublicFile((rootAp().folder + "/ROOTAP_MESH_MAC").c_str(), text);
}

bool isRootApIpWanted() {
    const AlTable* al = getAlTable();
    return al != nullptr && al->role() == PLATFORM_ENROLLEE;
}

void publishRootApIp() {
    const TopolTable* topol = getNetTopolTable();
    if (topol == nullptr) return;
    for (const auto& dev : topol->devs) {
        if (!isRootAp(dev) || dev.deviceIP == rootAp().ip || !isIpAddress(dev.deviceIP)) continue;
        rootAp().ip = dev.deviceIP;
        const std::string path = rootAp().folder + "/rootap_ip";
        if (isOrdinaryFile(path.c_str()))
            (void)runShell("echo %s >%s", rootAp().ip.c_str(), path.c_str());
    }
}
