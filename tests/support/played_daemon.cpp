#include "support/played_daemon.h"

#include <algorithm>

PlayedDaemon playedDaemon;

namespace {

const DataModel& known() {
    return *playedDaemon.known;
}

const ModelDevice& deviceAt(const vm1905_mac* alMac) {
    return *known().find(*alMac);
}

// The entry of a list, if it has one at this index.
template <typename Entry>
const Entry* entryAt(const std::vector<Entry>& list, size_t index) {
    return index < list.size() ? &list[index] : nullptr;
}

}  // namespace

// Own interfaces and their links are not those of the file.
int vm1905_open(vm1905_client** client) {
    *client = nullptr;
    return VM1905_OK;
}
void vm1905_set_progress(vm1905_client*, vm1905_progress, void*) {}
int vm1905_get_al(vm1905_client*, vm1905_al* al) {
    *al = {known().own.alMac, 0, 0, static_cast<uint8_t>(known().own.interfaces.size()),
           playedDaemon.hasNoPort};
    return VM1905_OK;
}
int vm1905_get_topology(vm1905_client*, vm1905_topology* topology) {
    *topology = {1, 1, 0, static_cast<uint8_t>(known().devices.size()), 0};
    return VM1905_OK;
}
int vm1905_get_log_entry(vm1905_client*, uint8_t index, vm1905_log_entry* entry) {
    const auto* found = entryAt(playedDaemon.log, index);
    if (found == nullptr) return VM1905_BAD_INDEX;
    *entry = *found;
    return VM1905_OK;
}
int vm1905_send_discovery(vm1905_client*) {
    return VM1905_OK;
}
int vm1905_get_mesh_key(vm1905_client*, vm1905_mesh_key* key) {
    *key = {};
    return VM1905_OK;
}
int vm1905_get_identity(vm1905_client*, vm1905_identity* identity) {
    *identity = {"02:00:00:00:01:0a", "7.1"};
    return VM1905_OK;
}
int vm1905_get_dev_silence(vm1905_client*, uint8_t index, vm1905_dev_silence* silence) {
    const auto* entry = entryAt(playedDaemon.silence, index);
    if (entry == nullptr || index >= known().devices.size()) return VM1905_BAD_INDEX;
    *silence = {known().devices[index].alMac, 1, *entry};
    return VM1905_OK;
}
int vm1905_get_option(vm1905_client*, uint8_t, uint8_t* value) {
    *value = 1;
    return VM1905_OK;
}
int vm1905_get_dev_option(vm1905_client*, const vm1905_mac*, uint8_t, uint8_t* value) {
    *value = 1;
    return VM1905_OK;
}
int vm1905_get_intf(vm1905_client*, uint8_t index, vm1905_intf* intf) {
    const auto* entry = entryAt(known().own.interfaces, index);
    if (entry == nullptr) return VM1905_FAILED;
    const bool isDown = entry->mac == playedDaemon.downIntf;
    *intf = {entry->mac, static_cast<uint8_t>(isDown ? 5 : 0), 5, 0x0105, 0};
    return VM1905_OK;
}
int vm1905_get_link_num(vm1905_client*, const vm1905_mac*, uint16_t, uint16_t*) {
    return VM1905_FAILED;
}
int vm1905_get_dev(vm1905_client*, uint8_t index, vm1905_dev* dev) {
    const auto* entry = entryAt(known().devices, index);
    if (entry == nullptr) return VM1905_BAD_INDEX;
    *dev = {entry->alMac, 0, 0, 0, 0, 0};
    return VM1905_OK;
}
int vm1905_get_dev_intf(vm1905_client*, const vm1905_mac* alMac, uint8_t index,
                        vm1905_dev_intf* intf) {
    const auto* entry = entryAt(deviceAt(alMac).interfaces, index);
    if (entry == nullptr) return VM1905_BAD_INDEX;
    *intf = {entry->mac, index, 0, {}, 0};
    return VM1905_OK;
}
int vm1905_get_dev_1905_nbrs(vm1905_client*, const vm1905_mac* alMac, uint8_t index,
                             vm1905_1905_nbrs* nbrs) {
    const auto* entry = entryAt(deviceAt(alMac).neighbors, index);
    if (entry == nullptr) return VM1905_BAD_INDEX;
    *nbrs = {entry->localIntf, static_cast<uint8_t>(entry->alMac.isZero() ? 0 : 1), {}};
    nbrs->nbrs[0] = {entry->alMac, 0};
    return VM1905_OK;
}
int vm1905_get_dev_non1905_nbrs(vm1905_client*, const vm1905_mac* alMac, uint8_t index,
                                vm1905_non1905_nbrs* nbrs) {
    const auto* entry = entryAt(deviceAt(alMac).neighbors, index);
    if (entry == nullptr) return VM1905_BAD_INDEX;
    *nbrs = {entry->localIntf, static_cast<uint8_t>(entry->alMac.isZero() ? 1 : 0), {entry->intf}};
    return VM1905_OK;
}
int vm1905_get_dev_tuple(vm1905_client*, const vm1905_mac* alMac, uint8_t index,
                         vm1905_tuple* tuple) {
    if (index > 0) return VM1905_BAD_INDEX;
    const auto& intfs = deviceAt(alMac).interfaces;
    tuple->num = static_cast<uint8_t>(std::min<size_t>(intfs.size(), 104));
    for (size_t i = 0; i < tuple->num; i++) tuple->macs[i] = intfs[i].mac;
    return VM1905_OK;
}
