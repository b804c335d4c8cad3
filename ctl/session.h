// What a command works with: its options, the channel and the data model.
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
    std::string dataModel;          // path; empty for that of the daemon
    std::optional<double> timeout;  // seconds
    bool yes = false;               // ask no questions
};

class Session {
  public:
    // command: as the user typed it. Once ending (a file descriptor, or -1) is readable, every wait
    // ends with VM1905_CANCELLED.
    Session(const Options& options, const std::string& command, int ending = -1)
        : options_(options), command_(command), ending_(ending) {}
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Options& options() const { return options_; }
    const std::string& command() const { return command_; }

    // Throws Failure if no daemon runs.
    vm1905_client* client();
    // Reports a file that cannot be read on standard error, once.
    const DataModel& model();
    // Has the next use of the data model read the file again.
    void forgetModel() { model_.reset(); }

    std::string ownName() const;
    // These read from the daemon, and throw Failure.
    vm1905_al ownRecord();
    vm1905_topology topology();
    Device ownDevice();
    Mesh mesh();

    // The device given as AL MAC, host name, or "self" for this one. Throws Failure for a name that
    // no device has, or more than one, and for the all-zero address.
    Mac device(const std::string& given);
    // The same, but not this device.
    Mac otherDevice(const std::string& given);
    // The same; "all" is the all-zero address.
    Mac otherDeviceOrAll(const std::string& given);
    // How messages call it: by its name, else its MAC; "all devices" for the all-zero address.
    std::string called(const Mac& alMac);
    // The second Registrar that this device hears, by its name and AL MAC; empty if there is none.
    std::string otherRegistrar();
    // The name of an interface of a device, else its MAC.
    std::string portOf(const Mac& alMac, const Mac& intf);

    // Says what the next call waits for, for the progress line.
    void expect(const std::string& what);
    // Called while a call waits, for this many milliseconds so far. False if the call is to end.
    bool isWaiting(unsigned milliseconds);
    // The call has returned.
    void done() { progress_.end(); }

  private:
    Options options_;
    std::string command_;
    int ending_;
    vm1905_client* client_ = nullptr;
    std::optional<DataModel> model_;
    std::string toldTrouble_;
    Progress progress_;
};
