// Which orders of other devices this device obeys.
#pragma once

#include <optional>

#include "base/once_a_second.h"
#include "handlers/vend_context.h"

// What an order concerns. For each group but kCommand, which ORDERS_FROM alone limits, a key of
// vm1905.conf forbids its orders: ENABLE_REBOOT_FROM_NBR, ENABLE_INTF_PWR_CTRL_FROM_NBR, ...
enum class OrderGroup : uint8_t {
    kNone,  // not an order
    kReboot,
    kPower,
    kReset,
    kFirmware,
    kNetwork,
    kSystem,
    kWifi,
    kCommand,  // an order as a line of text, which is checked again as the order that it spells
};

struct OrderRefusals {
    OnceASecond reported;
};

// Empty if the order may be obeyed. Else it was refused and logged, and this is the result of its
// message. An order that a key forbids was answered with code 16. There is no answer to an order
// that ORDERS_FROM forbids, or that is a multicast although such orders are sent as unicasts.
[[nodiscard]] std::optional<int> refuseOrder(const VendContext& context, OrderGroup group,
                                             const char* label);

// True if the platform admits the sender of the message to the mesh, and the message comes from its
// AL MAC or an interface that its topology response lists. If false, logs it.
[[nodiscard]] bool isApproved(const VendContext& context);
