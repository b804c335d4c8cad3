#include "handlers/firmware_handlers.h"

#include <cstdio>
#include <cstring>

#include "base/log.h"
#include "base/result.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/device_table.h"
#include "handlers/answer_memory.h"
#include "handlers/control_request.h"
#include "orders/answer_writers.h"
#include "orders/firmware_upgrade_list.h"
#include "platform/autoconfig.h"
#include "platform/device.h"
#include "wire/vend_payloads.h"

namespace {

template <size_t N>
void copyText(char (&field)[N], std::string_view text) {
    snprintf(field, N, "%.*s", static_cast<int>(text.size()), text.data());
}

// Any device on the network can send an order, but only a Registrar has a reason to.
bool isFromRegistrar(const VendContext& context) {
    if (isKnownRegistrar(context.msg.alMac)) return true;
    LOG(2, "firmware order refused: " MAC_FMT " is not known as a Registrar\r\n",
        MAC_ARGS(context.msg.alMac));
    return false;
}

int control(const VendContext& context, const FwCtrl& ctrl) {
    const int retCode = isFromRegistrar(context) ? FWCtrl(&ctrl) : kFailure;
    if (retCode != kOk) LOG_PUTS(2, "FW control error\r");
    return answerRequest(context, VEND_MSG_TYPE_FW_CTRL_RESP, retCode);
}

}  // namespace

int handleFWCrtlReqMsg(const VendContext& context, const FwCtrlReq& request) {
    if (!isEnrollee()) return kFailure;
    LOG(4, "FWOption = %d, FWTopoOption = %d, FWURLcount = %d, FWURL = %s\n", request.fwOption,
        request.fwTopoOption, static_cast<int>(request.fwUrl.size()),
        plainText(request.fwUrl).c_str());
    FwCtrl ctrl{};
    ctrl.fwOption = request.fwOption;
    ctrl.fwTopoOption = request.fwTopoOption;
    copyText(ctrl.url, request.fwUrl);
    return control(context, ctrl);
}

int handleFWCrtl2ReqMsg(const VendContext& context, const FwCtrl2Req& request) {
    if (!isEnrollee()) return kFailure;
    FwCtrl ctrl{};
    for (const auto& item : request.items) {
        const std::string_view text(reinterpret_cast<const char*>(item.value.data()),
                                    item.value.size());
        if (item.type == kFwOption && !text.empty()) ctrl.fwOption = item.value[0];
        if (item.type == kFwTopoOption && !text.empty()) ctrl.fwTopoOption = item.value[0];
        if (item.type == kFwUrl) copyText(ctrl.url, text);
        if (item.type == kFwFileName) copyText(ctrl.fileName, text);
    }
    LOG(4, "FWURL = %s, FWFileNamecount = %d, FWFileName = %s\n", plainText(ctrl.url).c_str(),
        static_cast<int>(strlen(ctrl.fileName)), plainText(ctrl.fileName).c_str());
    return control(context, ctrl);
}

int handleFWCrtlRespMsg(const VendContext& context, const RetCodePayload& answer) {
    return respFWCrtlServReq(context.msgId, answer.retCode);
}

int handleFWStateChangeRequestMsg(const VendContext& context, const AlMacPayload& /*request*/) {
    uint32_t state = getAlTable()->fwUpgradeStatus;
    (void)getfirmwareStatus(0, 0, &state);
    return sendAnswer(context, VEND_MSG_TYPE_FWSTATECHANGE_RESP,
                      OptionPayload{*getAlMac(), static_cast<uint8_t>(state)});
}

int handleFWStateChangeResponseMsg(const VendContext& context, const OptionPayload& answer) {
    Ieee1905DevTable* dev = editIeee1905DevTableById(context.msg.alMac);
    if (dev == nullptr) return kOk;
    dev->firmwareState = answer.option;
    noteRemoteFirmwareState(*dev);
    return requestUpdateDataModel(0);
}

void noteRemoteFirmwareState(const Ieee1905DevTable& dev) {
    const bool atWork = dev.firmwareState == PLATFORM_FW_BUSY ||
                        dev.firmwareState == PLATFORM_FW_UPGRADE ||
                        dev.firmwareState == PLATFORM_FW_UPGRADE_EX;
    if (!atWork && findFWupgradelist(dev.alMac) != nullptr) {
        (void)addFWupgradelist(dev.alMac, kFWupgradeSetState, kFWupgradeNone);
    }
}
