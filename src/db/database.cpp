#include "db/database.h"

#include "base/log.h"
#include "base/state.h"
#include "platform/descriptions.h"

namespace {

Database& db() {
    return stateOf<Database>();
}

AlTable* al() {
    return db().al_table.get();
}

}  // namespace

AlTable& createDatabase() {
    db().al_table = std::make_unique<AlTable>();
    noteTopologyChange();
    return *al();
}

void destroyDatabase() {
    db().al_table.reset();
    noteTopologyChange();
}

uint64_t topologyRevision() {
    return db().topologyRevision;
}

void noteTopologyChange() {
    db().topologyRevision = ++db().lastRevision;
}

Ieee1905DevTable& DevTables::edit(const Ieee1905DevTable& dev) {
    auto& record = describe(dev);
    record.listsRevision = record.revision;
    return record;
}

Ieee1905DevTable& DevTables::describe(const Ieee1905DevTable& dev) {
    auto& record = const_cast<Ieee1905DevTable&>(dev);
    record.revision = ++db().lastRevision;
    return record;
}

const Ieee1905DevTable& DevTables::add(Ieee1905DevTable&& dev) {
    devs_.push_back(std::move(dev));
    noteTopologyChange();
    return edit(devs_.back());
}

void DevTables::erase(const_iterator dev) {
    devs_.erase(dev);
    noteTopologyChange();
}

void DevTables::clear() {
    devs_.clear();
    noteTopologyChange();
}

AlTable* getAlTable() {
    return al();
}

const MacAddr* getAlMac() {
    return al() != nullptr ? &al()->alMac : nullptr;
}

bool isOwnAlMac(const MacAddr& alMac) {
    return al() != nullptr && alMac == al()->alMac;
}

const uint8_t* getAlOui() {
    return al() != nullptr ? al()->oui.data() : nullptr;
}

uint32_t getNetTopolCap() {
    return al() != nullptr ? al()->topol.enable : 0;
}

uint32_t getNetTopolStatus() {
    return al() != nullptr ? al()->topol.status : 0;
}

TopolTable* getNetTopolTable() {
    return al() != nullptr ? &al()->topol : nullptr;
}

DevTables& getIeee1905DevTables() {
    return al() != nullptr ? al()->topol.devs : db().noDevs;
}

std::list<IntfTable>& getIntfTable() {
    return al() != nullptr ? al()->intfs : db().noIntfs;
}

uint8_t getIntfNum() {
    if (al() == nullptr) return 0;
    uint8_t num = 0;
    if (getIntfmatchNum(&num) == 0) al()->intfNum = num;
    return al()->intfNum;
}

IntfTable* getIntfTableByIndex(unsigned index) {
    const unsigned bound = al() != nullptr ? al()->intfNum : 0;
    if (index >= bound) {
        LOG(2, "invalid index (%d/%d)\r\n", static_cast<int>(index), static_cast<int>(bound));
        return nullptr;
    }
    if (index >= al()->intfs.size()) return nullptr;
    return &*std::next(al()->intfs.begin(), static_cast<std::ptrdiff_t>(index));
}

IntfTable* getIntfTableById(const MacAddr& mac, uint32_t mediaType) {
    for (auto& intf : getIntfTable()) {
        if (intf.mac == mac && intf.mediaType == mediaType) return &intf;
    }
    LOG(2, "failed to get interface table by ID (" MAC_FMT ")\r\n", MAC_ARGS(mac));
    return nullptr;
}

IntfTable* getIntfTableByName(std::string_view name) {
    for (auto& intf : getIntfTable()) {
        if (intf.name == name) return &intf;
    }
    return nullptr;
}

IntfTable* getIntfTableOf(std::string_view name, const MacAddr& mac, uint32_t mediaType) {
    IntfTable* intf = getIntfTableByName(name);
    return intf != nullptr ? intf : getIntfTableById(mac, mediaType);
}

IntfNbrDev* getIntfNbrDevByMac(IntfTable& intf, const MacAddr& nbrIntfMac) {
    for (auto& nbr : intf.nbrs) {
        if (nbr.nbrIntfMac == nbrIntfMac) return &nbr;
    }
    return nullptr;
}

uint8_t getBrdgTupleNum() {
    return al() != nullptr ? static_cast<uint8_t>(al()->brdgTuples.size()) : 0;
}

BrdgTuple* getBrdgTupleByIndex(unsigned index) {
    const unsigned bound = getBrdgTupleNum();
    if (index < bound) return &al()->brdgTuples[index];
    LOG(2, "invalid index (%d/%d)\r\n", static_cast<int>(index), static_cast<int>(bound));
    return nullptr;
}

SecurityTable* getSecurityTable() {
    if (al() != nullptr) return &al()->security;
    LOG_PUTS(2, "al_table is NULL\r");
    return nullptr;
}

std::vector<NbrDev>& getNbrDevTable() {
    return al() != nullptr ? al()->nbrDevs : db().noNbrDevs;
}

uint8_t getNbrDevNum() {
    return static_cast<uint8_t>(getNbrDevTable().size());
}

NbrDev* findNbrDev(const MacAddr& alMac) {
    auto& devs = getNbrDevTable();
    const auto it = std::ranges::find(devs, alMac, &NbrDev::alMac);
    return it != devs.end() ? &*it : nullptr;
}

NbrDev* getNbrDevTableByIndex(unsigned index) {
    auto& devs = getNbrDevTable();
    const uint8_t at = static_cast<uint8_t>(index);
    return at < devs.size() ? &devs[at] : nullptr;
}
