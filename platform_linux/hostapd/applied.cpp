#include "hostapd/applied.h"

#include <fcntl.h>
#include <sys/file.h>

#include <sstream>

#include "base/own_folder.h"
#include "common/files.h"
#include "hostapd/control.h"

namespace {

constexpr size_t kMostText = 8192;

std::istringstream read(const std::string& name) {
    return std::istringstream(readFile(ownFolder() + name, kMostText, Links::kRefuse));
}

}  // namespace

std::vector<AppliedNetwork> readAppliedNetworks() {
    std::vector<AppliedNetwork> all;
    auto text = read("/hostapd");
    for (AppliedNetwork each; text >> each.ifname >> each.stamp >> each.digest >> each.rfBand;) {
        all.push_back(each);
    }
    return all;
}

bool writeAppliedNetworks(const std::vector<AppliedNetwork>& all) {
    std::ostringstream text;
    for (const AppliedNetwork& each : all) {
        text << each.ifname << ' ' << each.stamp << ' ' << each.digest << ' ' << each.rfBand
             << '\n';
    }
    return writeSecretFile(ownFolder() + "/hostapd", text.str());
}

void forgetDisabledBss() {
    auto all = readAppliedNetworks();
    const auto isDisabled = [](const AppliedNetwork& each) { return each.digest == kNoNetwork; };
    if (std::erase_if(all, isDisabled) > 0) (void)writeAppliedNetworks(all);
}

std::vector<AppliedOrders> readAppliedOrders() {
    std::vector<AppliedOrders> all;
    auto text = read("/hostapd-orders");
    for (AppliedOrders each; text >> each.ifname >> each.stamp >> each.isOff >> each.country;) {
        all.push_back(each);
    }
    return all;
}

bool writeAppliedOrders(const std::vector<AppliedOrders>& all) {
    std::ostringstream text;
    for (const AppliedOrders& each : all) {
        text << each.ifname << ' ' << each.stamp << ' ' << each.isOff << ' ' << each.country
             << '\n';
    }
    return writeSecretFile(ownFolder() + "/hostapd-orders", text.str());
}

Fd lockHostapd() {
    Fd folder(open(hostapdFolder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    (void)flock(folder.get(), LOCK_EX);
    return folder;
}
