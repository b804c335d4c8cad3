#include "db/database.h"

#include "base/log.h"
#include "platform/descriptions.h"

namespace {

std::unique_ptr<AlTable> al_table;

// The index-th entry of those that the predicate selects.
template <typename Pred>
IntfNbrDev* nbrAt(IntfTable& intf, unsigned index, size_t bound, Pred selects, const char* caller,
                  int line) {
    if (index < bound) {
        for (auto& nbr : intf.nbrs) {
            if (selects(nbr) && index-- == 0) return &nbr;
        }
    }
    if (DEBUGLEVEL >= 2) {
        logLine(2, caller, line, "invalid index (%d/%d)\r\n", static_cast<int>(index),
                static_cast<int>(bound));
    }
    return nullptr;
}

}  // namespace

AlTable& createDatabase() {
    al_table = std::make_unique<AlTable>();
    return *al_table;
}

void destroyDatabase() {
    al_table.reset();
}

AlTable* getAlTable() {
    return al_table.get();
}

const MacAddr* getAlMac() {
    return al_table ? &al_table->alMac : nullptr;
}

bool isOwnAlMac(const MacAddr& alMac) {
    return al_table && alMac == al_table->alMac;
}

const uint8_t* getAlOui() {
    return al_table ? al_table->oui.data() : nullptr;
}

const std::vector<uint8_t>& getAlVendInfo() {
    static const std::vector<uint8_t> none;
    return al_table ? al_table->vendInfo : none;
}

uint32_t getAlOperStatus() {
    return al_table ? al_table->operStatus : 0;
}

uint32_t getNetTopolCap() {
    return al_table ? al_table->topol.enable : 0;
}

uint32_t getNetTopolStatus() {
    return al_table ? al_table->topol.status : 0;
}

TopolTable* getNetTopolTable() {
    return al_table ? &al_table->topol : nullptr;
}

std::list<IntfTable>& getIntfTable() {
    static std::list<IntfTable> none;
    return al_table ? al_table->intfs : none;
}

uint8_t getIntfNum() {
    if (!al_table) return 0;
    uint8_t num = 0;
    if (getIntfmatchNum(&num) == 0) al_table->intfNum = num;
    return al_table->intfNum;
}

IntfTable* getIntfTableByIndex(unsigned index) {
    const unsigned bound = al_table ? al_table->intfNum : 0;
    if (index >= bound) {
        LOG(2, "invalid index (%d/%d)\r\n", static_cast<int>(index), static_cast<int>(bound));
        return nullptr;
    }
    if (index >= al_table->intfs.size()) return nullptr;
    return &*std::next(al_table->intfs.begin(), static_cast<std::ptrdiff_t>(index));
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

IntfNbrDev* getIntfNbrDevByIndex(IntfTable& intf, unsigned index) {
    return nbrAt(
        intf, index, intf.nbrs.size(), [](const auto&) { return true; }, __func__, __LINE__);
}

IntfNbrDev* getIntf1905NbrDevByIndex(IntfTable& intf, unsigned index) {
    return nbrAt(
        intf, index, intf.nbr1905Num(), [](const auto& nbr) { return nbr.is1905; }, __func__,
        __LINE__);
}

IntfNbrDev* getIntfNon1905NbrDevByIndex(IntfTable& intf, unsigned index) {
    return nbrAt(
        intf, index, intf.nbrNon1905Num(), [](const auto& nbr) { return !nbr.is1905; }, __func__,
        __LINE__);
}

IntfNbrDev* getIntfNbrDevByMac(IntfTable& intf, const MacAddr& nbrIntfMac) {
    for (auto& nbr : intf.nbrs) {
        if (nbr.nbrIntfMac == nbrIntfMac) return &nbr;
    }
    return nullptr;
}

uint8_t getBrdgTupleNum() {
    return al_table ? static_cast<uint8_t>(al_table->brdgTuples.size()) : 0;
}

BrdgTuple* getBrdgTupleByIndex(unsigned index) {
    const unsigned bound = getBrdgTupleNum();
    if (index < bound) return &al_table->brdgTuples[index];
    LOG(2, "invalid index (%d/%d)\r\n", static_cast<int>(index), static_cast<int>(bound));
    return nullptr;
}

FwdRule* getFwdRuleTableByIndex(unsigned index) {
    const size_t bound = al_table ? al_table->fwdRules.size() : 0;
    if (index < bound) return &al_table->fwdRules[index];
    LOG(2, "invalid index (%d/%d)\r\n", static_cast<int>(index), static_cast<int>(bound));
    return nullptr;
}

FwdRule* getFwdRuleTableByRuleId(uint16_t ruleId) {
    if (al_table) {
        for (auto& rule : al_table->fwdRules) {
            if (rule.ruleId == ruleId) return &rule;
        }
    }
    LOG(2, "invalid ruleId = %d\r\n", ruleId);
    return nullptr;
}

SecurityTable* getSecurityTable() {
    if (al_table) return &al_table->security;
    LOG_PUTS(2, "al_table is NULL\r");
    return nullptr;
}

std::vector<NbrDev>& getNbrDevTable() {
    static std::vector<NbrDev> none;
    return al_table ? al_table->nbrDevs : none;
}

uint8_t getNbrDevNum() {
    return static_cast<uint8_t>(getNbrDevTable().size());
}

NbrDev* getNbrDevTableByIndex(unsigned index) {
    auto& devs = getNbrDevTable();
    const uint8_t at = static_cast<uint8_t>(index);
    return at < devs.size() ? &devs[at] : nullptr;
}
