// The commands in their three groups, and what they are built from.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "cli.h"

// Add the commands that read, that change this device, and that give orders to other devices. Call
// them in this order: a later group adds commands to those of an earlier one.
void addReadCommands(CLI::App& app, Choice& choice);
void addLocalCommands(CLI::App& app, Choice& choice);
void addDeviceCommands(CLI::App& app, Choice& choice);

// ---- For the groups

// The arguments of a command, kept until the command line has been parsed.
template <typename Arguments>
using Held = std::shared_ptr<Arguments>;

// Adds a command that runs act(session, arguments) and prints the report. The caller adds options
// and arguments to the result. Global options may also follow the command.
template <typename Arguments>
std::pair<CLI::App*, Held<Arguments>> addCommand(CLI::App& parent, Choice& choice,
                                                 const std::string& name, const std::string& text,
                                                 Report (*act)(Session&, const Arguments&)) {
    auto held = std::make_shared<Arguments>();
    CLI::App* const command = parent.add_subcommand(name, text)->fallthrough();
    const bool isInGroup = parent.get_parent() != nullptr;
    command->callback(
        [&choice, held, act, path = isInGroup ? parent.get_name() + " " + name : name] {
            choice.command = path;
            choice.act = [held, act](Session& session) { return act(session, *held); };
        });
    // Otherwise it inherits the heading of its parent.
    if (isInGroup) command->group("Subcommands");
    return {command, held};
}

// A command that only contains others.
inline CLI::App& addGroup(CLI::App& parent, const std::string& name, const std::string& text) {
    return *parent.add_subcommand(name, text)->fallthrough()->require_subcommand(1);
}

inline CLI::Option* addDevice(CLI::App& command, std::string& device) {
    return command.add_option("DEVICE", device, "AL MAC or host name")
        ->required()
        ->type_name(kDeviceArgument);
}

inline CLI::Option* addDeviceOrAll(CLI::App& command, std::string& device) {
    return command.add_option("DEVICE", device, "AL MAC or host name, or all")
        ->required()
        ->type_name(kDeviceOrAllArgument);
}

// Adds an option or argument that takes one of the words; number gets the word's number.
CLI::Option* addWord(CLI::App& command, Choice& choice, const char* name, int& number,
                     const char* text, const Words& words);
