// The commands that give orders to other devices.
#include <algorithm>
#include <chrono>
#include <cstdio>

#include "commands.h"
#include "device_log.h"
#include "failure.h"
#include "hex.h"
#include "orders.h"
#include "words.h"

namespace {

constexpr size_t kMaxText = 240;  // bytes of a URL, command or list of TLVs
constexpr size_t kMaxNetworkText = 128;

struct Target {
    std::string device;
};
struct Numbered {
    std::string device;
    int value = 0;
};

Report reboot(Session& session, const Target& target) {
    const Mac mac = knownDevice(session, target.device);
    confirm(session, "reboot " + session.called(mac) + "?");
    return giveOrder(session, kServReboot, mac, vm1905_reboot);
}

struct RoundTrip {
    std::string called;
    Mac mac;
    double milliseconds = 0;
};

constexpr Column<RoundTrip> kRoundTrip[] = {
    {"text", "",
     [](const RoundTrip& r) {
         char time[32];
         std::snprintf(time, sizeof time, "%.1f ms", r.milliseconds);
         return Json(r.called + " has answered in " + time);
     }},
    {"device", "", [](const RoundTrip& r) { return Json(r.mac.text()); }, Unit::kNone, kHidden},
    {"milliseconds", "", [](const RoundTrip& r) { return Json(r.milliseconds); }, Unit::kNone,
     kHidden},
};

Report ping(Session& session, const Target& target) {
    using Clock = std::chrono::steady_clock;
    RoundTrip trip;
    trip.mac = session.otherDevice(target.device);
    trip.called = session.called(trip.mac);
    carryOut(session, kServPing, trip.mac, [&](auto* client, auto* mac) {
        const auto begin = Clock::now();
        const int result = vm1905_ping(client, mac);
        trip.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
        return result;
    });
    return {{recordOf("", "", kRoundTrip, trip)}};
}

Report reset(Session& session, const Target& target) {
    const Mac mac = knownDevice(session, target.device);
    confirm(session, "reset " + session.called(mac) + " to its factory settings?");
    return giveOrder(session, kServResetToDefault, mac, vm1905_reset_to_default);
}

// ---- Power of interfaces

struct Power {
    std::string device;
    int state = 0;
    std::vector<std::string> interfaces;
};

constexpr int kOff = 2;
const Words kStates{{"on", 0}, {"save", 1}, {"off", kOff}};

std::vector<Interface> chosenInterfaces(const Device& device, const Power& power) {
    if (power.interfaces.empty()) return device.interfaces;
    std::vector<Interface> chosen;
    for (const std::string& given : power.interfaces) {
        chosen.push_back(device.namedIntf(given));
    }
    return chosen;
}

bool isCutOff(const Device& device, const Power& power, const std::vector<Interface>& chosen) {
    return power.state == kOff &&
           std::ranges::all_of(device.interfaces, [&](const Interface& intf) {
               return std::ranges::find(chosen, intf.mac, &Interface::mac) != chosen.end();
           });
}

struct PowerResult {
    std::string interface;
    int code;
};

constexpr Column<PowerResult> kPowerResults[] = {
    {"interface", "INTERFACE", [](const PowerResult& r) { return Json(r.interface); }},
    {"result", "CODE", [](const PowerResult& r) { return Json(r.code); }},
    {"meaning", "RESULT", [](const PowerResult& r) { return Json(vm1905_strerror(r.code)); }},
};

using PowerResults = std::vector<PowerResult>;

PowerResults setOwnPower(Session& session, const Device& own, const std::vector<Interface>& chosen,
                         uint8_t state) {
    PowerResults results;
    for (const Interface& intf : chosen) {
        const vm1905_mac mac = intf.mac;
        session.expect("the daemon");
        const int code = vm1905_set_intf_pwr(session.client(), &mac, intf.mediaType, state);
        session.done();
        if (code < 0) check(code, "power of " + portName(own, intf.mac), Asked::kHere);
        results.push_back({portName(own, intf.mac), code});
    }
    return results;
}

PowerResults setPowerOf(Session& session, const Device& device,
                        const std::vector<Interface>& chosen, uint8_t state) {
    std::vector<vm1905_pwr_intf> wanted;
    for (const Interface& intf : chosen) wanted.push_back({intf.mac, intf.mediaType});
    if (wanted.size() > VM1905_MAX_PWR_INTFS) {
        throw Failure{kUsage,
                      "more than " + std::to_string(VM1905_MAX_PWR_INTFS) + " interfaces at once",
                      "name some of them"};
    }
    vm1905_pwr_results answer{};
    carryOut(session, kServIntfPwrCtrl, device.alMac, [&](auto* client, auto* mac) {
        return vm1905_set_dev_intf_pwr(client, mac, wanted.data(), wanted.size(), state, &answer);
    });
    PowerResults results;
    for (size_t i = 0; i < answer.num; i++) {
        results.push_back({portName(device, answer.results[i].mac), answer.results[i].code});
    }
    return results;
}

Report setPower(Session& session, const Power& power) {
    const Mac target = session.device(power.device);
    const Mesh mesh = session.mesh();
    const Device* const device = mesh.find(target);
    if (device == nullptr) throwFailure(VM1905_NO_NEIGHBOR, "power of " + target.text());
    const auto chosen = chosenInterfaces(*device, power);
    if (isCutOff(*device, power, chosen)) {
        confirm(session, "switch off every interface of " + device->called() +
                             " and cut it off from further orders?");
    }
    const auto state = static_cast<uint8_t>(power.state);
    const PowerResults results = device->isOwn ? setOwnPower(session, *device, chosen, state)
                                               : setPowerOf(session, *device, chosen, state);
    const bool isRefused = std::ranges::any_of(results, [](const auto& r) { return r.code != 0; });
    return {{listOf("interfaces", "", kPowerResults, results, "no interfaces")},
            isRefused ? kRefused : kDone};
}

// ---- Orders with a number

Report led(Session& session, const Numbered& order) {
    return giveOrder(
        session, kServLEDCtrl, session.otherDeviceOrAll(order.device),
        [&](auto* client, auto* mac) { return vm1905_led_ctrl(client, mac, order.value); });
}

Report systemControl(Session& session, const Numbered& order) {
    return giveOrder(
        session, kServSystemCtrl, session.otherDeviceOrAll(order.device),
        [&](auto* client, auto* mac) { return vm1905_system_ctrl(client, mac, order.value); });
}

const Words kWpsActions{{"autoconfig", 1}, {"search", 2}, {"response", 4}};

struct WpsControl {
    std::string device;
    std::vector<std::string> actions;
};

Report wpsControl(Session& session, const WpsControl& order) {
    int bits = 0;
    for (const std::string& action : order.actions) {
        bits |= wordOrNumber(action, kWpsActions, 0, 255, "OPTION");
    }
    return giveOrder(session, kServWpsCtrl, session.otherDevice(order.device),
                     [&](auto* client, auto* mac) {
                         return vm1905_wps_ctrl(client, mac, static_cast<uint8_t>(bits));
                     });
}

Report steer(Session& session, const Numbered& order) {
    return giveOrder(session, kServAPSteering, session.otherDevice(order.device),
                     [&](auto* client, auto* mac) {
                         return vm1905_ap_steering(client, mac, static_cast<uint8_t>(order.value));
                     });
}

// ---- Firmware, commands, network

// Those that the platform library obeys by itself.
const Words kFirmwareOptions{{"fetch", 6}, {"reset", 0}};

struct Firmware {
    std::string device, option;
    int topologyOption = 0;
    std::string url;
};

Report firmware(Session& session, const Firmware& order) {
    const std::string& url = textArgument(order.url, kMaxText, "URL");
    const int option = wordOrNumber(order.option, kFirmwareOptions, 0, 255, "OPTION");
    return giveOrder(
        session, kServFWCtrl, session.otherDevice(order.device), [&](auto* client, auto* mac) {
            return vm1905_fw_ctrl(client, mac, static_cast<uint8_t>(option),
                                  static_cast<uint8_t>(order.topologyOption), url.c_str());
        });
}

struct Text {
    std::string device;
    std::vector<std::string> words;
    int option = 0;

