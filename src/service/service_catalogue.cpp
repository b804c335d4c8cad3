#include "service/service_catalogue.h"

#include <algorithm>
#include <iterator>

#include "core/result.h"
#include "service/read_handlers.h"
#include "service/slots.h"

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
    {10, respGetIntfLinkNumServReq, 11},
    {12, respGetIntfLinkMetricServReq, 13},
    {18, respGetFwdRuleNumServReq, 19},
    {20, respGetFwdRuleServReq, 21},
    {28, respGetTopolServReq, 29},
    {30, respGetTopolLogServReq, 31},
    {34, respGetTopol1905DevServReq, 35},
    {36, respGetTopolIntfServReq, 37},
    {38, respGetTopolNon1905NbrServReq, 39},
    {40, respGetTopol1905NbrServReq, 41},
    {42, respGetTopolBrdgTupleServReq, 43},
    {44, respGetSecServReq, 45},
    {128, respGetConfServReq, 129},
    {132, respGetNbrConfServReq, 133},
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
