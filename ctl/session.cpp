#include "session.h"

#include <poll.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "failure.h"

namespace {

struct Named {
    std::string name;
    Mac alMac;
};

int onProgress(void* session, unsigned milliseconds) {
    return static_cast<Session*>(session)->isWaiting(milliseconds) ? 0 : 1;
}

bool isWord(const std::string& given, const char* word) {
    return strcasecmp(given.c_str(), word) == 0;
}

}  // namespace

Session::~Session() {
    progress_.end();
    vm1905_close(client_);
}

vm1905_client* Session::client() {
    if (client_ != nullptr) return client_;
    check(vm1905_open(&client_), "");
    if (options_.timeout) {
        const auto milliseconds = static_cast<unsigned>(*options_.timeout * 1000);
        vm1905_set_timeouts(client_, milliseconds, milliseconds);
    }
    vm1905_set_progress(client_, onProgress, this);
    return client_;
}

const DataModel& Session::model() {
    if (model_) return *model_;
    model_ = readDataModel(options_.dataModel.empty() ? dataModelPath() : options_.dataModel);
    if (!model_->trouble.empty() && model_->trouble != toldTrouble_) {
        std::fprintf(stderr, "vm1905ctl: note: %s; MAC addresses are shown instead of names\n",
                     escaped(model_->trouble).c_str());
    }
    toldTrouble_ = model_->trouble;
    return *model_;
}

std::string Session::ownName() const {
    char name[256] = "";
    return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

Mesh Session::mesh() {
    vm1905_client* const channel = client();
    Mesh mesh = readMesh(channel, model(), ownName());
    // Without LLDP, which standard mode always reads, the daemon takes every neighbor to be behind
    // a bridge.
    if (configured("READ_LLDP") != "1" && model().own.text("StandardMode") != "true") {
        for (Device& device : mesh.devices) {
            for (Heard& heard : device.heard) heard.bridge.reset();
        }
    }
    return mesh;
}

Device Session::ownDevice() {
    const vm1905_al own = ownRecord();
    return readOwnDevice(client(), model(), own, ownName());
}

vm1905_al Session::ownRecord() {
    vm1905_al al;
    check(vm1905_get_al(client(), &al), "this device");
    return al;
}

vm1905_topology Session::topology() {
    vm1905_topology topology;
    check(vm1905_get_topology(client(), &topology), "the topology");
    return topology;
}

Mac Session::device(const std::string& given) {
    if (const auto mac = parseMac(given)) {
        if (!mac->isZero()) return *mac;
        // An empty variable in a script must not mean all devices.
        throw Failure{kUsage, given + " is not a device",
                      "for every device, where the command allows it: all"};
    }
    if (isWord(given, "self")) return ownRecord().al_mac;
    std::vector<Named> known;
    for (const ModelDevice& device : model().devices) {
        if (std::string name = device.text("Hostname"); !name.empty()) {
            known.push_back({name, device.alMac});
        }
    }
    known.push_back({ownName(), {}});
    const auto matching = [&](auto&& isMeant) {
        std::vector<Named> found;
        std::ranges::copy_if(known, std::back_inserter(found), isMeant);
        return found;
    };
    auto found = matching([&](const Named& named) { return named.name == given; });
    if (found.empty()) {
        found = matching([&](const Named& named) { return isWord(given, named.name.c_str()); });
    }
    if (found.size() == 1)
        return found[0].alMac.isZero() ? Mac(ownRecord().al_mac) : found[0].alMac;
    std::string list;
    for (const Named& named : found.empty() ? known : found) {
        list += (list.empty() ? "" : ", ") + (named.alMac.isZero()
                                                  ? named.name + " (this device: self)"
                                                  : named.name + " (" + named.alMac.text() + ")");
    }
    if (found.empty()) {
        throw Failure{kUsage, "no device is called " + given, "known names: " + list};
    }
    throw Failure{kUsage, std::to_string(found.size()) + " devices are called " + given,
                  "use the AL MAC of one of them: " + list};
}

Mac Session::otherDevice(const std::string& given) {
    const Mac mac = device(given);
    if (mac != Mac(ownRecord().al_mac)) return mac;
    throw Failure{kUsage, "orders go to other devices; this is " + called(mac) + " itself"};
}

Mac Session::otherDeviceOrAll(const std::string& given) {
    return isWord(given, "all") ? Mac{} : otherDevice(given);
}

std::string Session::called(const Mac& alMac) {
    if (alMac.isZero()) return "all devices";
    const ModelDevice* const device = model().find(alMac);
    const bool isOwn = device == &model().own;
    std::string name = device == nullptr ? "" : isOwn ? ownName() : device->text("Hostname");
    if (!name.empty()) return name;
    const auto lost = model().lost.find(alMac);
    return lost != model().lost.end() ? lost->second : alMac.text();
}

std::string Session::otherRegistrar() {
    const auto mac = parseMac(model().own.text("OtherRegistrar"));
    if (!mac) return {};
    const std::string name = called(*mac);
    return name == mac->text() ? name : name + " (" + mac->text() + ")";
}

std::string Session::portOf(const Mac& alMac, const Mac& intf) {
    const ModelDevice* const device = model().find(alMac);
    const ModelInterface* const known = device == nullptr ? nullptr : device->intf(intf);
    return known == nullptr || known->name.empty() ? intf.text() : known->name;
}

bool Session::isWaiting(unsigned milliseconds) {
    progress_.show(milliseconds);
    pollfd ending{ending_, POLLIN, 0};  // poll ignores it if it is negative
    return poll(&ending, 1, 0) == 0;
}

void Session::expect(const std::string& what) {
    progress_.begin(what);
}