    std::string text() const {
        std::string out;
        for (const std::string& word : words) out += (out.empty() ? "" : " ") + word;
        return out;
    }
};

Report command(Session& session, const Text& order) {
    const std::string text = textArgument(order.text(), kMaxText, "TEXT");
    return giveOrder(
        session, kServSendCommand, session.otherDevice(order.device),
        [&](auto* client, auto* mac) { return vm1905_send_command(client, mac, text.c_str()); });
}

Report network(Session& session, const Text& order) {
    const std::string text = textArgument(order.text(), kMaxNetworkText, "TEXT");
    return giveOrder(session, kServNetworkCtrl, session.otherDeviceOrAll(order.device),
                     [&](auto* client, auto* mac) {
                         return vm1905_network_ctrl(
                             client, mac, static_cast<uint16_t>(order.option), text.c_str());
                     });
}

// ---- Stations

struct Station {
    std::string device, station, bssid, ssid;
    int mode = 0, operatingClass = 0, channel = 0, duration = 0, timer = 0;
    bool isImminent = false;
};

const Words kModes{{"passive", 0}, {"active", 1}, {"table", 2}};

vm1905_beacon_request beaconRequest(const Station& order) {
    vm1905_beacon_request request{};
    request.station = macArgument(order.station, "station");
    if (!order.bssid.empty()) request.bssid = macArgument(order.bssid, "BSSID");
    request.operating_class = static_cast<uint8_t>(order.operatingClass);
    request.channel = static_cast<uint8_t>(order.channel);
    request.mode = static_cast<uint8_t>(order.mode);
    request.duration = static_cast<uint16_t>(order.duration);
    textArgument(order.ssid, sizeof request.ssid - 1, "SSID")
        .copy(request.ssid, sizeof request.ssid - 1);
    return request;
}

Report requestBeacon(Session& session, const Station& order) {
    const auto request = beaconRequest(order);
    return giveOrder(
        session, kServSendBcnRpt, session.otherDevice(order.device),
        [&](auto* client, auto* mac) { return vm1905_request_beacon(client, mac, &request); });
}

constexpr Column<vm1905_beacon_report> kBeaconReport[] = {
    {"station", "Station",
     [](const vm1905_beacon_report& r) { return Json(Mac(r.station).text()); }},
    {"length", "Length", [](const vm1905_beacon_report& r) { return Json(r.length); }},
    {"report", "Report",
     [](const vm1905_beacon_report& r) { return Json(hexOf(r.data, r.length)); }},
};

Report getBeacon(Session& session, const Station& order) {
    const auto request = beaconRequest(order);
    vm1905_beacon_report report{};
    carryOut(
        session, kServGetBcnRpt, session.otherDevice(order.device),
        [&](auto* client, auto* mac) { return vm1905_get_beacon(client, mac, &request, &report); });
    return {{recordOf("", "", kBeaconReport, report)}};
}

Report btm(Session& session, const Station& order) {
    vm1905_btm request{};
    request.station = macArgument(order.station, "station");
    request.bssid = macArgument(order.bssid, "BSSID");
    request.operating_class = static_cast<uint8_t>(order.operatingClass);
    request.channel = static_cast<uint8_t>(order.channel);
    request.disassoc_imminent = order.isImminent;
    request.disassoc_timer = static_cast<uint16_t>(order.timer);
    return giveOrder(
        session, kServSendBTM, session.otherDevice(order.device),
        [&](auto* client, auto* mac) { return vm1905_send_btm(client, mac, &request); });
}

template <ServId Service, int (*Call)(vm1905_client*, const vm1905_mac*, const vm1905_mac*)>
Report blacklist(Session& session, const Station& order) {
    const vm1905_mac station = macArgument(order.station, "station");
    return giveOrder(session, Service, session.otherDevice(order.device),
                     [&](auto* client, auto* mac) { return Call(client, mac, &station); });
}

// ---- Orders that the daemon answers once they are sent

struct SpeedTest {
    std::string device, url, lanMac;
    int action = 0;
    unsigned start = 0, runtime = 0;
};

template <bool IsStart>
Report speedTest(Session& session, const SpeedTest& order) {
    vm1905_speed_test test{};
    test.enable = IsStart;
    test.action = static_cast<uint8_t>(order.action);
    test.start = order.start;
    test.runtime = order.runtime;
    if (!order.lanMac.empty()) test.lan_mac = macArgument(order.lanMac, "LAN MAC");
    textArgument(order.url, sizeof test.url - 1, "URL").copy(test.url, sizeof test.url - 1);
    return giveOrder(
        session, kServSpeedTest, session.otherDeviceOrAll(order.device),
        [&](auto* client, auto* mac) { return vm1905_speed_test_ctrl(client, mac, &test); });
}

Report requestLogFile(Session& session, const Target& target) {
    return giveOrder(session, kServRequestLogFile, session.otherDeviceOrAll(target.device),
                     vm1905_request_log_file);
}

Report showLog(Session& session, const Target& target) {
    return fetchLog(session, target.device);
}

Report wifiSearch(Session& session, const Target& target) {
    return giveOrder(session, kServWifiStateSearch, session.otherDeviceOrAll(target.device),
                     vm1905_wifi_state_search);
}

Report wifiRenew(Session& session, const Target& target) {
    return giveOrder(session, kServWifiStateRenew, session.otherDeviceOrAll(target.device),
                     vm1905_wifi_state_renew);
}

struct Raw {
    std::string device, hex;
    int type = 0;
};

// The daemon checks the TLVs, too, but does not say what is wrong.
bool isTlvList(const std::string& bytes) {
    constexpr size_t kHead = 3;
    const auto byte = [&](size_t at) { return static_cast<uint8_t>(bytes[at]); };
    size_t at = 0;
    while (at + kHead <= bytes.size() && byte(at) != 0) {
        at += kHead + (static_cast<size_t>(byte(at + 1)) << 8 | byte(at + 2));
    }
    // The TLV that ends the list is optional.
    const bool hasEnd = at + kHead == bytes.size() &&
                        hexOf(reinterpret_cast<const uint8_t*>(&bytes[at]), kHead) == "000000";
    return at == bytes.size() || hasEnd;
}

Report sendRaw(Session& session, const Raw& order) {
    constexpr int kToOne[] = {2, 4, 5, 8, 9}, kToAll[] = {0, 1, 7, 10, 11, 12};
    const std::string bytes = hexArgument(order.hex, kMaxText, "HEX");
    const std::string type = "messages of type " + std::to_string(order.type);
    const bool hasTarget = !order.device.empty();
    if (std::ranges::find(kToOne, order.type) != std::end(kToOne) && !hasTarget) {
        throw Failure{kUsage, type + " go to one device", "name it with --to DEVICE"};
    }
    if (std::ranges::find(kToAll, order.type) != std::end(kToAll) && hasTarget) {
        throw Failure{kUsage, type + " go to every device", "leave out --to"};
    }
    if (!isTlvList(bytes)) {
        throw Failure{kUsage, "the bytes are not a list of TLVs",
                      "a TLV is a byte of type, two bytes of length (high byte first) and a value"};
    }
    const Mac target = hasTarget ? session.otherDevice(order.device) : Mac{};
    return giveOrder(session, kServRawSend, target, [&](auto* client, auto* mac) {
        return vm1905_send_raw(client, static_cast<uint16_t>(order.type), mac, bytes.data(),
                               bytes.size());
    });
}

void addNumber(CLI::App& command, int& value, const char* name, const char* text, int max) {
    takeNumber(command.add_option(name, value, text), 0, max)->required()->type_name("N");
}

void addStation(CLI::App& command, Station& order) {
    addDevice(command, order.device);
    command.add_option("STATION", order.station, "MAC of the Wi-Fi station")
        ->required()
        ->type_name("MAC");
}

void addChannel(CLI::App& command, Station& order) {
    takeNumber(command.add_option("--class", order.operatingClass, "operating class"), 0, 255)
        ->type_name("N");
    takeNumber(command.add_option("--channel", order.channel, "channel"), 0, 255)->type_name("N");
}

void addStationOrders(CLI::App& app, Choice& choice) {
    CLI::App& beacon = addGroup(app, "beacon-report", "what a Wi-Fi station hears");
    for (const bool isRequest : {true, false}) {
        const auto [command, order] = addCommand<Station>(
            beacon, choice, isRequest ? "request" : "get",
            isRequest ? "have a station of the device measure" : "fetch its last report",
            isRequest ? requestBeacon : getBeacon);
        addStation(*command, *order);
        command->add_option("--bssid", order->bssid, "only this BSS")->type_name("MAC");
        addChannel(*command, *order);
        addWord(*command, choice, "--mode", order->mode,
                "how it measures: passive, active or table", kModes)
            ->type_name("MODE");
        takeNumber(command->add_option("--duration", order->duration, "time units"), 0, 65535)
            ->type_name("N");
        command->add_option("--ssid", order->ssid, "only this network")->type_name("TEXT");
    }
    {
        const auto [command, order] =
            addCommand<Station>(app, choice, "btm", "have a station move to another BSS", btm);
        addStation(*command, *order);
        command->add_option("BSSID", order->bssid, "of the BSS to move to")
            ->required()
            ->type_name("MAC");
        addChannel(*command, *order);
        command->add_flag("--imminent", order->isImminent, "the station will be disassociated");
        takeNumber(command->add_option("--timer", order->timer, "beacon intervals until then"), 0,
                   65535)
            ->type_name("N");
    }
    CLI::App& list = addGroup(app, "blacklist", "Wi-Fi stations that a device refuses");
    const auto [add, added] = addCommand<Station>(
        list, choice, "add", "add a station", blacklist<kServAddBlacklist, vm1905_add_blacklist>);
    addStation(*add, *added);
    const auto [remove, removed] =
        addCommand<Station>(list, choice, "remove", "remove a station",
                            blacklist<kServRemoveBlacklist, vm1905_remove_blacklist>);
    addStation(*remove, *removed);
}

void addSentOrders(CLI::App& app, Choice& choice) {
    CLI::App& speed = addGroup(app, "speed-test", "speed tests of devices");
    for (const bool isStart : {true, false}) {
        const auto [command, order] = addCommand<SpeedTest>(
            speed, choice, isStart ? "start" : "stop", isStart ? "start a test" : "stop a test",
            isStart ? speedTest<true> : speedTest<false>);
        addDeviceOrAll(*command, order->device);
        takeNumber(command->add_option("--action", order->action,
                                       "what to measure; the product defines the numbers"),
                   0, 255)
            ->type_name("N");
        command->add_option("--url", order->url, "the server to test against")->type_name("URL");
        takeNumber(
            command->add_option("--start", order->start, "start time in seconds since the epoch"),
            0, UINT32_MAX)
            ->type_name("N");
        takeNumber(command->add_option("--runtime", order->runtime, "length in seconds"), 0,
                   UINT32_MAX)
            ->type_name("N");
        command->add_option("--lan-mac", order->lanMac, "MAC of the host that asks")
            ->type_name("MAC");
    }
    {
        const auto [command, order] = addCommand<Text>(
            app, choice, "network", "network control, by option and text", network);
        addDeviceOrAll(*command, order->device);
        addNumber(*command, order->option, "OPTION", "the product defines the numbers", 65535);
        command->add_option("TEXT", order->words, "up to 128 bytes")->type_name("TEXT");
    }
    {
        const auto [command, order] =
            addCommand<Raw>(app, choice, "send", "send a standard IEEE 1905.1 message", sendRaw);
        addNumber(*command, order->type, "TYPE", "0, 1, 2, 4, 5, or 7 to 12", 65535);
        command->add_option("HEX", order->hex, "the TLVs, up to 240 bytes")->type_name("HEX");
        command->add_option("--to", order->device, "the receiver, for types that go to one device")
            ->type_name(kDeviceArgument);
    }
}

}  // namespace

