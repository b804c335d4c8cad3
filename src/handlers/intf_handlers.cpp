#include "handlers/intf_handlers.h"

#include <algorithm>

#include "base/log.h"
#include "base/result.h"
#include "base/store.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/local_tables.h"
#include "db/upcalls.h"
#include "handlers/answer_memory.h"
#include "handlers/control_request.h"
#include "handlers/message_log.h"
#include "orders/answer_writers.h"
#include "orders/query_tracking.h"
#include "platform/descriptions.h"
#include "wire/vend_payloads.h"

namespace {

int sendIntfNames(const VendContext& context) {
    IntfNameResp names;
    names.almac = *getAlMac();
    for (const auto& intf : getIntfTable()) {
        if (names.intfs.size() == kMaxIntfEntries) break;
        names.intfs.push_back({intf.mac, std::string(intf.name.view())});
    }
    return sendAnswer(context, VEND_MSG_TYPE_INTF_NAME_RESP, std::move(names));
}

// Changes the interfaces of a device by a function of each and the entry with its MAC, which
// returns whether it has changed anything. The ports of a switch may share a MAC: each gets an
// entry.
template <typename Entries, typename Change>
void editIntfs(const Ieee1905DevTable& dev, const Entries& entries, Change change) {
    getIeee1905DevTables().editIf(dev, [&](Ieee1905DevTable& edited) {
        std::vector<bool> taken(edited.intfs.size());
        bool changed = false;
        for (const auto& entry : entries) {
            for (size_t i = 0; i < taken.size(); i++) {
                if (taken[i] || edited.intfs[i].mac != entry.mac) continue;
                taken[i] = true;
                changed |= change(edited.intfs[i], entry);
                break;
            }
        }
        return changed;
    });
}

bool isLocalIntf(const MacAddr& mac, uint16_t mediaType) {
    const auto& intfs = getIntfTable();
    return std::any_of(intfs.begin(), intfs.end(), [&](const IntfTable& intf) {
        return intf.mac == mac && intf.mediaType == mediaType;
    });
}

uint8_t changePwrState(const VendContext& context, const IntfPwrCtrlReq::Entry& intf,
                       uint8_t state) {
    if (!isLocalIntf(intf.mac, intf.mediaType)) {
        LOG(2, "interface MAC is unmatched (" MAC_FMT ") mediaType = %x\r\n", MAC_ARGS(intf.mac),
            intf.mediaType);
        return kOk;  // Meant: an unknown interface is no error.
    }
    LOG(3, "interface MAC (" MAC_FMT ") is matched, mediaType = %x\r\n", MAC_ARGS(intf.mac),
        intf.mediaType);
    if (state > PLATFORM_PWR_OFF) {
        LOG(2, "power state (%d) is unsupport\r\n", state);
        return kPwrUnsupported;
    }
    LOG(3, "change power state (%d)\r\n", state);
    const int result = setIntfPwrStateByMac(intf.mac, intf.mediaType, state);
    writeVendMsgLog(context.msg, context.srcMac);
    return resultByte(result);
}

// One result per entry; entries after a wildcard stay zero.
std::vector<IntfValue> changePwrStates(const VendContext& context, const IntfPwrCtrlReq& request) {
    std::vector<IntfValue> results(request.intfs.size());
    for (size_t i = 0; i < results.size(); i++) {
        const auto& intf = request.intfs[i];
        const bool wildcard = intf.mac.isZero();
        const int result = wildcard ? setIntfPwrStateByMediaType(intf.mediaType, request.pwrState)
                                    : changePwrState(context, intf, request.pwrState);
        results[i] = {intf.mac, intf.mediaType, resultByte(result)};
        if (wildcard) break;  // Meant: the rest of the list is ignored.
    }
    return results;
}

}  // namespace

int handleIntfPwrStateQueryMsg(const VendContext& context, const AlMacPayload& /*query*/) {
    IntfPwrStateResp states;
    states.almac = *getAlMac();
    for (const auto& intf : getIntfTable()) {
        if (states.intfs.size() == kMaxIntfEntries) break;
        states.intfs.push_back(
            {intf.mac, static_cast<uint16_t>(intf.mediaType), static_cast<uint8_t>(intf.pwrState)});
    }
    if (sendAnswer(context, VEND_MSG_TYPE_INTF_PWR_STATE_RESP, std::move(states)) != kOk) {
        return kFailure;
    }
    return sendIntfNames(context);
}

int handleIntfPwrStateRespMsg(const VendContext& context, const IntfPwrStateResp& answer) {
    const MacAddr& sender = context.msg.alMac;
    ReportVendRespMsg(sender, context.msgId, VEND_MSG_TYPE_INTF_PWR_STATE_QUERY);
    const Ieee1905DevTable* dev = getIeee1905DevTableById(sender);
    if (dev == nullptr) return kOk;
    editIntfs(*dev, answer.intfs,
              [](DevIntf& intf, const auto& state) { return store(intf.pwrState, state.value); });
    upcalls().deviceAnswered(sender, AwaitedAnswer::kIntfPwrState);
    return requestUpdateDataModel(0);
}

int handleIntfPwrCrtlReqMsg(const VendContext& context, const IntfPwrCtrlReq& request) {
    IntfPwrCtrlResp answer;
    if (!isOwnAlMac(request.almac)) {
        LOG(2, "AL MAC is unmatched (" MAC_FMT ", " MAC_FMT ")\r\n", MAC_ARGS(request.almac),
            MAC_ARGS((*getAlMac())));
        for (const auto& intf : request.intfs) {
            answer.intfs.push_back({intf.mac, intf.mediaType, kNotAddressed});
        }
    } else {
        answer.intfs = changePwrStates(context, request);
    }
    const bool failed = std::any_of(answer.intfs.begin(), answer.intfs.end(),
                                    [](const IntfValue& intf) { return intf.value != kOk; });
    return answerRequest(context, VEND_MSG_TYPE_INTF_PWR_CTRL_RESP, std::move(answer),
                         failed ? kFailure : kOk);
}

int handleIntfPwrCrtlRespMsg(const VendContext& context, const IntfPwrCtrlResp& answer) {
    return respNbrIntfPwrCtrlServReq(context.msgId, answer);
}

int handleIntfNameRespMsg(const VendContext& context, const IntfNameResp& answer) {
    const Ieee1905DevTable* dev = getIeee1905DevTableById(context.msg.alMac);
    if (dev == nullptr) return kOk;
    editIntfs(*dev, answer.intfs,
              [](DevIntf& intf, const auto& named) { return storePlain(intf.name, named.name); });
    return requestUpdateDataModel(0);
}
