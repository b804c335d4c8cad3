// What the daemon does with each standard message.
//
// Handlers return kOk, kFailure, or kTopolDisabled when the topology capability is off.
#pragma once

#include <string_view>

#include "net/ports.h"
#include "platform/autoconfig.h"
#include "wire/standard_tlv.h"

// An LLDP frame: the neighbour's AL MAC (chassis ID), interface MAC (port ID) and time to live in
// seconds. kOk always.
int handleLldpDiscMsg(const MacAddr& localMac, uint32_t mediaType, const MacAddr& nbrAlMac,
                      const MacAddr& nbrIntfMac, uint16_t ttl);

// srcMac is the frame's source; alMac and intfMac come from its TLVs.
int handleTopolDiscMsg(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                       const MacAddr& srcMac, const MacAddr& alMac, const MacAddr& intfMac);
int handleTopolNtfMsg(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                      const MacAddr& srcMac, const MacAddr& alMac);
int handleTopolQueryMsg(const Port& port, const MacAddr& srcMac, uint16_t msgId);
int handleTopolRespMsg(const MacAddr& localMac, uint32_t mediaType, const MacAddr& srcMac,
                       DevTopol&& dev);
int handleMetricQueryMsg(const Port& port, const MacAddr& srcMac, uint16_t msgId,
                         const MetricQuery& query);
// Link metric responses are ignored. kOk.
int handleMetricRespMsg();

// These hand the message to the platform library; kFailure when it refuses.
int handleApAutoConfSrchMsg(const ApAutoConfSrch& msg);
int handleApAutoConfRespMsg(const ApAutoConfInfo& msg);
int handleApAutoConfWscMsg(const ApAutoConfWsc& msg);
int handleApAutoConfRenewMsg(const ApAutoConfInfo& msg);
int handlePBEventNtfMsg(const PbEvent& msg);
int handlePBJoinNtfMsg(const PbJoin& msg);
