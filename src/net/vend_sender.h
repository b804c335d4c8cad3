// Making and sending of vendor messages of this device.
#pragma once

#include <memory>
#include <optional>

#include "wire/vend_msg.h"

// A message of this type with the own OUI and AL MAC; nothing without a database.
std::optional<VendMsg> makeVendMsg(VendMsgType type, VendPayload&& payload);

// Send a vendor message to one device (AL MAC or interface MAC), to all, or as an answer under the
// identifier of the message that is answered. msgId receives the identifier used. The result of
// the send; kFailure without a database.
int sendVendMsg(const MacAddr& dstMac, VendMsgType type, VendPayload&& payload,
                uint16_t* msgId = nullptr);
int sendVendMcastMsg(VendMsgType type, VendPayload&& payload, uint16_t* msgId = nullptr);
int sendVendRespMsg(const MacAddr& dstMac, uint16_t msgId, VendMsgType type, VendPayload&& payload);

// Sends a vendor discovery to a neighbour (AL MAC or interface MAC), or to all when dstMac is
// nullptr. The result of the send; kFailure without a database.
int sendVendDiscMsg(const MacAddr* dstMac);
