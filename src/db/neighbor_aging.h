// What is heard on the local interfaces: neighbour interfaces, the bridges in between, and the
// neighbour devices with their follow-up traffic. Times out what falls silent.
#pragma once

#include "db/records.h"

// An LLDP frame from a neighbour interface was accepted; ttl in seconds. Never creates an entry.
// kChanged, kNothingChanged, or kFailure when the local interface is unknown.
int updateLldpDiscInfo(const MacAddr& localMac, uint32_t mediaType, const MacAddr& nbrAlMac,
                       const MacAddr& nbrIntfMac, uint16_t ttl);

// A topology discovery (kNbrDiscovery) or notification (kNbrNotification) was heard. Detects
// IEEE 802.1 bridges in between. Results as above.
int updateTopolInfo(int kind, const MacAddr& localMac, uint32_t mediaType, const MacAddr& nbrAlMac,
                    const MacAddr& nbrIntfMac);

// Removes 1905 neighbour interfaces that were silent for 130 seconds. kChanged or
// kNothingChanged. Called on every pass of the main loop.
int checkIntfNbrIntfTimeOut();

// Notes a message of a neighbour device (NbrMsgType). kNewNbrDev for a new or returning device,
// kKnownNbrDev, or kFailure when the table is full.
int updateNbrDevTable(int msgType, const MacAddr& alMac);

// Removes devices that were silent for 130 seconds, asks for the notification that follows a new
// one, and repeats unanswered topology queries. kOk. Called on every pass of the main loop.
int checkNbrDevTableTimeOut();

// True when the interface is in a bridging tuple.
bool isInBrdgTuple(std::string_view name);

// Non-zero when the interface may carry multicasts: it is in a bridging tuple, or the device has
// no bridging tuple at all.
int checkIntfIsBrdg(std::string_view name);
