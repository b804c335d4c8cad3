// Sends messages: fragments, multicasts, relays, LLDP; remembers what was sent and asked.
#pragma once

#include <cstdint>

#include "net/message_builder.h"
#include "net/message_memory.h"
#include "net/ports.h"

struct TransmitterState {
    uint16_t msgId = 0;
    MessageMemory genRecvMsgs;
    MessageMemory queriedMsgs;
};

// Empties both memories. kOk.
int initMessageTransmitter();

// Sends a message to one device by every port on which it is a neighbour; dstMac is its AL MAC or
// the MAC of one of its interfaces. kOk when at least one frame left, msgId then holds the
// identifier used; else kFailure.
int requestSend1905UcastMsg(const MacAddr& dstMac, uint16_t msgType, const MsgBody& body,
                            uint16_t* msgId = nullptr);

// The same as an answer: under the identifier of the message that is answered.
int requestSend1905UcastRespMsg(const MacAddr& dstMac, uint16_t msgType, uint16_t msgId,
                                const MsgBody& body);

// Sends a message to all neighbours by every port that may carry multicasts; msgId receives the
// (last) identifier used. kOk, or kFailure when the message cannot be built.
int requestSend1905McastMsg(uint16_t msgType, const MsgBody& body, uint16_t* msgId = nullptr);

// Writes the frame in the receive buffer to every other port, with that port's MAC as its source.
// kOk, or kFailure at the first failed write.
int requestRelayMcastMsg(const Port& incoming);

// Sends an LLDP frame by every port that is up. kOk, or kFailure when it cannot be built.
int requestSendLldpMsg();

// Send the TLVs of one message by one port, in as many frames as it takes. With registerQuery the
// message is remembered as a query. kOk or kFailure.
int send1905UcastMsg(const Port& port, const MacAddr& dstMac, uint16_t msgType, uint16_t msgId,
                     bool registerQuery, const TlvList& tlvs);
int send1905McastMsg(const Port& port, uint16_t msgType, uint16_t msgId, bool relay,
                     bool registerQuery, const TlvList& tlvs);

// The memory of generated and received multicasts. An entry counts for 5 seconds. Registering
// returns false when it displaced an entry that still counted.
bool registerGenRecvMsg(const MacAddr& alMac, uint16_t msgType, uint16_t msgId);
bool lookupGenRecvMsg(const MacAddr& alMac, uint16_t msgType, uint16_t msgId);

// The memory of queries. dstMac and srcMac are AL MACs or interface MACs of neighbours. kOk, or
// kFailure without a database.
int registerQueriedMsg(const MacAddr& dstMac, uint16_t msgType, uint16_t msgId);
// 1 when the response answers a query, which is then forgotten, 0 when not, kFailure without a
// database.
int checkMatchQueryRespPair(const MacAddr& srcMac, uint16_t respType, uint16_t respId);
