// The reading commands. Each makes a report; all throw Failure.
#pragma once

#include <string>
#include <vector>

#include "report.h"
#include "session.h"

Report showStatus(Session& session);
Report showInterfaces(Session& session);
Report showDevices(Session& session);
Report showDevice(Session& session, const std::string& device);
// root: the device on top, empty: this one.
Report showTopology(Session& session, const std::string& root, bool withHosts);
Report showLinks(Session& session);
Report showChanges(Session& session);
Report showForwardingRules(Session& session);
Report showSecurity(Session& session);
// One value of this device or, where the item knows that, of another or of an own interface.
Report showItem(Session& session, const std::string& item, const std::string& of);

// The items of showItem, as a list for people.
std::string itemNames();
// Their names alone.
std::vector<std::string> itemWords();
