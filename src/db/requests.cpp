#include "db/requests.h"

#include "base/clock.h"
#include "base/log.h"
#include "base/result.h"

namespace {

constexpr Seconds kDataModelDelay = 2;

struct DataModelUpdateReq {
    bool pending = false;
    Seconds firstRequestTime = 0;
};

struct {
    RequestHandlers handlers;
    DataModelUpdateReq dataModel;
} module;

}  // namespace

RequestHandlers& requestHandlers() {
    return module.handlers;
}

int requestUpdateDataModel(int flag) {
    if (!module.dataModel.pending) module.dataModel = {true, now()};
    if (flag == 1) (void)requestTopolNotification();
    return kOk;
}

int checkDataModelStatus() {
    if (!module.dataModel.pending) return kOk;
    if (now() - module.dataModel.firstRequestTime < kDataModelDelay) return kOk;
    LOG_PUTS(3, "update data model\r");
    (void)requestWriteDataModel();
    module.dataModel.pending = false;
    return kOk;
}

int requestWriteDataModel() {
    const auto write = module.handlers.writeJsonDataModel;
    return write != nullptr ? write() : kOk;
}

int requestReinitPorts() {
    const auto reinit = module.handlers.reinitIntfPorts;
    return reinit != nullptr ? reinit() : kOk;
}

int requestTopolQuery(const MacAddr& alMac) {
    const auto send = module.handlers.sendTopolQuery;
    return send != nullptr ? send(alMac) : kOk;
}

int requestTopolNotification() {
    const auto request = module.handlers.requestSendTopolNtfMsg;
    return request != nullptr ? request() : kOk;
}

int requestCheckFlag(const MacAddr& alMac, const char* flagName, int flag) {
    const auto set = module.handlers.setMessageTransmitterCheckFlag;
    return set != nullptr ? set(alMac, flagName, flag) : kOk;
}
