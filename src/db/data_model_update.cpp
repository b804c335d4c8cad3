#include "db/data_model_update.h"

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/upcalls.h"

namespace {

constexpr Seconds kDataModelDelay = 2;

DataModelUpdateReq& request() {
    return stateOf<DataModelUpdateReq>();
}

}  // namespace

int requestUpdateDataModel(int flag) {
    if (!request().pending) request() = {true, now()};
    if (flag == 1) upcalls().requestSendTopolNtfMsg();
    return kOk;
}

int checkDataModelStatus() {
    if (!request().pending) return kOk;
    if (now() - request().firstRequestTime < kDataModelDelay) return kOk;
    LOG_PUTS(3, "update data model\r");
    upcalls().writeJsonDataModel();
    request().pending = false;
    return kOk;
}
