#include "service/service_catalogue.h"

#include <algorithm>
#include <iterator>

#include "base/result.h"
#include "orders/slots.h"
#include "service/action_handlers.h"
#include "service/neighbor_handlers.h"
#include "service/read_handlers.h"

namespace {

struct Service {
    uint16_t servId;
    ServiceHandler handler;
    uint16_t answer;
};

constexpr Service kServices[] = {
    {0, respGet1905DevServReq, 1},
    {2, respGetIntfServReq, 3},
    {4, respGetIntfVendPropServReq, 5},
    {6, respGetIntfPwrStateServReq, 7},
    {8, respSetIntfPwrStateServReq, 9},
    {10, respGetIntfLinkNumServReq, 11},
    {12, respGetIntfLinkMetricServReq, 13},
    {18, respGetFwdRuleNumServReq, 19},
    {20, respGetFwdRuleServReq, 21},
    {22, respAddFwdRuleServReq, 22},
    {24, respMdfyFwdRuleServReq, 25},
    {26, respRmFwdRuleServReq, 27},
    {28, respGetTopolServReq, 29},
    {30, respGetTopolLogServReq, 31},
    {32, respSetTopolLogMaxServReq, 33},
    {34, respGetTopol1905DevServReq, 35},
    {36, respGetTopolIntfServReq, 37},
    {38, respGetTopolNon1905NbrServReq, 39},
    {40, respGetTopol1905NbrServReq, 41},
    {42, respGetTopolBrdgTupleServReq, 43},
    {44, respGetSecServReq, 45},
    {46, respSetSecServReq, 47},
    {128, respGetConfServReq, 129},
    {130, respSetConfServReq, 131},
    {132, respGetNbrConfServReq, 133},
    {134, handleRebootNbrServReq, 135},
    {136, handleCtrlNbrIntfPwrServReq, 137},
    {138, handleWPSSetConfigReq, 139},
    {140, handleWPSGetConfigReq, 0},
    {141, handleWPSSendRenewReq, 142},
    {143, handleWPSSETCONFNBRServReq, 144},
    {145, handleAPSteeringServReq, 146},
    {147, handleFWCTRLNBRServReq, 148},
    {149, handleresetToDefaultServReq, 150},
    {151, handlesetFWresultServReq, 152},
    {153, handlesetPBEServReq, 154},
    {155, handlesetSocketReinitServReq, 156},
    {157, handleprintfvm1905logServReq, 158},
    {159, handleSendCommandServReq, 160},
    {161, handleLEDCtrlServReq, 162},
    {163, handleWPSSetConfigChangetimeoutReq, 164},
    {165, handleWPSSetApproveflagReq, 166},
    {167, handleSetDebugLevelReq, 168},
    {169, handleWPSSendSearchReq, 170},
    {171, handleWPSWifiReloadReq, 172},
    {177, handleFWStateReq, 178},
    {179, handleSpeedTestReq, 180},
    {181, handleWIFIStateSearchReq, 182},
    {183, handleWIFIStateRenewReq, 184},
    {185, handleSendDiscoveryReq, 186},
    {187, handleRequestLogFileReq, 188},
    {189, handleWPSSetConfigByBandReq, 190},
    {191, handleWIFIStateActionReq, 192},
    {197, handleNetworkCtrlReq, 198},
    {200, handleRawSendReq, 200},
    {202, handleSendBcnRptServReq, 203},
    {204, handleGetBcnRptServReq, 205},
    {206, handleSendBTMServReq, 207},
    {208, handleBlacklistServReq, 209},
    {210, handleBlacklistServReq, 211},
    {212, handleSendWIFISyncAllReq, 213},
    {214, handleSystemCtrlReq, 215},
    {216, handleUpdateExtenderConifgReq, 217},
};
static_assert(std::ranges::adjacent_find(kServices, std::ranges::greater_equal{},
                                         &Service::servId) == std::end(kServices));

}  // namespace

int requestHandleService(const ServReq& request) {
    const auto* const row =
        std::ranges::lower_bound(kServices, request.servId(), {}, &Service::servId);
    const bool known = row != std::end(kServices) && row->servId == request.servId();
    const int result = known ? row->handler(request, row->answer) : kUnknownService;
    markRequestIdle();
    return result;
}
