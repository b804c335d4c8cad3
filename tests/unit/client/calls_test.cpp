// The typed calls of the client library: the bytes that each puts into the request slot, and what
// it makes of an answer. Payloads begin at byte 7 of the slots.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <type_traits>

#include "exchange.h"
#include "support/foreign_segments.h"
#include "support/frames.h"

namespace {

using Hex =
    std::string;  // hexadecimal; in the tables with blanks between the fields, and = before numbers
using Client = vm1905_client*;

constexpr vm1905_mac kMac{{0x02, 0x11, 0x22, 0x33, 0x44, 0x55}};
constexpr vm1905_mac kOther{{0x06, 0, 0, 0, 0, 0x01}};
const Hex kM = "021122334455", kO = "060000000001";

Hex shown(const void* bytes, size_t length) {
    const auto* const first = static_cast<const uint8_t*>(bytes);
    return print(Frame(first, first + length));
}
Hex hexText(const std::string& text) {
    return shown(text.data(), text.size());
}
Hex zeros(size_t n) {
    return Hex(2 * n, '0');
}
// Without trailing zeros.
Hex trimmed(const Hex& text) {
    Hex bytes = print(hex(text));
    while (bytes.ends_with("00")) bytes.resize(bytes.size() - 2);
    return bytes;
}
unsigned timeoutOf(uint16_t service) {
    return vm1905_is_for_neighbor(service) != 0 ? 456 : 123;
}
// Without any zero, such as in the gaps between the fields of a slot.
Hex dense(const Hex& bytes) {
    Frame all = hex(bytes);
    std::erase(all, 0);
    return print(all);
}

// The channel: what was asked last, and what is answered.
struct {
    int asked = 0;
    uint16_t service = 0;
    Hex payload{};
    unsigned timeout = 0;
    int result = 0;
    vm1905_answer answer{};
} channel;

void answerWith(int id, const Hex& payload, int result = 0) {
    channel = {.result = result};
    channel.answer.id = static_cast<uint16_t>(id);
    std::ranges::copy(hex(payload), channel.answer.payload);
}

}  // namespace

vm1905_client::vm1905_client() {
    localMs = 123, neighborMs = 456;
}
vm1905_client::~vm1905_client() = default;

int vm1905_call(vm1905_client*, uint16_t service, const void* payload, size_t length,
                unsigned timeout_ms, vm1905_answer* answer) {
    channel.asked++;
    channel.service = service;
    channel.payload = shown(payload, length);
    channel.timeout = timeout_ms;
    if (channel.result == 0) *answer = channel.answer;
    return channel.result;
}

namespace {

// The fields of a record one after the other, numbers in host byte order as in the slots.
template <typename... Field>
Hex fields(const Field&... field) {
    return (shown(&field, sizeof field) + ...);
}
template <typename Record>
Hex shown(const Record& r) {
    static_assert(std::has_unique_object_representations_v<Record>, "gaps need a function below");
    return fields(r);
}
// clang-format off
Hex shown(const vm1905_al& r) { return fields(r.al_mac, r.status, r.age, r.intf_num); }
Hex shown(const vm1905_fwd_rule& r) { return fields(r.id, r.mac_num, r.macs, r.match); }
Hex shown(const vm1905_vend_prop& r) { return fields(r.oui) + shown(r.data, r.length); }
Hex shown(const vm1905_security& r) { return fields(r.mode, r.length) + shown(r.value, r.length); }
Hex shown(const vm1905_beacon_report& r) { return fields(r.station, r.length) + shown(r.data, r.length); }
Hex shown(const vm1905_link& r) {
    return fields(r.neighbor_mac, r.local_mac, r.bridge, r.tx_errors, r.tx_packets, r.rx_errors, r.rx_packets, r.throughput, r.availability, r.phy_rate, r.rssi);
}
// clang-format on
Hex shown(const vm1905_pwr_results& r) {
    Hex out = fields(r.num);
    for (const auto& each : r.results) out += fields(each.mac, each.media_type, each.code);
    return out;
}

// A call that fills the record that its last argument points to.
template <typename... Parameter, typename... Argument>
std::function<int(Client, Hex&)> reading(int (*call)(Client, Parameter...), Argument... arguments) {
    using Last = std::tuple_element_t<sizeof...(Parameter) - 1, std::tuple<Parameter...>>;
    return [=](Client client, Hex& out) {
        std::remove_pointer_t<Last> record;
        std::memset(static_cast<void*>(&record), 0xee, sizeof record);
        const auto before = record;
        const std::tuple<Client, Parameter...> all(client, arguments..., &record);
        const int result = std::apply(call, all);
        if (result == 0) out = shown(record);
        // The two are copies, so that even their padding is the same.
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
        EXPECT_TRUE(result == 0 || std::memcmp(&record, &before, sizeof record) == 0);
        return result;
    };
}

// A call that orders something.
template <typename... Parameter>
std::function<int(Client)> order(int (*call)(Client, Parameter...),
                                 std::type_identity_t<Parameter>... arguments) {
    return [=](Client client) { return call(client, arguments...); };
}

constexpr vm1905_pwr_intf kIntfs[31] = {{kMac, 0x105}, {kOther, 1}};
constexpr vm1905_beacon_request kBeacon{kMac, kOther, 81, 36, 2, 100, "home"};
constexpr vm1905_btm kBtm{kMac, kOther, 81, 36, 1, 30};
constexpr vm1905_speed_test kSpeedTest{1, 2, 0x01020304, 60, kMac, "ftp://a"};

// A user who is not the daemon's may have made the segments before it starts.
TEST(Channel, OfAStrangerIsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
    const ForeignSegments foreign;
    Segment request(slots::kReqKey, slots::kReqSize);
    EXPECT_STREQ(vm1905_strerror(request.attach()),
                 "the service channel was made by a user who is not the daemon's");
    EXPECT_EQ(errno, EPERM);
    foreign.giveOwnFolder(foreign.kStranger);
    EXPECT_EQ(request.attach(), 0) << "the daemon runs as that user";
    foreign.giveOwnFolder(foreign.kStranger, 01777);
    EXPECT_NE(request.attach(), 0) << "every user can make a folder there";
}

}  // namespace

