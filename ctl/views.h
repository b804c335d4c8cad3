// The views: what each reading command shows, as a report. All throw Failure.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "report.h"
#include "session.h"

Report showStatus(Session& session);
Report showInterfaces(Session& session);
Report showDevices(Session& session);
Report showDevice(Session& session, const std::string& device);
enum class Drawing { kTree, kDot, kMermaid };
// root: the device at the top, empty for this one.
Report showTopology(Session& session, const std::string& root, bool withHosts, Drawing drawing);
// device: whose links; empty for all.
Report showLinks(Session& session, const std::string& device);
// The networks, radios, and what the devices have received. Keys only with secrets.
Report showWifi(Session& session, bool withSecrets);
Report showStations(Session& session);
Report showChanges(Session& session);
// By how many seconds the wall clock is ahead of the time since boot.
double wallClockLead();
// For Choice::follow. Names that it has read once stay known, and so do changes if the clock steps.
std::function<Report(Session&)> changeFollower(double (*lead)() = wallClockLead);
Report showForwardingRules(Session& session);
Report showSecurity(Session& session);
// What is wrong with this device. The status is 0 fine, 1 warnings, 2 broken.
Report showDoctor(Session& session);
// What is wrong in the configuration files, see checkConfig. The status is 1 if anything is.
Report showConfigTrouble(Session& session, const std::vector<std::string>& files);
// One value of this device; of some items, of another device or of an own interface.
Report showItem(Session& session, const std::string& item, const std::string& of);

// The items of showItem with their arguments, for help.
std::string itemNames();
// Their names alone.
std::vector<std::string> itemWords();

// The links of one device, or of all (nullptr): a part of a report.
Section linksOf(const std::string& title, const Mesh& mesh, const Device* device);
