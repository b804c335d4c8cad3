// What the daemon does with each standard message.
//
// Handlers return kOk, kFailure, or kTopolDisabled if the topology capability is off. localMac,
// mediaType and localName are those of the receiving interface; srcMac is the source of the frame.
#pragma once

#include <string_view>

#include "net/ports.h"
#include "platform/autoconfig.h"
#include "wire/standard_tlv.h"

// Notes the neighbor; one that is new gets a vendor discovery and a topology query. alMac and
// intfMac come from the TLVs of the message. kNbrUcastDisc is for the discovery of the vendor
// protocol. kOk or kTopolDisabled.
int handleTopolDiscMsg(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                       const MacAddr& srcMac, const MacAddr& alMac, const MacAddr& intfMac,
                       NbrMsgType kind = kNbrDiscovery);
// Notes the neighbor and asks it for its topology. kOk or kTopolDisabled.
int handleTopolNtfMsg(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                      const MacAddr& srcMac, const MacAddr& alMac);
// Answers under the identifier msgId of the query. kFailure if the answer cannot be sent.
int handleTopolQueryMsg(const Port& port, const MacAddr& srcMac, uint16_t msgId);
// Stores the device and has it asked for its configuration at once. kFailure if it cannot be
// stored.
int handleTopolRespMsg(const MacAddr& localMac, uint32_t mediaType, const MacAddr& srcMac,
                       const DevTopol& dev);
// Answers with link metrics, also without the topology capability. kFailure if the answer cannot be
// sent.
int handleMetricQueryMsg(const Port& port, const MacAddr& srcMac, uint16_t msgId,
                         const MetricQuery& query);
// Link metric responses are ignored. kOk.
int handleMetricRespMsg();

// These hand the message to the platform library. kFailure if it refuses. An Enrollee ignores the
// response, WSC and renew messages of a Registrar to which it does not keep.
int handleApAutoConfSrchMsg(const ApAutoConfSrch& msg);
int handleApAutoConfRespMsg(const ApAutoConfInfo& msg);
int handleApAutoConfWscMsg(const ApAutoConfWsc& msg);
// An Enrollee also acknowledges the renew to its Registrar, unless the library does so later.
int handleApAutoConfRenewMsg(const ApAutoConfInfo& msg);
// If this device is an Enrollee, informs the Registrar that it has taken over the configuration of
// the band. kOk even if that message cannot be sent.
int acknowledgeRenew(const MacAddr& registrar, uint8_t band);
int handlePBEventNtfMsg(const PbEvent& msg);
int handlePBJoinNtfMsg(const PbJoin& msg);

// Notes the sender of an LLDP frame: its AL MAC (chassis ID), interface MAC (port ID) and time to
// live in seconds. kOk.
int handleLldpDiscMsg(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                      const MacAddr& nbrAlMac, const MacAddr& nbrIntfMac, uint16_t ttl);
