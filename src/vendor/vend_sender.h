// Making of vendor messages of this device.
#pragma once

#include <memory>
#include <optional>

#include "vendor/vend_msg.h"

// A message of this type with the own OUI and AL MAC; nothing without a database.
std::optional<VendMsg> makeVendMsg(VendMsgType type, std::unique_ptr<VendPayload> payload);
