#include "handlers/control_handlers.h"

#include "base/log.h"
#include "base/result.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/own_state.h"
#include "db/upcalls.h"
#include "handlers/control_request.h"
#include "handlers/message_log.h"
#include "handlers/result_file.h"
#include "orders/answer_writers.h"
#include "orders/control_lists.h"
#include "orders/firmware_upgrade_list.h"
#include "orders/wifi_sync.h"
#include "platform/device.h"
#include "wire/vend_payloads.h"

namespace {

// The answer is sent first because act may take the device down. Without an answer act is not
// called.
template <typename Act>
int answerThenAct(const VendContext& context, VendMsgType respType, int retCode, const char* doing,
                  const char* refusal, Act&& act) {
    const int answered = answerRequest(context, respType, retCode);
    context.outcome.isUndone = answered != kOk;
    if (retCode != kOk || answered != kOk) {
        LOG(2, "%s\n", refusal);
        return answered;
    }
    LOG(3, "%s\n", doing);
    writeVendMsgLog(context.msg, context.srcMac);
    return act() == kOk ? kOk : kFailure;
}

int addressResult(const AlMacPayload& request) {
    return isOwnAlMac(request.almac) ? kOk : kNotAddressed;
}

int setLED(const VendContext& context, uint8_t option) {
    Outputlog("[LEDCtrl] get LED (%d) from (" MAC_FMT ")", option, MAC_ARGS(context.msg.alMac));
    return answerRequest(context, VEND_MSG_TYPE_LED_CTRL_RESP, setLEDvalue(option));
}

int setSystem(const VendContext& context, uint8_t option) {
    Outputlog("[SystemCtrl] get System (%d) from (" MAC_FMT ")", option,
              MAC_ARGS(context.msg.alMac));
    return answerRequest(context, VEND_MSG_TYPE_SYSTEM_CTRL_RESP, setSystemvalue(option));
}

}  // namespace

int handleRebootReqMsg(const VendContext& context, const AlMacPayload& request) {
    return answerThenAct(context, VEND_MSG_TYPE_REBOOT_RESP, addressResult(request), "reboot...\r",
                         "failed to reboot\r", upcalls().rebootSystem);
}

int handleRebootRespMsg(const VendContext& context, const RetCodePayload& answer) {
    const MacAddr* owner = getalMacOfIeee1905DevTableByintfMac(context.srcMac);
    if (owner == nullptr) return kFailure;
    const MacAddr alMac = *owner;
    const uint8_t retCode = answer.retCode;
    if (findFWupgradelist(alMac) != nullptr) {
        (void)addFWupgradelist(alMac, kFWupgradeSetState, kFWupgradeFinished);
        if (retCode != kOk)
            LOG(1, "the reboot after the upgrade is refused by (" MAC_FMT "): %d\n",
                MAC_ARGS(alMac), retCode);
    }
    return setRebootCtrlList(&alMac, context.msgId, 0, retCode);
}

int handleResetToDefaultReqMsg(const VendContext& context, const AlMacPayload& request) {
    return answerThenAct(context, VEND_MSG_TYPE_RESETTODEFAULT_RESP, addressResult(request),
                         "reset to default...\r", "failed to reset to default\r", resetToDefault);
}

int handleResetToDefaultRespMsg(const VendContext& context, const RetCodePayload& answer) {
    const MacAddr& sender = context.msg.alMac;
    // The device may have been lost since it was ordered.
    if (getIeee1905DevTableById(sender) == nullptr && !isResetOrdered(sender)) return kFailure;
    if (answer.retCode == kOk) {
        forgetWifiSync(sender);
        // Its acknowledgements of renews no longer count either.
        if (auto* dev = editIeee1905DevTableById(sender)) dev->apAutoConf.syncFlags = {};
        requestUpdateDataModel(0);
    }
    return setResetToDefaultCtrlList(&sender, context.msgId, 0, answer.retCode);
}

int handleLEDCtrlReqMsg(const VendContext& context, const OptionPayload& request) {
    return setLED(context, request.option);
}

int handleLEDCtrlMCASTReqMsg(const VendContext& context, const OptionPayload& request) {
    return setLED(context, request.option);
}

int handleLEDCtrlRespMsg(const VendContext& context, const RetCodePayload& answer) {
    const uint16_t first = clearLEDCtrlList(context.msg.alMac);
    return respNbrLEDCtrlServReq(context.msgId, answer.retCode, first);
}

int handleSystemCtrlReqMsg(const VendContext& context, const OptionPayload& request) {
    return setSystem(context, request.option);
}

int handleSystemCtrlMCASTReqMsg(const VendContext& context, const OptionPayload& request) {
    return setSystem(context, request.option);
}

int handleSystemCtrlRespMsg(const VendContext& context, const RetCodePayload& answer) {
    const uint16_t first = clearSystemCtrlList(context.msg.alMac);
    return respNbrSystemCtrlServReq(context.msgId, answer.retCode, first);
}

int handleNetworkCtrlReqMsg(const VendContext& context, const NetworkCtrlReq& request) {
    Outputlog("[NetworkCtrl] get Network control (%d,\"%s\") from (" MAC_FMT ")",
              request.networkOption, plainText(request.command).c_str(),
              MAC_ARGS(context.msg.alMac));
    const int retCode = setNetworkCtrl(request.networkOption, request.command.c_str());
    NetworkCtrlResp answer;
    answer.networkOption = request.networkOption;
    answer.retCode = resultByte(retCode);
    return answerRequest(context, VEND_MSG_TYPE_NETWORKCTRL_RESP, std::move(answer), retCode);
}

int handleNetworkCtrlRespMsg(const VendContext& context, const NetworkCtrlResp& answer) {
    Outputlog("[NetworkCtrl] get result (%d) of (%d) from (" MAC_FMT ")", answer.retCode,
              answer.networkOption, MAC_ARGS(context.msg.alMac));
    clearNetworkCtrlList(context.msg.alMac, answer.networkOption);
    return writeResultFile("NetworkCtrl", context.msg.alMac, resultText(answer.retCode));
}

int handleUpdateExtenderconifgReqMsg(const VendContext& context, const TextPayload& request) {
    const std::string& config = request.data;
    int result = kOk;
    if (!config.empty()) result = setExtenderConfig(context.msg.alMac.data(), config.c_str());
    if (result != 0) LOG(2, "extender configuration is refused: %d\n", result);
    if (updateWPSConfig() != kOk) result = kFailure;
    requestUpdateDataModel(0);
    return result == 0 ? kOk : kFailure;
}
