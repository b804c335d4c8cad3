// What the commands that give orders share.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "cli.h"
#include "failure.h"

// The arguments of one command, held while it may still be chosen.
template <typename Arguments>
using Held = std::shared_ptr<Arguments>;

// Adds a command that runs act(session, arguments) and reports what it returns. Options and
// arguments are added to the result. The global options may stand behind it.
template <typename Arguments>
std::pair<CLI::App*, Held<Arguments>> addCommand(CLI::App& parent, Choice& choice,
                                                 const std::string& name, const std::string& text,
                                                 Report (*act)(Session&, const Arguments&)) {
    auto held = std::make_shared<Arguments>();
    CLI::App* const command = parent.add_subcommand(name, text)->fallthrough();
    // It would inherit the heading of its group.
    if (parent.get_parent() != nullptr) command->group("Subcommands");
    command->callback([&choice, held, act] {
        choice.act = [held, act](Session& session) { return act(session, *held); };
    });
    return {command, held};
}

// A command that only holds others.
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

// Carries out an order for a device (zero: for all, or nobody in particular) and reports it. what
// names it, such as "reboot". Throws Failure when it is refused.
Report giveOrder(Session& session, const std::string& what, const Mac& target,
                 const std::function<int(vm1905_client*, const vm1905_mac*)>& call);
// The same for what is done on this device.
Report doHere(Session& session, const std::string& what,
              const std::function<int(vm1905_client*)>& call);

// Throws Failure unless the user has said yes on the command line, or now says it.
void confirm(const Session& session, const std::string& question);

// A MAC that a command is given, or Failure. what names the argument.
Mac macArgument(const std::string& text, const std::string& what);
// Bytes as hexadecimal digits, or Failure.
std::string hexArgument(const std::string& text);
