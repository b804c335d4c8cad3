// The command line: which commands there are, and what was chosen.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "report.h"
#include "session.h"

// What a command line asks for: one of the three.
struct Choice {
    Options options;
    std::function<Report(Session&)> read{};
    std::function<Report(Session&)> act{};  // reports what was done
    std::vector<std::string> watched{};     // the command line behind watch, when isWatch
    bool isWatch = false;
    double interval = 2;  // seconds, of watch
};

// Names of positional arguments; completion goes by the first two.
inline constexpr const char* kDeviceArgument = "DEVICE";
inline constexpr const char* kDeviceOrAllArgument = "DEVICE|all";

// All commands. The choice must outlive the result, and is filled while that parses.
std::unique_ptr<CLI::App> makeCommandLine(Choice& choice);

// The option of watch.
void addInterval(CLI::App& command, Choice& choice);

// Part of it: what gives orders to devices, and what is done on this one.
void addOrders(CLI::App& app, Choice& choice);
void addLocalOrders(CLI::App& app, Choice& choice);

// Prints what may stand at the last word, which may be empty, a line each.
void printCompletions(const std::vector<std::string>& words);
