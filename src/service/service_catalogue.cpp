#include "service/service_catalogue.h"

#include <algorithm>
#include <iterator>

#include "base/result.h"
#include "orders/service_ids.h"
#include "orders/slots.h"
#include "service/action_handlers.h"
#include "service/intf_request.h"
#include "service/neighbor_handlers.h"
#include "service/raw_send.h"
#include "service/read_handlers.h"

namespace {

struct Service {
    uint16_t servId;
    ServiceHandler handler;
    uint16_t answer;
};

// By number.
// clang-format off
constexpr Service kServices[] = {
    {kServGetOwnDev, respGet1905DevServReq, answerId(kServGetOwnDev)},
    {kServGetIntf, respGetIntfServReq, answerId(kServGetIntf)},
    {kServGetIntfVendProp, respGetIntfVendPropServReq, answerId(kServGetIntfVendProp)},
    {kServGetIntfPwrState, respGetIntfPwrStateServReq, answerId(kServGetIntfPwrState)},
    {kServSetIntfPwrState, respSetIntfPwrStateServReq, answerId(kServSetIntfPwrState)},
    {kServGetLinkNum, respGetIntfLinkNumServReq, answerId(kServGetLinkNum)},
    {kServGetLinkMetric, respGetIntfLinkMetricServReq, answerId(kServGetLinkMetric)},
    {kServGetFwdRuleNum, respGetFwdRuleNumServReq, answerId(kServGetFwdRuleNum)},
    {kServGetFwdRule, respGetFwdRuleServReq, answerId(kServGetFwdRule)},
    {kServAddFwdRule, respAddFwdRuleServReq, kServAddFwdRule},
    {kServModifyFwdRule, respMdfyFwdRuleServReq, answerId(kServModifyFwdRule)},
    {kServRemoveFwdRule, respRmFwdRuleServReq, answerId(kServRemoveFwdRule)},
    {kServGetTopol, respGetTopolServReq, answerId(kServGetTopol)},
    {kServGetChangeLog, respGetTopolLogServReq, answerId(kServGetChangeLog)},
    {kServSetChangeLogMax, respSetTopolLogMaxServReq, answerId(kServSetChangeLogMax)},
    {kServGetDev, respGetTopol1905DevServReq, answerId(kServGetDev)},
    {kServGetDevIntf, respGetTopolIntfServReq, answerId(kServGetDevIntf)},
    {kServGetDevNon1905Nbrs, respGetTopolNon1905NbrServReq, answerId(kServGetDevNon1905Nbrs)},
    {kServGetDev1905Nbrs, respGetTopol1905NbrServReq, answerId(kServGetDev1905Nbrs)},
    {kServGetDevBrdgTuple, respGetTopolBrdgTupleServReq, answerId(kServGetDevBrdgTuple)},
    {kServGetSecurity, respGetSecServReq, answerId(kServGetSecurity)},
    {kServSetSecurity, respSetSecServReq, answerId(kServSetSecurity)},
    {kServGetOption, respGetConfServReq, answerId(kServGetOption)},
    {kServSetOption, respSetConfServReq, answerId(kServSetOption)},
    {kServGetDevOption, respGetNbrConfServReq, answerId(kServGetDevOption)},
    {kServReboot, handleRebootNbrServReq, answerId(kServReboot)},
    {kServIntfPwrCtrl, handleCtrlNbrIntfPwrServReq, answerId(kServIntfPwrCtrl)},
    {kServSetWps, handleWPSSetConfigReq, answerId(kServSetWps)},
    {kServGetWps, handleWPSGetConfigReq, 0},
    {kServSendRenew, handleWPSSendRenewReq, answerId(kServSendRenew)},
    {kServWpsCtrl, handleWPSSETCONFNBRServReq, answerId(kServWpsCtrl)},
    {kServAPSteering, handleAPSteeringServReq, answerId(kServAPSteering)},
    {kServFWCtrl, handleFWCTRLNBRServReq, answerId(kServFWCtrl)},
    {kServResetToDefault, handleresetToDefaultServReq, answerId(kServResetToDefault)},
    {kServSetFWResult, handlesetFWresultServReq, answerId(kServSetFWResult)},
    {kServPushButton, handlesetPBEServReq, answerId(kServPushButton)},
    {kServReopenPorts, handlesetSocketReinitServReq, answerId(kServReopenPorts)},
    {kServWriteChangeLog, handleprintfvm1905logServReq, answerId(kServWriteChangeLog)},
    {kServSendCommand, handleSendCommandServReq, answerId(kServSendCommand)},
    {kServLEDCtrl, handleLEDCtrlServReq, answerId(kServLEDCtrl)},
    {kServSetWpsTimeout, handleWPSSetConfigChangetimeoutReq, answerId(kServSetWpsTimeout)},
    {kServSetApprove, handleWPSSetApproveflagReq, answerId(kServSetApprove)},
    {kServSetDebugLevel, handleSetDebugLevelReq, answerId(kServSetDebugLevel)},
    {kServSendSearch, handleWPSSendSearchReq, answerId(kServSendSearch)},
    {kServWifiReload, handleWPSWifiReloadReq, answerId(kServWifiReload)},
    {kServSetFWState, handleFWStateReq, answerId(kServSetFWState)},
    {kServSpeedTest, handleSpeedTestReq, answerId(kServSpeedTest)},
    {kServWifiStateSearch, handleWIFIStateSearchReq, answerId(kServWifiStateSearch)},
    {kServWifiStateRenew, handleWIFIStateRenewReq, answerId(kServWifiStateRenew)},
    {kServSendDiscovery, handleSendDiscoveryReq, answerId(kServSendDiscovery)},
    {kServRequestLogFile, handleRequestLogFileReq, answerId(kServRequestLogFile)},
    {kServSetWpsByBand, handleWPSSetConfigByBandReq, answerId(kServSetWpsByBand)},
    {kServWifiStateAction, handleWIFIStateActionReq, answerId(kServWifiStateAction)},
    {kServNetworkCtrl, handleNetworkCtrlReq, answerId(kServNetworkCtrl)},
    {kServRawSend, handleRawSendReq, kServRawSend},
    {kServSendBcnRpt, handleSendBcnRptServReq, answerId(kServSendBcnRpt)},
    {kServGetBcnRpt, handleGetBcnRptServReq, answerId(kServGetBcnRpt)},
    {kServSendBTM, handleSendBTMServReq, answerId(kServSendBTM)},
    {kServAddBlacklist, handleBlacklistServReq, answerId(kServAddBlacklist)},
    {kServRemoveBlacklist, handleBlacklistServReq, answerId(kServRemoveBlacklist)},
    {kServWifiSyncAll, handleSendWIFISyncAllReq, answerId(kServWifiSyncAll)},
    {kServSystemCtrl, handleSystemCtrlReq, answerId(kServSystemCtrl)},
    {kServUpdateExtenderConf, handleUpdateExtenderConifgReq, answerId(kServUpdateExtenderConf)},
    {kServPing, handlePingServReq, answerId(kServPing)},
};
// clang-format on
static_assert(std::ranges::adjacent_find(kServices, std::ranges::greater_equal{},
                                         &Service::servId) == std::end(kServices));

}  // namespace

int requestHandleService(const ServReq& request) {
    const auto* const row =
        std::ranges::lower_bound(kServices, request.servId(), {}, &Service::servId);
    const bool known = row != std::end(kServices) && row->servId == request.servId();
    const int result = known ? row->handler(request, row->answer) : kUnknownService;
    if (!intfRequestIsPending()) markRequestIdle();
    return result;
}
