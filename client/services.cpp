#include "services.h"

#include <algorithm>

#include "orders/slot_layout.h"
#include "vm1905_client.h"

namespace {

constexpr uint16_t kReads[] = {0,  2,  4,  6,  10, 12, 18, 20,  28,
                               30, 34, 36, 38, 40, 42, 44, 128, 132};
constexpr uint16_t kForNeighbors[] = {134, 136, 143, 145, 147, 149, 159,
                                      161, 202, 204, 206, 208, 210, 214};
constexpr uint16_t kGetWps = 140;
constexpr uint16_t kToOneOrAll[] = {161, 214};

}  // namespace

bool isRead(uint16_t service) {
    return std::ranges::binary_search(kReads, service);
}

bool isAnswered(uint16_t service, std::span<const uint8_t> payload) {
    if (service == kGetWps) return false;
    if (std::ranges::find(kToOneOrAll, service) == std::end(kToOneOrAll)) return true;
    const auto target = payload.first(std::min(payload.size(), slots::req::kTarget.width));
    return std::ranges::any_of(target, [](uint8_t byte) { return byte != 0; });
}

extern "C" int vm1905_is_for_neighbor(uint16_t service) {
    return std::ranges::binary_search(kForNeighbors, service) ? 1 : 0;
}
