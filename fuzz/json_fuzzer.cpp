// Feeds vm1905.json to vm1905ctl, with a daemon that knows the devices of the file, and prints all
// views that are built on it. The input is also taken for vm1905.conf, which names the folder.
#include <algorithm>

#include "data_model.h"
#include "failure.h"
#include "process.h"
#include "views.h"

namespace {

const DataModel* known = nullptr;

const ModelDevice& deviceAt(const vm1905_mac* alMac) {
    return *known->find(*alMac);
}

// The entry of a list, if it has one at this index.
template <typename Entry>
const Entry* entryAt(const std::vector<Entry>& list, size_t index) {
    return index < list.size() ? &list[index] : nullptr;
}

void printAll(const Report& report) {
    std::string text, json, pairs;
    report.print(Format::kText, text);
    report.print(Format::kJson, json);
    report.print(Format::kKeyValue, pairs);
    require(Json::accept(json));
    for (const char c : text) require(c == '\n' || (c & 0xE0) != 0);
    (void)report.fingerprint();
}

}  // namespace

// The daemon. Own interfaces and their links are not those of the file.
int vm1905_open(vm1905_client** client) {
    *client = nullptr;
    return VM1905_OK;
}
void vm1905_set_progress(vm1905_client*, vm1905_progress, void*) {}
int vm1905_get_al(vm1905_client*, vm1905_al* al) {
    *al = {known->own.alMac, 0, 0, static_cast<uint8_t>(known->own.interfaces.size()), 0};
    return VM1905_OK;
}
int vm1905_get_topology(vm1905_client*, vm1905_topology* topology) {
    *topology = {1, 1, 0, static_cast<uint8_t>(known->devices.size()), 0};
    return VM1905_OK;
}
int vm1905_get_log_entry(vm1905_client*, uint8_t, vm1905_log_entry*) {
    return VM1905_EMPTY;
}
int vm1905_get_mesh_key(vm1905_client*, vm1905_mesh_key* key) {
    *key = {};
    return VM1905_OK;
}
int vm1905_get_identity(vm1905_client*, vm1905_identity* identity) {
    *identity = {};
    return VM1905_OK;
}
int vm1905_get_dev_silence(vm1905_client*, uint8_t, vm1905_dev_silence*) {
    return VM1905_EMPTY;
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
    const auto* entry = entryAt(known->own.interfaces, index);
    if (entry == nullptr) return VM1905_FAILED;
    *intf = {entry->mac, 0, 5, 0x0105, 0};
    return VM1905_OK;
}
int vm1905_get_link_num(vm1905_client*, const vm1905_mac*, uint16_t, uint16_t*) {
    return VM1905_FAILED;
}
int vm1905_get_dev(vm1905_client*, uint8_t index, vm1905_dev* dev) {
    const auto* entry = entryAt(known->devices, index);
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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bytes text(data, size);
    const std::string path = writeScratch("vm1905.json", text);
    require(dataModelPath(path).ends_with("/vm1905.json"));
    const DataModel model = parseDataModel(textOf(text));
    if (!model.trouble.empty()) return 0;
    known = &model;
    Options options;
    options.dataModel = path;
    Session session(options, "vm1905ctl");
    require(session.model().trouble.empty());
    for (Report (*show)(Session&) : {showStatus, showInterfaces, showDevices}) {
        printAll(show(session));
    }
    printAll(showLinks(session, ""));
    for (const Drawing drawing : {Drawing::kTree, Drawing::kDot, Drawing::kMermaid}) {
        printAll(showTopology(session, "", true, drawing));
    }
    std::vector<std::string> names{"self"};
    for (const ModelDevice& device : model.devices) names.push_back(device.text("Hostname"));
    for (const std::string& name : names) {
        try {
            printAll(showDevice(session, name));
        } catch (const Failure& failure) {
            require(failure.status == kUsage);  // a name that is not unique
        }
    }
    return 0;
}