TEST(Calls, ReadRecords) {
    const struct {
        uint16_t service;
        Hex request, answer;
        std::function<int(Client, Hex&)> call;
        Hex senseless{};  // an answer with a count beyond its bound
    } rows[] = {
        // clang-format off
        {0, "", kM + "01 0000 =01020304 05", reading(vm1905_get_al)},
        {0, "", zeros(21) + hexText("02:00:00:00:00:01") + "00" + hexText("7.1"), reading(vm1905_get_identity)},
        {4, kM + "00 =0105", "aabbcc 01" + zeros(620) + "=0007", reading(vm1905_get_intf_vend_prop, &kMac, 0x105)},
        {6, kM + "00 =0105", "02", reading(vm1905_get_intf_pwr, &kMac, 0x105)},
        {10, kM + "00 =0105", "00 =0102", reading(vm1905_get_link_num, &kMac, 0x105)},
        {12, kM + "00 =0105 04", kO + kM + "01 =14131211 =24232221 =34333231 =44434241 =5251 =6261 =7271 08", reading(vm1905_get_link, &kMac, 0x105, 4)},
        {20, "04", "00 =0102 1e" + zeros(174) + kM + kO + "01" + zeros(18) + "07", reading(vm1905_get_fwd_rule, 4), "00 =0102 1f"},
        {28, "", "00 =01020304 02 03 04 05", reading(vm1905_get_topology)},
        {30, "ff", "00 =01020304 01" + kM + kO + "02" + kM, reading(vm1905_get_log_entry, 255)},
        {34, "04", kM + "01 02 03 04 05", reading(vm1905_get_dev, 4)},
        {36, kM + "04", kO + "05 ff" + zeros(254) + "09" + zeros(360) + "02", reading(vm1905_get_dev_intf, &kMac, 4)},
        {38, kM + "04", kO + "67" + zeros(612) + kM, reading(vm1905_get_dev_non1905_nbrs, &kMac, 4), kO + "68"},
        {40, kM + "04", kO + "58" + zeros(609) + kM + "01", reading(vm1905_get_dev_1905_nbrs, &kMac, 4), kO + "59"},
        {42, kM + "04", "68" + zeros(618) + kM, reading(vm1905_get_dev_tuple, &kMac, 4), "69"},
        {44, "", "01 =026e " + zeros(621) + "07", reading(vm1905_get_security), "01 =026f"},
        {128, "01", "c8", reading(vm1905_get_option, 1)},
        {136, kM + "02" + kM + "=0105 " + kO + "=0001 " + zeros(224) + "03", "02" + kM + "=0105 10 00" + kO + "=0001 07", reading(vm1905_set_dev_intf_pwr, &kMac, kIntfs, 2, 3), "1f"},
        {204, kM + kM + kO + "5124 02 =0064 " + hexText("home"), "00" + kO + "=0258 " + zeros(599) + "07", reading(vm1905_get_beacon, &kMac, &kBeacon), "00" + kO + "=0259"},
        // clang-format on
    };
    vm1905_client client;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.service);
        Hex found;
        answerWith(row.service + 1, row.answer);
        EXPECT_EQ(row.call(&client, found), 0);
        EXPECT_EQ(dense(found), dense(row.answer));
        EXPECT_EQ(channel.service, row.service);
        EXPECT_EQ(trimmed(channel.payload), trimmed(row.request));
        EXPECT_EQ(channel.timeout, timeoutOf(row.service));

        answerWith(254, "ff 50");
        EXPECT_EQ(row.call(&client, found), VM1905_BAD_INDEX);
        answerWith(254, "ff 00");
        EXPECT_EQ(row.call(&client, found), VM1905_BAD_ANSWER) << "success without a record";
        answerWith(row.service + 1, row.senseless);
        EXPECT_EQ(row.call(&client, found), row.senseless.empty() ? 0 : VM1905_BAD_ANSWER);
        answerWith(0, "", VM1905_RESTARTED);
        EXPECT_EQ(row.call(&client, found), VM1905_RESTARTED);
        EXPECT_EQ(row.call(nullptr, found), VM1905_BAD_ARGUMENT);
    }

    answerWith(205, "10" + kO);
    vm1905_beacon_report report;
    EXPECT_EQ(vm1905_get_beacon(&client, &kMac, &kBeacon, &report), VM1905_FAILED);
    answerWith(254, "1203");
    uint8_t num = 0;
    EXPECT_EQ(vm1905_get_fwd_rule_num(&client, &num), 0);
    EXPECT_EQ(num, 3) << "in place of a code";
    for (const auto& [field, seconds] :
         {std::pair{"=00000000", 0U}, {"=00000001", 0U}, {"=00000008", 7U}}) {
        vm1905_dev_silence silence;
        answerWith(35, kM + zeros(7) + field);
        EXPECT_EQ(vm1905_get_dev_silence(&client, 0, &silence), 0);
        EXPECT_EQ(silence.seconds, seconds);
        EXPECT_EQ(silence.is_known, field != std::string("=00000000"));
    }
    answerWith(137, "");
    EXPECT_EQ(vm1905_set_dev_intf_pwr(&client, &kMac, kIntfs, 30, 3, nullptr), 0);
}

