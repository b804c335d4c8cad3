#include "controller/root_ap.h"

#include <arpa/inet.h>

#include <algorithm>

#include "base/file_trouble.h"
#include "base/state.h"
#include "db/database.h"
#include "db/registrars.h"
#include "platform/autoconfig.h"

namespace {

RootAp& rootAp() {
    return stateOf<RootAp>();
}

bool isRootAp(const Ieee1905DevTable& dev) {
    return !dev.intfs.empty() && dev.role == PLATFORM_REGISTRAR && !isOtherRegistrar(dev.alMac);
}

void noteMeshMac(const DevIntf& intf) {
    for (auto& row : rootAp().rows) {
        if (row.found || intf.name != row.intfName) continue;
        row.mac = macText(intf.mac);
        row.found = true;
        return;
    }
}

// Checked because the text comes from another device and programs read the file.
bool isIpAddress(const Text<32>& text) {
    in6_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 ||
           inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

void publish(const char* name, std::string_view text) {
    const std::string path = rootAp().folder + name;
    (void)noteFileTrouble(path, replacePublicFile(path, text));
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
    publish("/ROOTAP_MESH_MAC", text);
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
        publish("/rootap_ip", std::string(rootAp().ip.view()) + "\n");
    }
}
