// What the commands that give orders share.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "cli.h"
#include "failure.h"
#include "orders/service_ids.h"

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
    const bool isInGroup = parent.get_parent() != nullptr;
    command->callback(
        [&choice, held, act, path = isInGroup ? parent.get_name() + " " + name : name] {
            choice.command = path;
            choice.act = [held, act](Session& session) { return act(session, *held); };
        });
    // It would inherit the heading of its group.
    if (isInGroup) command->group("Subcommands");
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

// Carries out the order that the command is, for a device (zero: for all, or nobody in particular),
// and reports it. service is the number of what call asks for. Throws Failure when it is refused.
Report giveOrder(Session& session, ServId service, const Mac& target,
                 const std::function<int(vm1905_client*, const vm1905_mac*)>& call);
// The same for what is done on this device. detail follows the command where the order is named,
// and may be empty. With isStored the daemon refuses what is set already, which is fine.
Report doHere(Session& session, const std::string& detail,
              const std::function<int(vm1905_client*)>& call, bool isStored = false);

// Throws Failure unless the user has said yes on the command line or now says it.
void confirm(const Session& session, const std::string& question);
// The other device that a person means, of which a question makes sense: one that the daemon knows.
Mac knownDevice(Session& session, const std::string& given);