TEST(Calls, GiveOrders) {
    const std::string longest(240, 'a');
    const struct {
        uint16_t service;
        Hex request;
        std::function<int(Client)> call;
    } rows[] = {
        // clang-format off
        {8, kM + "00 =0105 02", order(vm1905_set_intf_pwr, &kMac, 0x105, 2)},
        {22, "0102", order(vm1905_add_fwd_rule, "\1\2", 2)},
        {24, "0102", order(vm1905_modify_fwd_rule, "\1\2", 2)},
        {26, "00 =0102", order(vm1905_remove_fwd_rule, 0x102)},
        {32, "20", order(vm1905_set_log_max, 32)},
        {46, "0102", order(vm1905_set_security, "\1\2", 2)},
        {130, "01 c8", order(vm1905_set_option, 1, 200)},
        {134, kM, order(vm1905_reboot, &kMac)},
        {138, "00 =00000001 =fffffffe =00000003", order(vm1905_set_wps, 1, -2, 3)},
        {140, "", vm1905_get_wps},
        {141, zeros(6) + "21", order(vm1905_send_wps_renew, 33)},
        {143, kM + "000000 =00000005", order(vm1905_wps_ctrl, &kMac, 5)},
        {145, kM + "000000 =00000005", order(vm1905_ap_steering, &kMac, 5)},
        {147, kM + "01 02 00" + hexText(longest), order(vm1905_fw_ctrl, &kMac, 1, 2, longest.c_str())},
        {149, kM, order(vm1905_reset_to_default, &kMac)},
        {151, "00 =ffffffff", order(vm1905_set_fw_result, -1)},
        {153, "", vm1905_push_button},
        {155, "", vm1905_reopen_ports},
        {157, "", vm1905_write_log},
        {159, kM + "000000" + hexText("uptime"), order(vm1905_send_command, &kMac, "uptime")},
        {161, kM + "000000 =fffffffe", order(vm1905_led_ctrl, &kMac, -2)},
        {163, "00 =0000003c", order(vm1905_set_wps_timeout, 60)},
        {165, "00 =00000001", order(vm1905_set_approve, 1)},
        {167, "00 =00000006", order(vm1905_set_debug_level, 6U)},
        {169, zeros(6) + "21", order(vm1905_send_wps_search, 33)},
        {171, "00 =00000001 =00000002", order(vm1905_set_wifi_reload, 1, 2)},
        {177, zeros(9) + hexText(longest), order(vm1905_set_fw_state, longest.c_str())},
        {179, kM + "01 02 00 =01020304 =0000003c " + kM + hexText("ftp://a"), order(vm1905_speed_test_ctrl, &kMac, &kSpeedTest)},
        {181, kM, order(vm1905_wifi_state_search, &kMac)},
        {183, kM, order(vm1905_wifi_state_renew, &kMac)},
        {185, "", vm1905_send_discovery},
        {187, kM, order(vm1905_request_log_file, &kMac)},
        {189, hexText("All") + zeros(14) + "=00000001 =00000002", order(vm1905_set_wps_by_band, "All", 1, 2)},
        {191, "", vm1905_wifi_state_action},
        {197, kM + "00 =0102 " + hexText("on"), order(vm1905_network_ctrl, &kMac, 0x102, "on")},
        {200, kM + "00 =0002 0f000101", order(vm1905_send_raw, 2, &kMac, "\x0f\0\1\1", 4)},
        {200, zeros(7) + "=000a", order(vm1905_send_raw, 10, nullptr, nullptr, 0)},
        {202, kM + kM + kO + "5124 02 =0064 " + hexText("home"), order(vm1905_request_beacon, &kMac, &kBeacon)},
        {206, kM + kM + kO + "5124 01 =001e", order(vm1905_send_btm, &kMac, &kBtm)},
        {208, kM + kO, order(vm1905_add_blacklist, &kMac, &kOther)},
        {210, kM + kO, order(vm1905_remove_blacklist, &kMac, &kOther)},
        {212, "", vm1905_wifi_sync_all},
        {214, kM + "000000 =00000005", order(vm1905_system_ctrl, &kMac, 5)},
        {216, "", vm1905_update_extenders},
        {218, kM, order(vm1905_ping, &kMac)},
        // clang-format on
    };
    vm1905_client client;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.service);
        for (const uint8_t code : {uint8_t{0}, uint8_t{200}}) {
            answerWith(254, "ff" + shown(&code, 1));
            EXPECT_EQ(row.call(&client), code);
            answerWith(row.service + 1, shown(&code, 1));
            EXPECT_EQ(row.call(&client), code);
        }
        EXPECT_EQ(channel.service, row.service);
        EXPECT_EQ(trimmed(channel.payload), trimmed(row.request));
        EXPECT_EQ(channel.timeout, timeoutOf(row.service));
        answerWith(0, "", VM1905_TIMEOUT);
        EXPECT_EQ(row.call(&client), VM1905_TIMEOUT);
        EXPECT_EQ(row.call(nullptr), VM1905_BAD_ARGUMENT);
    }
}

