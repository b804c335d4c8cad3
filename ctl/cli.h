// The command line: which commands there are, and which one was chosen.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "argument.h"
#include "report.h"
#include "session.h"

// What a command line asks for: one of text, read, act and watched. A command with read may also
// have follow.
struct Choice {
    Options options;
    std::string command{};  // the command that acts, with its group: "wps renew"
    std::string text{};     // help or version to print
    std::function<Report(Session&)> read{};
    std::function<Report(Session&)> act{};  // reports what was done
    // Of a command that reads a log: reports what has been added since the call before.
    std::function<Report(Session&)> follow{};
    bool isFollow = false;
    Selection selection{};
    std::vector<std::string> watched{};  // the command line after watch, if isWatch
    bool isWatch = false;
    double interval = 2;  // seconds, of watch and follow

    // The words that an option or argument takes, if it takes only certain words.
    std::map<const CLI::Option*, std::vector<std::string>> words{};
};

inline constexpr const char* kReadingGroup = "Reading";  // the heading of the commands that read

// The types of arguments, by which completion chooses what to offer.
inline constexpr const char* kDeviceArgument = "DEVICE";
inline constexpr const char* kDeviceOrSelfArgument = "DEVICE|self";
inline constexpr const char* kDeviceOrAllArgument = "DEVICE|all";
inline constexpr const char* kInterfaceArgument =
    "INTERFACE";                                  // of the device in the argument before
inline constexpr const char* kOfArgument = "OF";  // of get: a device or an own interface

// Makes the command line with all commands. Parsing fills the choice, which must outlive the
// result.
std::unique_ptr<CLI::App> makeCommandLine(Choice& choice);
// Throws Failure if the usage is wrong.
void parse(CLI::App& app, Choice& choice, const std::vector<std::string>& words);

// What the command reads, as the command line selects it. Throws Failure.
Report readSelected(const Choice& choice, Session& session);

// Adds --interval, the option of watch.
void addInterval(CLI::App& command, Choice& choice);
