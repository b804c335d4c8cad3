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
    explicit Session(const Options& options) : options_(options) {}
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Options& options() const { return options_; }

    // Throws Failure without a daemon.
    vm1905_client* client();
    // A missing file is told on standard error, once.
    const DataModel& model();
    // Reads both anew at the next use.
    void forget() { model_.reset(); }

    std::string ownName() const;
    Mesh mesh();

    // The device that a person means: an AL MAC, a host name, or "self" for this one. Throws
    // Failure for a name that nobody has, or several.
    Mac device(const std::string& given);
    // Likewise; "all" is the all-zero address.
    Mac deviceOrAll(const std::string& given);
    // For messages to the user: its name when there is one, else its MAC; "all devices".
    std::string called(const Mac& alMac);

    // Names what the next call waits for.
    void expect(const std::string& what);
    // What it waited for has come.
    void done() { progress_.end(); }

  private:
    Options options_;
    vm1905_client* client_ = nullptr;
    std::optional<DataModel> model_;
    std::string toldTrouble_;
    Progress progress_;
};
