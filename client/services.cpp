#include "services.h"

#include <algorithm>

#include "orders/service_ids.h"
#include "orders/slot_layout.h"
#include "vm1905_client.h"

namespace {

constexpr uint16_t kReads[] = {kServGetOwnDev,         kServGetIntf,        kServGetIntfVendProp,
                               kServGetIntfPwrState,   kServGetLinkNum,     kServGetLinkMetric,
                               kServGetFwdRuleNum,     kServGetFwdRule,     kServGetTopol,
                               kServGetChangeLog,      kServGetDev,         kServGetDevIntf,
                               kServGetDevNon1905Nbrs, kServGetDev1905Nbrs, kServGetDevBrdgTuple,
                               kServGetSecurity,       kServGetOption,      kServGetDevOption};
constexpr uint16_t kForNeighbors[] = {
    kServReboot,         kServIntfPwrCtrl,  kServWpsCtrl,         kServAPSteering, kServFWCtrl,
    kServResetToDefault, kServSendCommand,  kServLEDCtrl,         kServSendBcnRpt, kServGetBcnRpt,
    kServSendBTM,        kServAddBlacklist, kServRemoveBlacklist, kServSystemCtrl, kServPing};
constexpr uint16_t kToOneOrAll[] = {kServLEDCtrl, kServSystemCtrl};

}  // namespace

bool isRead(uint16_t service) {
    return std::ranges::binary_search(kReads, service);
}

bool isAnswered(uint16_t service, std::span<const uint8_t> payload) {
    if (service == kServGetWps) return false;
    if (std::ranges::find(kToOneOrAll, service) == std::end(kToOneOrAll)) return true;
    const auto target = payload.first(std::min(payload.size(), slots::req::kTarget.width));
    return std::ranges::any_of(target, [](uint8_t byte) { return byte != 0; });
}

extern "C" int vm1905_is_for_neighbor(uint16_t service) {
    return std::ranges::binary_search(kForNeighbors, service) ? 1 : 0;
}
