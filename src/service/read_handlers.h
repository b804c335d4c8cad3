// Requests for a record of the topology database, answered at once. Where each stands in the slots
// is told by slot_layout.h. kOk, also when the client is told that there is no such record.
#pragma once

#include <cstdint>

class ServReq;

int respGet1905DevServReq(const ServReq& request, uint16_t answer);
// Waits until somebody marks the request slot idle, for a second at most. kFailure when nobody does
// or the client has gone meanwhile.
int respGetIntfServReq(const ServReq& request, uint16_t answer);
int respGetIntfVendPropServReq(const ServReq& request, uint16_t answer);
int respGetIntfPwrStateServReq(const ServReq& request, uint16_t answer);
int respGetIntfLinkNumServReq(const ServReq& request, uint16_t answer);
int respGetIntfLinkMetricServReq(const ServReq& request, uint16_t answer);
int respGetFwdRuleNumServReq(const ServReq& request, uint16_t answer);
int respGetFwdRuleServReq(const ServReq& request, uint16_t answer);
int respGetTopolServReq(const ServReq& request, uint16_t answer);
int respGetTopolLogServReq(const ServReq& request, uint16_t answer);
int respGetTopol1905DevServReq(const ServReq& request, uint16_t answer);
int respGetTopolIntfServReq(const ServReq& request, uint16_t answer);
int respGetTopolNon1905NbrServReq(const ServReq& request, uint16_t answer);
int respGetTopol1905NbrServReq(const ServReq& request, uint16_t answer);
int respGetTopolBrdgTupleServReq(const ServReq& request, uint16_t answer);
int respGetSecServReq(const ServReq& request, uint16_t answer);
int respGetConfServReq(const ServReq& request, uint16_t answer);
int respGetNbrConfServReq(const ServReq& request, uint16_t answer);
