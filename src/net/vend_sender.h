// Builds and sends the vendor messages of this device.
#pragma once

#include <memory>
#include <optional>

#include "wire/vend_msg.h"

// A message of this type with this device's OUI and AL MAC; std::nullopt without a database.
std::optional<VendMsg> makeVendMsg(VendMsgType type, VendPayload&& payload);

// Send a vendor message to one device (AL MAC or interface MAC) or to all devices. *msgId is set as
// by the functions of transmitter.h, whose result is returned; kFailure without a database. In
// standard mode only devices that have sent a vendor discovery get it, each by unicast; for another
// one the result is kFailure.
int sendVendMsg(const MacAddr& dstMac, VendMsgType type, VendPayload&& payload,
                uint16_t* msgId = nullptr);
int sendVendMcastMsg(VendMsgType type, VendPayload&& payload, uint16_t* msgId = nullptr);
// Sends a response to one device, under the identifier of the request. The result of the send.
int sendVendRespMsg(const MacAddr& dstMac, uint16_t msgId, const VendMsg& msg);

// Sends a vendor discovery to a neighbor (AL MAC or interface MAC), or to all if dstMac is nullptr.
// The result of the send; kFailure without a database.
int sendVendDiscMsg(const MacAddr* dstMac);
