#include "service/action_handlers.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>

#include "base/log.h"
#include "base/result.h"
#include "db/database.h"
#include "db/local_tables.h"
#include "db/options.h"
#include "db/own_state.h"
#include "db/wifi_bands.h"
#include "net/ports.h"
#include "orders/slots.h"
#include "platform/autoconfig.h"
#include "platform/device.h"
#include "publish/json_change_log.h"
#include "publish/listing.h"

namespace {

using namespace slots;

constexpr uint32_t kShowTables = 6;  // in place of a debug level

int32_t signedNumber(const ServReq& request, Field field) {
    return static_cast<int32_t>(request.number(field));
}

// The answer with a return code only. Most requests name their data answer in it, the others
// themselves (service_catalogue.cpp).
int answerCode(const ServReq& request, uint16_t answer, int code) {
    return respRetCode(request.pid(), answer, code);
}

int answerResult(const ServReq& request, uint16_t answer, int result) {
    return ServResp(request.pid(), answer).number(resp::kResult, resultByte(result)).answer();
}

// The tables must follow the platform's WPS configuration.
int answerWpsCode(const ServReq& request, uint16_t answer, int code) {
    answerCode(request, answer, code);
    if (code == kOk) updateWPSConfig();
    return kOk;
}

// The rule in a request; std::nullopt if it has more addresses than an answer holds.
std::optional<FwdRule> fwdRuleOf(const ServReq& request) {
    const size_t num = request.number(resp::kRuleMacNum);
    if (num > resp::kMaxRuleMacs) return std::nullopt;
    FwdRule rule{.ruleId = static_cast<uint16_t>(request.number(resp::kRuleId))};
    for (size_t i = 0; i < num; i++) {
        rule.macs.push_back(request.macAt(resp::kRuleMacs + i * resp::kMacLen));
    }
    static_assert(std::tuple_size_v<decltype(rule.match)> == resp::kRuleMatchLen);
    std::ranges::copy(request.bytes(resp::kRuleMatch, resp::kRuleMatchLen), rule.match.begin());
    return rule;
}

// nullptr if there is no rule with this identifier.
FwdRule* findFwdRule(AlTable& al, uint16_t ruleId) {
    const auto it = std::ranges::find(al.fwdRules, ruleId, &FwdRule::ruleId);
    return it != al.fwdRules.end() ? &*it : nullptr;
}

int addFwdRule(const ServReq& request) {
    AlTable* al = getAlTable();
    auto rule = fwdRuleOf(request);
    if (al == nullptr || !rule || al->fwdRules.size() >= kMaxFwdRules) return kFailure;
    if (rule->ruleId == 0) {
        do {
            rule->ruleId++;
        } while (findFwdRule(*al, rule->ruleId) != nullptr);
    }
    if (findFwdRule(*al, rule->ruleId) != nullptr) return kFailure;
    al->fwdRules.push_back(std::move(*rule));
    return kOk;
}

int modifyFwdRule(const ServReq& request) {
    AlTable* al = getAlTable();
    auto rule = fwdRuleOf(request);
    FwdRule* old = al != nullptr && rule ? findFwdRule(*al, rule->ruleId) : nullptr;
    if (old == nullptr) return kFailure;
    *old = std::move(*rule);
    return kOk;
}

}  // namespace

int respSetIntfPwrStateServReq(const ServReq& request, uint16_t answer) {
    return answerResult(
        request, answer,
        setIntfPwrStateByMac(request.mac(req::kIntfMac), request.number(req::kMediaType),
                             request.number(req::kPwrState)));
}

int respAddFwdRuleServReq(const ServReq& request, uint16_t answer) {
    return answerCode(request, answer, addFwdRule(request));
}

int respMdfyFwdRuleServReq(const ServReq& request, uint16_t answer) {
    return answerResult(request, answer, modifyFwdRule(request));
}

int respRmFwdRuleServReq(const ServReq& request, uint16_t answer) {
    AlTable* al = getAlTable();
    const auto ruleId = static_cast<uint16_t>(request.number(req::kRuleId));
    const auto isMeant = [&](const FwdRule& rule) { return rule.ruleId == ruleId; };
    const bool removed = al != nullptr && std::erase_if(al->fwdRules, isMeant) > 0;
    return answerResult(request, answer, removed ? kOk : kFailure);
}

int respSetTopolLogMaxServReq(const ServReq& request, uint16_t answer) {
    const auto maximum = static_cast<uint16_t>(request.number(req::kLogMax));
    return answerResult(request, answer,
                        maximum == 0 ? kZeroLogMax : setMaxChangeLogEntriesOption(maximum));
}

int respSetSecServReq(const ServReq& request, uint16_t answer) {
    return answerResult(request, answer, kFailure);
}