TEST(Calls, SendNothingThatDoesNotFit) {
    const std::string text(250, 'a');
    const auto tail = [&](size_t length) { return text.c_str() + text.size() - length; };
    vm1905_speed_test test = kSpeedTest;
    vm1905_beacon_request beacon = kBeacon;
    std::memset(test.url, 'a', sizeof test.url);
    std::memset(beacon.ssid, 'a', sizeof beacon.ssid);
    const std::pair<const char*, std::function<int(Client)>> rows[] = {
        {"a URL", order(vm1905_fw_ctrl, &kMac, 1, 2, tail(241))},
        {"no text", order(vm1905_set_fw_state, nullptr)},
        {"no target", order(vm1905_reboot, nullptr)},
        {"a command", order(vm1905_network_ctrl, &kMac, 1, tail(129))},
        {"a band", order(vm1905_set_wps_by_band, tail(17), 1, 1)},
        {"an array without its zero", order(vm1905_speed_test_ctrl, &kMac, &test)},
        {"an SSID", order(vm1905_request_beacon, &kMac, &beacon)},
        {"TLVs", order(vm1905_send_raw, 0, nullptr, text.data(), 241)},
        {"a payload", order(vm1905_add_fwd_rule, text.data(), 250)},
        {"no payload", order(vm1905_add_fwd_rule, nullptr, 1)},
        {"interfaces", order(vm1905_set_dev_intf_pwr, &kMac, kIntfs, 31, 3, nullptr)},
    };
    vm1905_client client;
    answerWith(254, "0000");
    for (const auto& [name, call] : rows) EXPECT_EQ(call(&client), VM1905_BAD_ARGUMENT) << name;
    EXPECT_EQ(channel.asked, 0);
}
