#include "controller/ethernet_port_state.h"

#include "controller/own_record.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "platform/state.h"

int checkEthernetPortState() {
    AlTable* al = getAlTable();
    decltype(DeviceInfo::ethernetPortState) state;
    if (al == nullptr || getEthernetPortState(state.data()) != 0) return kFailure;
    state.terminate();
    // It is written into the data model as it is, quotes and all.
    if (!isJsonItems(state)) return kFailure;
    return store(al->info.ethernetPortState, state) ? requestUpdateDataModel(0) : kOk;
}