void addDeviceCommands(CLI::App& app, Choice& choice) {
    {
        const auto [command, target] = addCommand<Target>(
            app, choice, "ping", "how long a device takes to answer a topology query", ping);
        addDevice(*command, target->device);
    }
    {
        const auto [command, target] =
            addCommand<Target>(app, choice, "log", "fetch and show the log of a device", showLog);
        addDevice(*command, target->device);
    }
    for (const auto& [name, text, act] :
         {std::tuple{"reboot", "reboot a device; asks first", &reboot},
          std::tuple{"reset", "reset a device to its factory settings; asks first", &reset}}) {
        const auto [command, order] = addCommand<Target>(app, choice, name, text, act);
        addDevice(*command, order->device);
    }
    {
        const auto [command, order] = addCommand<Power>(
            app, choice, "power",
            "switch interfaces of a device or of this one (self); asks first if all go off",
            setPower);
        addDevice(*command, order->device)->type_name(kDeviceOrSelfArgument);
        addWord(*command, choice, "STATE", order->state, "on, save or off", kStates)
            ->required()
            ->type_name("STATE");
        command->add_option("INTERFACE", order->interfaces, "names or MACs; without any, all")
            ->type_name(kInterfaceArgument);
    }
    for (const auto& [name, text, act] : {std::tuple{"led", "LED control", &led},
                                          std::tuple{"system", "system control", &systemControl}}) {
        const auto [command, order] = addCommand<Numbered>(app, choice, name, text, act);
        addDeviceOrAll(*command, order->device);
        addNumber(*command, order->value, "VALUE", "the product defines the numbers", 255);
    }
    {
        const auto [command, order] =
            addCommand<Numbered>(app, choice, "steer", "AP steering of a device", steer);
        addDevice(*command, order->device);
        addNumber(*command, order->value, "OPTION", "the product defines the numbers", 255);
    }
    {
        const auto [command, order] =
            addCommand<Firmware>(app, choice, "firmware", "firmware order to a device", firmware);
        addDevice(*command, order->device);
        const auto* const option =
            command->add_option("OPTION", order->option, "fetch, reset or a number of the product")
                ->required()
                ->type_name("OPTION");
        for (const auto& [word, number] : kFirmwareOptions) choice.words[option].push_back(word);
        takeNumber(command->add_option("--topology-option", order->topologyOption,
                                       "the product defines the numbers"),
                   0, 255)
            ->type_name("N");
        command->add_option("--url", order->url, "up to 240 bytes")->type_name("URL");
    }
    {
        const auto [cmd, order] = addCommand<Text>(
            app, choice, "command", "send a device an order as a line of text", command);
        addDevice(*cmd, order->device);
        cmd->add_option("TEXT", order->words, "up to 240 bytes")->required()->type_name("TEXT");
    }
    addStationOrders(app, choice);
    addSentOrders(app, choice);
    CLI::App* const wps = app.get_subcommand("wps");
    const auto [control, order] =
        addCommand<WpsControl>(*wps, choice, "control", "WPS control of a device", wpsControl);
    addDevice(*control, order->device);
    const auto* const actions =
        control->add_option("OPTION", order->actions, "autoconfig, search, response, with commas")
            ->required()
            ->delimiter(',')
            ->type_name("OPTION");
    for (const auto& [word, bit] : kWpsActions) choice.words[actions].push_back(word);
    CLI::App* const sync = app.get_subcommand("wifi-sync");
    for (const auto& [name, text, act] :
         {std::tuple{"search", "ask a Registrar for its Wi-Fi state", &wifiSearch},
          std::tuple{"renew", "send the Wi-Fi state of this device", &wifiRenew}}) {
        const auto [command, target] = addCommand<Target>(*sync, choice, name, text, act);
        addDeviceOrAll(*command, target->device);
    }
    const auto [logFile, asked] =
        addCommand<Target>(*app.get_subcommand("log-file"), choice, "request",
                           "ask a device for its log file", requestLogFile);
    addDeviceOrAll(*logFile, asked->device);
}
