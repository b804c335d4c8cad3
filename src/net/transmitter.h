// Sends unicasts, multicasts, relayed messages and LLDP frames, in fragments where necessary, and
// remembers messages and queries.
#pragma once

#include <cstdint>

#include "net/message_builder.h"
#include "net/message_memory.h"
#include "net/ports.h"

struct TransmitterState {
    uint16_t msgId = 0;
    MessageMemory genRecvMsgs;
    MessageMemory queriedMsgs;  // sent on this device's own account
    MessageMemory followUps;    // caused by messages of others, any number of them
    TlvArea spareTlvs;          // of the last message, so that the next one needs no memory
    MacAddr senderMac;          // noteSender
    uint8_t senderVersion = 0;
};

// Clears both memories. kOk.
int initMessageTransmitter();

// Standard mode: messages to this interface of a neighbor leave with this version from now on,
// until another sender is noted. Its device may not be in the tables yet.
void noteSender(const MacAddr& srcMac, uint8_t version);

// Sends a message to one device by every port on which it is a neighbor; dstMac is its AL MAC or
// the MAC of one of its interfaces. Types 0 and 1 go to dstMac by every port. kOk if it left by
// at least one port, and *msgId is then the identifier used; else kFailure.
int requestSend1905UcastMsg(const MacAddr& dstMac, uint16_t msgType, const MsgBody& body,
                            uint16_t* msgId = nullptr);

// Sends a topology query because of a message from this address, in the same way. It is remembered
// apart from other queries, so that strangers cannot make this device forget those.
int requestSendFollowUpQuery(const MacAddr& srcMac);

// Sends a response to one device, in the same way, under the identifier of the query.
int requestSend1905UcastRespMsg(const MacAddr& dstMac, uint16_t msgType, uint16_t msgId,
                                const MsgBody& body);

// Sends a message to all neighbors by every port that may send multicasts. *msgId is the last
// identifier used: a discovery uses one per port. kOk, also if nothing could be sent, or kFailure
// if the message cannot be built. Types 0 and 1 only skip a port for which they cannot be built.
int requestSend1905McastMsg(uint16_t msgType, const MsgBody& body, uint16_t* msgId = nullptr);

// Sends the frame in the receive buffer by every other port, with the MAC of that port as its
// source. kOk, or kFailure at the first failed write.
int requestRelayMcastMsg(const Port& incoming);

// Sends an LLDP frame by every port that is up. kOk, or kFailure if it cannot be built.
int requestSendLldpMsg();

// Send one message by one port, in as many frames as necessary. A query is stored in queries, which
// is nullptr for other messages. With the key of the mesh, the message is signed with this counter
// (net/message_integrity.h). kOk, or kFailure if a TLV is too large, a write fails, the message
// must be signed but cannot be, or there are no TLVs (a topology query by unicast needs none).
int send1905UcastMsg(Port& port, const MacAddr& dstMac, uint16_t msgType, uint16_t msgId,
                     MessageMemory* queries, TlvArea& tlvs, uint64_t counter);
int send1905McastMsg(Port& port, uint16_t msgType, uint16_t msgId, bool relay,
                     MessageMemory* queries, TlvArea& tlvs, uint64_t counter);

// The memory of multicasts that were generated or received in the last 5 seconds.
void registerGenRecvMsg(const MacAddr& alMac, uint16_t msgType, uint16_t msgId);
bool lookupGenRecvMsg(const MacAddr& alMac, uint16_t msgType, uint16_t msgId);

// Remembers a query of this device's own account to a neighbor, given by its AL MAC or an interface
// MAC. kOk, or kFailure without a database.
int registerQueriedMsg(const MacAddr& dstMac, uint16_t msgType, uint16_t msgId);
// True if a query is registered that a response of this type and identifier would answer.
[[nodiscard]] bool isQueryPending(uint16_t respType, uint16_t respId);

// Who sent a response: the device that was asked, another one, or none that may answer.
enum class Responder { kAsked, kOther, kNone };
// Finds the registered query that the response of a neighbor (AL MAC or interface MAC) answers. It
// is forgotten if the response comes from the device that was asked; of others, one may answer.
// kNone if there is no such query, or no database.
[[nodiscard]] Responder checkMatchQueryRespPair(const MacAddr& srcMac, uint16_t respType,
                                                uint16_t respId);