int respSetConfServReq(const ServReq& request, uint16_t answer) {
    // Meant: the value is not checked.
    const uint32_t value = request.number(req::kItemValue);
    switch (request.number(req::kItem)) {
        case 0:
            return answerResult(request, answer, setEnableRebootFromNbrOption(value));
        case 1:
            return answerResult(request, answer, setEnableIntfPwrCtrlFromNbrOption(value));
        default:
            return answerResult(request, answer, kUnknownItem);
    }
}

int handleWPSSetConfigReq(const ServReq& request, uint16_t answer) {
    return answerWpsCode(
        request, answer,
        setWPSConfig(signedNumber(request, req::kValue1), signedNumber(request, req::kValue2),
                     signedNumber(request, req::kValue3)));
}

int handleWPSGetConfigReq(const ServReq& /*request*/, uint16_t /*answer*/) {
    markRequestIdle();
    return kOk;
}

int handleWPSSendRenewReq(const ServReq& request, uint16_t answer) {
    return answerCode(request, answer,
                      sendWPSRenew(static_cast<uint8_t>(request.number(req::kBand))));
}

int handleWPSSetConfigChangetimeoutReq(const ServReq& request, uint16_t answer) {
    WpsConfig config{};
    int code = getWPSConfig(&config);
    if (code == kOk) {
        code = setWPSConfigChangetimeout(config.deviceType, config.sendSearch, config.sendResponse,
                                         signedNumber(request, req::kValue1));
    }
    return answerWpsCode(request, answer, code);
}

int handleWPSSetApproveflagReq(const ServReq& request, uint16_t answer) {
    return answerCode(request, answer, setApproveFlag_flag(signedNumber(request, req::kValue1)));
}

int handleWPSSendSearchReq(const ServReq& request, uint16_t answer) {
    return answerCode(request, answer,
                      sendWPSSearch(static_cast<uint8_t>(request.number(req::kBand))));
}

int handleWPSWifiReloadReq(const ServReq& request, uint16_t answer) {
    return answerCode(request, answer,
                      setWiFiReloadFlag(signedNumber(request, req::kValue1),
                                        signedNumber(request, req::kValue2)));
}

int handleWPSSetConfigByBandReq(const ServReq& request, uint16_t answer) {
    const std::string band(request.text(req::kBandText));
    return answerWpsCode(request, answer,
                         setWPSConfByBand(band.c_str(), signedNumber(request, req::kBandSearch),
                                          signedNumber(request, req::kBandResponse)));
}

int handleFWStateReq(const ServReq& request, uint16_t answer) {
    const std::string state(request.text(req::kStateText));
    return answerCode(request, answer, setFWState(state.c_str()));
}

int handleWIFIStateActionReq(const ServReq& request, uint16_t answer) {
    return answerCode(request, answer, kFailure);
}

int handleSendWIFISyncAllReq(const ServReq& request, uint16_t answer) {
    const AlTable* al = getAlTable();
    if (al == nullptr) return answerCode(request, answer, kFailure);
    char data[PLATFORM_SYNC_DATA_LEN];
    // The other bands are tried even if one fails; the answer is the first failure.
    int code = wifi_flag_init();
    const auto keepFirst = [&code](int result) { code = code != kOk ? code : result; };
    keepFirst(getWIFIStateSync(data));
    const bool isRegistrar = al->role() == PLATFORM_REGISTRAR;
    for (const uint8_t band : kWifiBands) {
        keepFirst(isRegistrar ? vmNetCtrl_WPS_sendRenewMsg(band) : sendWPSSearch(band));
    }
    return answerCode(request, answer, code);
}

int handlesetFWresultServReq(const ServReq& request, uint16_t answer) {
    const int result = setFWresult(signedNumber(request, req::kValue1));
    answerCode(request, answer, kOk);
    return result;
}

int handlesetPBEServReq(const ServReq& request, uint16_t answer) {
    const int result = sendPBEvent();
    answerCode(request, answer, kOk);
    return result;
}

int handlesetSocketReinitServReq(const ServReq& request, uint16_t answer) {
    const int result = reinitIntfPorts();
    answerCode(request, answer, kOk);
    return result;
}

int handleprintfvm1905logServReq(const ServReq& request, uint16_t answer) {
    const int result = writeJsonvm1905log();
    answerCode(request, answer, kOk);
    return result;
}

int handleSetDebugLevelReq(const ServReq& request, uint16_t answer) {
    const uint32_t level = request.number(req::kValue1);
    answerCode(request, answer, kOk);
    if (level != kShowTables) return setDebugLevel(static_cast<uint8_t>(level));
    showportinfo();
    showtopolTable();
    return kOk;
}
