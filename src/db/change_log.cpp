#include "db/change_log.h"

#include <algorithm>

#include "base/result.h"
#include "db/data_model_update.h"
#include "db/database.h"

namespace {

size_t ringSize(const TopolTable& topol) {
    return std::min<size_t>(topol.maxChangeLogEntries, TopolTable::kChangeLogCapacity);
}

}  // namespace

int updateChangeLogTable(uint32_t eventType, const MacAddr& reporterAlMac,
                         const MacAddr& reporterIntfMac, uint32_t nbrType, const MacAddr& nbrMac,
                         bool notify) {
    TopolTable* topol = getNetTopolTable();
    if (topol == nullptr) return kOk;
    const size_t maximum = ringSize(*topol);
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
    // Move the newest entries to the front, oldest first, so that the ring continues behind them.
    auto& log = topol->changeLog;
    const size_t num = std::min<size_t>(topol->changeLogNum, log.size());
    const size_t kept = std::min<size_t>(num, maximum);
    const size_t oldest = num < ringSize(*topol) ? 0 : topol->changeLogNext;
    std::rotate(log.begin(), log.begin() + oldest, log.begin() + num);
    std::rotate(log.begin(), log.begin() + (num - kept), log.begin() + num);
    topol->maxChangeLogEntries = maximum;
    topol->changeLogNum = static_cast<uint16_t>(kept);
    topol->changeLogNext = static_cast<uint16_t>(kept < ringSize(*topol) ? kept : 0);
    return kOk;
}
