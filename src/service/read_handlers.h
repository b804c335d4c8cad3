// Requests for a record of the topology database, answered at once. slot_layout.h has the arguments
// and the answers.
//
// answer is the service number of the data answer. kOk, even if the client is told that there is no
// such record.
#pragma once

#include <cstdint>

class ServReq;

// This device.
int respGet1905DevServReq(const ServReq& request, uint16_t answer);
// Parts of an own interface, by MAC and media type.
int respGetIntfVendPropServReq(const ServReq& request, uint16_t answer);
int respGetIntfPwrStateServReq(const ServReq& request, uint16_t answer);
int respGetIntfLinkNumServReq(const ServReq& request, uint16_t answer);
int respGetIntfLinkMetricServReq(const ServReq& request, uint16_t answer);
// Forwarding rules.
int respGetFwdRuleNumServReq(const ServReq& request, uint16_t answer);
int respGetFwdRuleServReq(const ServReq& request, uint16_t answer);
// The topology table, an entry of its change log, and one of its devices.
int respGetTopolServReq(const ServReq& request, uint16_t answer);
int respGetTopolLogServReq(const ServReq& request, uint16_t answer);
int respGetTopol1905DevServReq(const ServReq& request, uint16_t answer);
// Parts of another device, by AL MAC and index.
int respGetTopolIntfServReq(const ServReq& request, uint16_t answer);
int respGetTopolNon1905NbrServReq(const ServReq& request, uint16_t answer);
int respGetTopol1905NbrServReq(const ServReq& request, uint16_t answer);
int respGetTopolBrdgTupleServReq(const ServReq& request, uint16_t answer);
// The security of the network.
int respGetSecServReq(const ServReq& request, uint16_t answer);
// An option of this device, and of another one.
int respGetConfServReq(const ServReq& request, uint16_t answer);
int respGetNbrConfServReq(const ServReq& request, uint16_t answer);
