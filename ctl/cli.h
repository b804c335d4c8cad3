// The command line: which commands there are, and what was chosen.
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

// What a command line asks for: one of the four.
struct Choice {
    Options options;
    std::string command{};  // the one that was chosen, with its group: "wps renew"
    std::string text{};     // to be printed, and nothing else done: help, the version
    std::function<Report(Session&)> read{};
    std::function<Report(Session&)> act{};  // reports what was done
    std::vector<std::string> watched{};     // the command line behind watch, when isWatch
    bool isWatch = false;
    double interval = 2;  // seconds, of watch

    // What may stand at an option or argument that takes one of some words.
    std::map<const CLI::Option*, std::vector<std::string>> words{};
};

// What an argument is, by which completion goes.
inline constexpr const char* kDeviceArgument = "DEVICE";
inline constexpr const char* kDeviceOrSelfArgument = "DEVICE|self";
inline constexpr const char* kDeviceOrAllArgument = "DEVICE|all";
inline constexpr const char* kInterfaceArgument = "INTERFACE";  // of the device before it
inline constexpr const char* kOfArgument = "OF";  // of get: a device or an own interface

// All commands. The choice must outlive the result, and is filled while that parses.
std::unique_ptr<CLI::App> makeCommandLine(Choice& choice);
// Parses it. Throws Failure for wrong usage.
void parse(CLI::App& app, Choice& choice, const std::vector<std::string>& words);

// One of the words, whose number the option then holds.
CLI::Option* addWord(CLI::App& command, Choice& choice, const char* name, int& number,
                     const char* text, const Words& words);

// The option of watch.
void addInterval(CLI::App& command, Choice& choice);

// Part of it: what gives orders to devices, and what is done on this one.
void addOrders(CLI::App& app, Choice& choice);
void addLocalOrders(CLI::App& app, Choice& choice);

// Prints what may stand at the last word, which may be empty, a line each.
void printCompletions(const std::vector<std::string>& words);
