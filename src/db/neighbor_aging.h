// Neighbors heard on the local interfaces: their interfaces, bridges in between, and neighbor
// devices with their follow-up traffic. Silent neighbors time out.
#pragma once

#include "db/records.h"

struct NeighborAging {
    Seconds intfsDue = 0;  // when to look at the neighbor interfaces next
    Seconds devsDue = 0;   // and devices
};

// Notes an LLDP frame from a neighbor interface; ttl in seconds. Never creates an entry: the frame
// of an unknown interface is kept for the discovery that does.
// kChanged or kNothingChanged, or kFailure if the local interface is unknown.
// The local interface is found by its name, else by MAC and media type.
int updateLldpDiscInfo(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                       const MacAddr& nbrAlMac, const MacAddr& nbrIntfMac, uint16_t ttl);

// Adds the interface that a discovery or notification names, for 130 seconds unless the platform
// reports it, too.
void noteNamedIntf(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                   const MacAddr& nbrIntfMac);

// Notes a discovery (kNbrDiscovery, kNbrUcastDisc) or a notification (kNbrNotification), adds an
// unknown neighbor interface, and detects IEEE 802.1 bridges in between. A discovery with a new AL
// MAC on a known neighbor interface removes the old device, unless it is heard on another
// interface. Local interface and results as above.
int updateTopolInfo(int kind, std::string_view localName, const MacAddr& localMac,
                    uint32_t mediaType, const MacAddr& nbrAlMac, const MacAddr& nbrIntfMac);

// Ends the claims of others to the interfaces of this device, which has sent a topology response.
void refuteClaims(const MacAddr& alMac);

// Gives the 1905 neighbors of an interface whose link has returned 40 seconds to be heard: they
// answer the discovery that is sent then, unless the cable now leads elsewhere.
void hurryNbrTimeOut(std::string_view localName);

// Removes the interfaces of 1905 neighbors after 130 seconds without a discovery, and others that
// frames have not named for as long and the platform does not report. If LLDP is read,
// also finds the bridges that swallow the LLDP frames of a neighbor whose discoveries arrive.
// kChanged or kNothingChanged. Called on every pass of the main loop; looks when something may be
// due, at most once a second.
int checkIntfNbrIntfTimeOut();

// Notes a message (NbrMsgType) of a neighbor device. kNewNbrDev for a device that is new or back,
// kKnownNbrDev for any other, or kFailure if the table is full or there is no database.
int updateNbrDevTable(int msgType, const MacAddr& alMac);

// The AL MAC of the neighbor with this AL MAC or interface MAC; the MAC itself if it is unknown.
MacAddr alMacOf(const MacAddr& mac);

// Notes which version of the message header the neighbor with this interface MAC sends. A device
// that does not send version 0 is logged when that is first heard: it cannot hear version 0.
void noteVersion(const MacAddr& srcMac, uint8_t version);

// Removes devices that were silent for 130 seconds, requests a topology notification 3 seconds
// after a device appeared, and repeats unanswered topology queries. kOk. Called on every pass of
// the main loop; looks when something may be due, at most once a second.
int checkNbrDevTableTimeOut();

// True if the interface is in a bridging tuple.
bool isInBrdgTuple(std::string_view name);

// 1 if multicasts may leave by the interface: it is in a bridging tuple, or this device has no
// bridging tuple; else 0, also without a database.
int checkIntfIsBrdg(std::string_view name);
