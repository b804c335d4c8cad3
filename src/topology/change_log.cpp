#include "topology/change_log.h"

#include "core/requests.h"
#include "core/result.h"
#include "topology/data_manager.h"

int updateChangeLogTable(uint32_t eventType, const MacAddr& reporterAlMac,
                         const MacAddr& reporterIntfMac, uint32_t nbrType, const MacAddr& nbrMac,
                         bool notify) {
    TopolTable* topol = getNetTopolTable();
    if (topol == nullptr) return kOk;
    const size_t maximum =
        std::min<size_t>(topol->maxChangeLogEntries, TopolTable::kChangeLogCapacity);
    topol->changeLog[topol->changeLogNext] = {now(),           eventType, reporterAlMac,
                                              reporterIntfMac, nbrType,   nbrMac};
    if (topol->changeLogNum < maximum) topol->changeLogNum++;
    topol->changeLogNext++;
    if (topol->changeLogNext >= maximum) topol->changeLogNext = 0;
    return requestUpdateDataModel(notify ? 1 : 0);
}

int setChangeLogMaxEntries(uint16_t maximum) {
    TopolTable* topol = getNetTopolTable();
    if (topol == nullptr) return kFailure;
    topol->maxChangeLogEntries = maximum;
    return kOk;
}
