// A daemon for the parts of vm1905ctl, in place of the channel: it knows what a data model has.
#pragma once

#include <vector>

#include "data_model.h"
#include "vm1905_client.h"

struct PlayedDaemon {
    const DataModel* known = nullptr;
    bool hasNoPort = false;
    Mac downIntf{};                       // an own interface
    std::vector<vm1905_log_entry> log{};  // the change log
    std::vector<uint32_t> silence{};      // seconds since each other device was heard
};
extern PlayedDaemon playedDaemon;
