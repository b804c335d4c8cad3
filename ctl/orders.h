// Gives orders and reports their outcome.
#pragma once

#include <functional>
#include <string>

#include "mac.h"
#include "orders/service_ids.h"
#include "report.h"
#include "session.h"

using DeviceCall = std::function<int(vm1905_client*, const vm1905_mac* target)>;
using LocalCall = std::function<int(vm1905_client*)>;

// Gives the order of the session's command to a device; the zero address is all devices, or none in
// particular. call requests the service. Throws Failure if the order is refused.
void carryOut(Session& session, ServId service, const Mac& target, const DeviceCall& call);
// The same, with a report for commands that have nothing more to show.
[[nodiscard]] Report giveOrder(Session& session, ServId service, const Mac& target,
                               const DeviceCall& call);

// Gives an order to this device. detail, which may be empty, follows the command in messages.
// isStored: the daemon answers VM1905_UNCHANGED if the value is already set, which is no failure.
[[nodiscard]] Report doHere(Session& session, const std::string& detail, const LocalCall& call,
                            bool isStored = false);

// Throws Failure unless the user has confirmed with --yes or does so now.
void confirm(const Session& session, const std::string& question);
// Session::otherDevice for an order that asks first. Throws Failure if the daemon does not know the
// device, so that the question makes sense.
[[nodiscard]] Mac knownDevice(Session& session, const std::string& given);
