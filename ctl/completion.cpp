#include "completion.h"

#include <algorithm>

#include "cli.h"

namespace {

using Given = std::vector<std::string>;  // the arguments before the last word

bool takesValue(const CLI::Option& option) {
    return option.get_items_expected_max() > 0;
}

const CLI::Option* optionNamed(const CLI::App* app, const std::string& word) {
    for (; app != nullptr; app = app->get_parent()) {
        if (const auto* option = app->get_option_no_throw(word)) return option;
    }
    return nullptr;
}

const CLI::App* commandNamed(const CLI::App& app, const std::string& name) {
    const auto found =
        app.get_subcommands([&](const CLI::App* command) { return command->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

// Other names would need quotes in the shell; their devices are completed by address.
bool isPlain(const std::string& name) {
    return !name.empty() && name[0] != '-' && std::ranges::all_of(name, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               c == '-' || c == '_' || c == '.';
    });
}

// With dashes, as a colon ends a word for bash.
std::string shellText(const Mac& mac) {
    std::string text = mac.text();
    std::ranges::replace(text, ':', '-');
    return text;
}

Given deviceNames(bool withAddresses) {
    Given words;
    for (const ModelDevice& device : readDataModel(dataModelPath()).devices) {
        const std::string name = device.text("Hostname");
        words.push_back(isPlain(name) ? name : shellText(device.alMac));
        if (isPlain(name) && withAddresses) words.push_back(shellText(device.alMac));
    }
    return words;
}

Given interfacesOf(const std::string& given) {
    const DataModel model = readDataModel(dataModelPath());
    const auto mac = parseMac(given);
    const ModelDevice* device = given == "self" ? &model.own : nullptr;
    for (const ModelDevice& other : model.devices) {
        if (mac ? other.alMac == *mac : other.text("Hostname") == given) device = &other;
    }
    Given words;
    if (device == nullptr) return words;
    for (const ModelInterface& intf : device->interfaces) {
        words.push_back(isPlain(intf.name) ? intf.name : shellText(intf.mac));
    }
    return words;
}

Given valuesOf(const CLI::Option& option, const Choice& choice, const Given& given,
               const std::string& last) {
    if (const auto found = choice.words.find(&option); found != choice.words.end()) {
        return found->second;
    }
    const std::string type = option.get_type_name();
    const bool isOfDevice = type == kOfArgument && given[0].starts_with("allow-");
    Given words;
    if (type.starts_with(kDeviceArgument) || isOfDevice) {
        words = deviceNames(!last.empty());
        if (type == kDeviceOrAllArgument) words.emplace_back("all");
        if (type == kDeviceOrSelfArgument || isOfDevice) words.emplace_back("self");
    } else if (type == kOfArgument) {
        words = interfacesOf("self");
    } else if (type == kInterfaceArgument) {
        words = interfacesOf(given[0]);
    }
    return words;
}

}  // namespace

void printCompletions(const std::vector<std::string>& words) {
    Choice choice;
    const auto root = makeCommandLine(choice);
    const CLI::App* app = root.get();
    const CLI::App* watch = nullptr;       // set once watch was given; another command follows it
    const CLI::Option* pending = nullptr;  // an option whose value comes next
    Given given;
    const std::string last = words.empty() ? "" : words.back();
    for (size_t i = 0; i + 1 < words.size(); i++) {
        if (pending != nullptr) {
            pending = nullptr;
        } else if (words[i].starts_with("-")) {
            const auto* option = optionNamed(app, words[i]);
            if (option == nullptr) option = optionNamed(watch, words[i]);
            if (option != nullptr && takesValue(*option)) pending = option;
        } else if (const auto* command = commandNamed(*app, words[i])) {
            if (command->get_name() == "watch") watch = command;
            app = command == watch ? root.get() : command;
            given.clear();
        } else {
            given.push_back(words[i]);
        }
    }
    const auto print = [&](const std::string& word) {
        if (word.starts_with(last)) std::puts(word.c_str());
    };
    const auto printValues = [&](const CLI::Option& option) {
        for (const std::string& word : valuesOf(option, choice, given, last)) print(word);
    };
    if (pending != nullptr) return printValues(*pending);
    if (last.starts_with("-")) {
        const auto printOptions = [&](const CLI::App& command) {
            for (const auto* option : command.get_options()) {
                for (const auto& name : option->get_lnames()) print("--" + name);
            }
        };
        if (watch != nullptr) printOptions(*watch);
        for (; app != nullptr; app = app->get_parent()) printOptions(*app);
        return;
    }
    const bool isWatched = watch != nullptr && app == root.get();
    for (const auto* command : app->get_subcommands([](const CLI::App*) { return true; })) {
        const bool canBeWatched = command != watch && command->get_group() == kReadingGroup;
        if (!isWatched || canBeWatched) print(command->get_name());
    }
    const auto positionals =
        app->get_options([](const CLI::Option* option) { return option->get_positional(); });
    if (given.size() < positionals.size()) return printValues(*positionals[given.size()]);
    const bool takesMany = !positionals.empty() && positionals.back()->get_items_expected_max() > 1;
    if (takesMany) printValues(*positionals.back());
}
