// What a command works with: the options of the command line, the channel, the data model.
#pragma once

#include <optional>
#include <string>

#include "data_model.h"
#include "mesh.h"
#include "report.h"
#include "terminal.h"
#include "vm1905_client.h"

struct Options {
    Format format = Format::kText;
    std::string dataModel;          // path; empty: the daemon's
    std::optional<double> timeout;  // seconds
    bool yes = false;               // ask no questions
};

class Session {
  public:
    // command: as the user calls it. Every wait ends once there is something to read from ending.
    Session(const Options& options, const std::string& command, int ending = -1)
        : options_(options), command_(command), ending_(ending) {}
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Options& options() const { return options_; }
    const std::string& command() const { return command_; }

    // Throws Failure without a daemon.
    vm1905_client* client();
    // A missing file is told on standard error, once.
    const DataModel& model();
    // The data model is read anew at its next use.
    void forget() { model_.reset(); }

    std::string ownName() const;
    Mesh mesh();

    // The device that a person means: an AL MAC, a host name, or "self" for this one. Throws
    // Failure for a name that nobody has, or several, and for the all-zero address.
    Mac device(const std::string& given);
    // Likewise, but not this one.
    Mac otherDevice(const std::string& given);
    // Likewise; "all" is the all-zero address, which stands for every device.
    Mac otherDeviceOrAll(const std::string& given);
    // For messages to the user: its name when there is one, else its MAC; "all devices".
    std::string called(const Mac& alMac);
    // The name of an interface of a device, else its MAC; nothing for the device itself.
    std::string portOf(const Mac& alMac, const Mac& intf);

    // Names what the next call waits for.
    void expect(const std::string& what);
    // Called while something is waited for, since so many milliseconds. False: it is to end.
    bool isWaiting(unsigned milliseconds);
    // What it waited for has come.
    void done() { progress_.end(); }

  private:
    Mac ownMac();

    Options options_;
    std::string command_;
    int ending_;
    vm1905_client* client_ = nullptr;
    std::optional<DataModel> model_;
    std::string toldTrouble_;
    Progress progress_;
};
