// The typed calls of the client library: the bytes that each puts into the request slot, and what
// it makes of an answer. Payloads begin at byte 7 of the slots.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "exchange.h"

namespace {

using Bytes = std::string;  // hexadecimal; in the tables with blanks between the fields
using Client = vm1905_client*;

constexpr vm1905_mac kMac{{0x02, 0x11, 0x22, 0x33, 0x44, 0x55}};
constexpr vm1905_mac kOther{{0x06, 0, 0, 0, 0, 0x01}};
const Bytes kM = "021122334455", kO = "060000000001";

Bytes hex(const void* bytes, size_t length) {
    Bytes out;
    for (size_t i = 0; i < length; i++) {
        const uint8_t byte = static_cast<const uint8_t*>(bytes)[i];
        for (const int half : {byte >> 4, byte & 15}) out += "0123456789abcdef"[half];
    }
    return out;
}
Bytes hexText(const std::string& text) {
    return hex(text.data(), text.size());
}

// The fields of a record one after the other, numbers in host byte order as in the slots.
template <typename... Field>
Bytes fields(const Field&... field) {
    return (hex(&field, sizeof field) + ...);
}

Bytes zeros(size_t n) {
    return Bytes(2 * n, '0');
}
// Without blanks, and without the zeros behind.
Bytes trimmed(Bytes bytes) {
    std::erase(bytes, ' ');
    while (bytes.ends_with("00")) bytes.resize(bytes.size() - 2);
    return bytes;
}
// Without any zero, as in the gaps between the fields of a slot.
Bytes dense(const Bytes& bytes) {
    const Bytes all = trimmed(bytes);
    Bytes out;
    for (size_t i = 0; i < all.size(); i += 2) {
        if (all.substr(i, 2) != "00") out += all.substr(i, 2);
    }
    return out;
}

// The channel: what was asked last, and what is answered.
struct {
    int asked = 0;
    uint16_t service = 0;
    Bytes payload{};
    unsigned timeout = 0;
    int result = 0;
    vm1905_answer answer{};
} channel;

void answerWith(uint16_t id, const Bytes& payload, int result = 0) {
    channel = {.result = result};
    channel.answer.id = id;
    const Bytes bytes = trimmed(payload);
    for (size_t i = 0; i < bytes.size(); i += 2) {
        channel.answer.payload[i / 2] =
            static_cast<uint8_t>(std::stoi(bytes.substr(i, 2), nullptr, 16));
    }
}

}  // namespace

vm1905_client::vm1905_client() = default;
vm1905_client::~vm1905_client() = default;

int vm1905_call(vm1905_client*, uint16_t service, const void* payload, size_t length,
                unsigned timeout_ms, vm1905_answer* answer) {
    channel.asked++;
    channel.service = service;
    channel.payload = hex(payload, length);
    channel.timeout = timeout_ms;
    if (channel.result == 0) *answer = channel.answer;
    return channel.result;
}

namespace {

struct Read {
    uint16_t service;
    Bytes request, answer;
    std::function<int(Client, Bytes&)> call;  // tells the fields of the record
};

// Of a record without gaps, or a number.
template <typename Record>
Bytes whole(const Record& record) {
    static_assert(std::has_unique_object_representations_v<Record>);
    return fields(record);
}

// A call that fills a record.
template <typename Record>
std::function<int(Client, Bytes&)> reading(std::function<int(Client, Record*)> call,
                                           Bytes (*shown)(const Record&) = whole<Record>) {
    return [=](Client client, Bytes& out) {
        Record record;
        std::memset(static_cast<void*>(&record), 0xee, sizeof record);
        const Record before = record;
        const int result = call(client, &record);
        if (result == 0) out = shown(record);
        if (result != 0) {
            EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0) << "untouched";
        }
        return result;
    };
}

const std::vector<Read> kReads = {
    {0, "", kM + "01 0000 04030201 05",
     reading<vm1905_al>(vm1905_get_al,
                        [](auto& r) { return fields(r.al_mac, r.status, r.age, r.intf_num); })},
    {4, kM + "00 0501", "aabbcc 01" + zeros(620) + "07",
     reading<vm1905_vend_prop>(
         [](auto c, auto r) { return vm1905_get_intf_vend_prop(c, &kMac, 0x105, r); },
         [](auto& r) {
             EXPECT_EQ(r.length, 622);
             return fields(r.oui, r.data);
         })},
    {6, kM + "00 0501", "02",
     reading<uint8_t>([](auto c, auto r) { return vm1905_get_intf_pwr(c, &kMac, 0x105, r); })},
    {10, kM + "00 0501", "00 0201",
     reading<uint16_t>([](auto c, auto r) { return vm1905_get_link_num(c, &kMac, 0x105, r); })},
    {12, kM + "00 0501 04", kO + kM + "01 11121314 21222324 31323334 41424344 5152 6162 7172 08",
     reading<vm1905_link>([](auto c, auto r) { return vm1905_get_link(c, &kMac, 0x105, 4, r); },
                          [](auto& r) {
                              return fields(r.neighbor_mac, r.local_mac, r.bridge, r.tx_errors,
                                            r.tx_packets, r.rx_errors, r.rx_packets, r.throughput,
                                            r.availability, r.phy_rate, r.rssi);
                          })},
    {20, "04", "00 0201 03",
     reading<vm1905_fwd_rule>([](auto c, auto r) { return vm1905_get_fwd_rule(c, 4, r); },
                              [](auto& r) { return fields(r.id, r.mac_num); })},
    {28, "", "00 04030201 02 03 04 05", reading<vm1905_topology>(vm1905_get_topology)},
    {30, "ff", "00 04030201 01" + kM + kO + "02" + kM,
     reading<vm1905_log_entry>([](auto c, auto r) { return vm1905_get_log_entry(c, 255, r); })},
    {34, "04", kM + "01 02 03 04 05",
     reading<vm1905_dev>([](auto c, auto r) { return vm1905_get_dev(c, 4, r); })},
    {36, kM + "04", kO + "05 ff" + zeros(254) + "09" + zeros(360) + "02",
     reading<vm1905_dev_intf>([](auto c, auto r) { return vm1905_get_dev_intf(c, &kMac, 4, r); })},
    {38, kM + "04", kO + "67" + zeros(102 * 6) + kM,
     reading<vm1905_non1905_nbrs>(
         [](auto c, auto r) { return vm1905_get_dev_non1905_nbrs(c, &kMac, 4, r); })},
    {40, kM + "04", kO + "58" + zeros(87 * 7) + kM + "01",
     reading<vm1905_1905_nbrs>(
         [](auto c, auto r) { return vm1905_get_dev_1905_nbrs(c, &kMac, 4, r); })},
    {42, kM + "04", "68" + zeros(103 * 6) + kM,
     reading<vm1905_tuple>([](auto c, auto r) { return vm1905_get_dev_tuple(c, &kMac, 4, r); })},
    {44, "", "01 6e02" + zeros(621) + "07",
     reading<vm1905_security>(vm1905_get_security,
                              [](auto& r) { return fields(r.mode, r.length, r.value); })},
    {128, "01", "c8", reading<uint8_t>([](auto c, auto r) { return vm1905_get_option(c, 1, r); })},
};

// Counts that claim more than there can be.
const std::pair<uint16_t, Bytes> kSenseless[] = {
    {38, kO + "68"}, {40, kO + "59"}, {42, "69"}, {44, "01 6f02"}};

// A call that orders something.
template <typename... Parameter>
std::function<int(Client)> order(int (*call)(Client, Parameter...),
                                 std::type_identity_t<Parameter>... arguments) {
    return [=](Client client) { return call(client, arguments...); };
}

}  // namespace

TEST(Calls, ReadRecords) {
    vm1905_client client;
    client.localMs = 123;
    Bytes shown;
    for (const Read& row : kReads) {
        SCOPED_TRACE(row.service);
        answerWith(static_cast<uint16_t>(row.service + 1), row.answer);
        EXPECT_EQ(row.call(&client, shown), 0);
        EXPECT_EQ(dense(shown), dense(row.answer));
        EXPECT_EQ(channel.service, row.service);
        EXPECT_EQ(trimmed(channel.payload), trimmed(row.request));
        EXPECT_EQ(channel.timeout, 123U);

        answerWith(254, hex(&row.service, 1) + "50");
        EXPECT_EQ(row.call(&client, shown), VM1905_BAD_INDEX);
        answerWith(254, hex(&row.service, 1) + "00");
        EXPECT_EQ(row.call(&client, shown), VM1905_BAD_ANSWER) << "done, but where is the record";
        answerWith(0, "", VM1905_RESTARTED);
        EXPECT_EQ(row.call(&client, shown), VM1905_RESTARTED);
        EXPECT_EQ(row.call(nullptr, shown), VM1905_BAD_ARGUMENT);
    }
    for (const auto& [service, answer] : kSenseless) {
        answerWith(static_cast<uint16_t>(service + 1), answer);
        const auto row = std::ranges::find(kReads, service, &Read::service);
        EXPECT_EQ(row->call(&client, shown), VM1905_BAD_ANSWER) << service;
    }
}

TEST(Calls, GiveOrders) {
    const auto letters = [](size_t n) { return std::string(n, 'a'); };
    const std::string longest = letters(240), tooLong = letters(241);
    vm1905_speed_test test{1, 2, 0x01020304, 60, kMac, "ftp://a"};
    vm1905_beacon_request beacon{kMac, kOther, 81, 36, 2, 100, "home"};
    const vm1905_btm btm{kMac, kOther, 81, 36, 1, 30};
    const struct {
        uint16_t service;
        Bytes request;
        std::function<int(Client)> call;
    } rows[] = {
        {8, kM + "00 0501 02", order(vm1905_set_intf_pwr, &kMac, 0x105, 2)},
        {22, "0102", order(vm1905_add_fwd_rule, "\1\2", 2)},
        {24, "0102", order(vm1905_modify_fwd_rule, "\1\2", 2)},
        {26, "00 0201", order(vm1905_remove_fwd_rule, 0x102)},
        {32, "20", order(vm1905_set_log_max, 32)},
        {46, "0102", order(vm1905_set_security, "\1\2", 2)},
        {130, "01 c8", order(vm1905_set_option, 1, 200)},
        {134, kM, order(vm1905_reboot, &kMac)},
        {138, "00 01000000 feffffff 03000000", order(vm1905_set_wps, 1, -2, 3)},
        {140, "", vm1905_get_wps},
        {141, zeros(6) + "21", order(vm1905_send_wps_renew, 33)},
        {143, kM + "000000 05", order(vm1905_wps_ctrl, &kMac, 5)},
        {145, kM + "000000 05", order(vm1905_ap_steering, &kMac, 5)},
        {147, kM + "01 02 00" + hexText(longest),
         order(vm1905_fw_ctrl, &kMac, 1, 2, longest.c_str())},
        {149, kM, order(vm1905_reset_to_default, &kMac)},
        {151, "00 ffffffff", order(vm1905_set_fw_result, -1)},
        {153, "", vm1905_push_button},
        {155, "", vm1905_reopen_ports},
        {157, "", vm1905_write_log},
        {159, kM + "000000" + hexText("uptime"), order(vm1905_send_command, &kMac, "uptime")},
        {161, kM + "000000 feffffff", order(vm1905_led_ctrl, &kMac, -2)},
        {163, "00 3c", order(vm1905_set_wps_timeout, 60)},
        {165, "00 01", order(vm1905_set_approve, 1)},
        {167, "00 06", order(vm1905_set_debug_level, 6U)},
        {169, zeros(6) + "21", order(vm1905_send_wps_search, 33)},
        {171, "00 01000000 02", order(vm1905_set_wifi_reload, 1, 2)},
        {177, zeros(9) + hexText(longest), order(vm1905_set_fw_state, longest.c_str())},
        {179, kM + "01 02 00 04030201 3c000000" + kM + hexText("ftp://a"),
         order(vm1905_speed_test_ctrl, &kMac, &test)},
        {181, kM, order(vm1905_wifi_state_search, &kMac)},
        {183, kM, order(vm1905_wifi_state_renew, &kMac)},
        {185, "", vm1905_send_discovery},
        {187, kM, order(vm1905_request_log_file, &kMac)},
        {189, hexText("All") + zeros(14) + "01000000 02",
         order(vm1905_set_wps_by_band, "All", 1, 2)},
        {191, "", vm1905_wifi_state_action},
        {197, kM + "00 0201" + hexText("on"), order(vm1905_network_ctrl, &kMac, 0x102, "on")},
        {200, kM + "00 0200 0f000101", order(vm1905_send_raw, 2, &kMac, "\x0f\0\1\1", 4)},
        {200, zeros(7) + "0a", order(vm1905_send_raw, 10, nullptr, nullptr, 0)},
        {202, kM + kM + kO + "5124 02 6400" + hexText("home"),
         order(vm1905_request_beacon, &kMac, &beacon)},
        {206, kM + kM + kO + "5124 01 1e", order(vm1905_send_btm, &kMac, &btm)},
        {208, kM + kO, order(vm1905_add_blacklist, &kMac, &kOther)},
        {210, kM + kO, order(vm1905_remove_blacklist, &kMac, &kOther)},
        {212, "", vm1905_wifi_sync_all},
        {214, kM + "000000 05", order(vm1905_system_ctrl, &kMac, 5)},
        {216, "", vm1905_update_extenders},
    };
    vm1905_client client;
    client.localMs = 123;
    client.neighborMs = 456;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.service);
        const auto next = static_cast<uint16_t>(row.service + 1);
        for (const uint8_t code : {uint8_t{0}, uint8_t{16}, uint8_t{200}}) {
            answerWith(254, hex(&next, 1) + hex(&code, 1));
            EXPECT_EQ(row.call(&client), code);
            answerWith(next, hex(&code, 1));
            EXPECT_EQ(row.call(&client), code);
        }
        EXPECT_EQ(channel.service, row.service);
        EXPECT_EQ(trimmed(channel.payload), trimmed(row.request));
        EXPECT_EQ(channel.timeout, vm1905_is_for_neighbor(row.service) != 0 ? 456U : 123U);
        answerWith(0, "", VM1905_TIMEOUT);
        EXPECT_EQ(row.call(&client), VM1905_TIMEOUT);
        EXPECT_EQ(row.call(nullptr), VM1905_BAD_ARGUMENT);
    }

    // What does not fit is not sent.
    answerWith(254, "0000");
    std::memset(test.url, 'a', sizeof test.url);
    std::memset(beacon.ssid, 'a', sizeof beacon.ssid);
    for (const int result : {vm1905_fw_ctrl(&client, &kMac, 1, 2, tooLong.c_str()),
                             vm1905_set_fw_state(&client, nullptr), vm1905_reboot(&client, nullptr),
                             vm1905_network_ctrl(&client, &kMac, 1, letters(129).c_str()),
                             vm1905_set_wps_by_band(&client, letters(17).c_str(), 1, 1),
                             vm1905_speed_test_ctrl(&client, &kMac, &test),
                             vm1905_request_beacon(&client, &kMac, &beacon),
                             vm1905_send_raw(&client, 0, nullptr, tooLong.data(), 241),
                             vm1905_add_fwd_rule(&client, tooLong.data(), 250),
                             vm1905_add_fwd_rule(&client, nullptr, 1)}) {
        EXPECT_EQ(result, VM1905_BAD_ARGUMENT);
    }
    EXPECT_EQ(channel.asked, 0);
}

TEST(Calls, WithAnAnswerOfTheirOwn) {
    vm1905_client client;
    vm1905_pwr_intf intfs[31] = {{kMac, 0x105}, {kOther, 1}};
    vm1905_pwr_results results{};
    answerWith(137, "02" + kM + "0501 10 ee" + kO + "0100");
    EXPECT_EQ(vm1905_set_dev_intf_pwr(&client, &kMac, intfs, 2, 3, &results), 0);
    EXPECT_EQ(channel.payload.substr(0, 2 * 31), kM + "02" + kM + "0501" + kO + "0100" + zeros(8));
    EXPECT_EQ(channel.payload.substr(2 * 247), "0300") << "the state stands at 254";
    const auto& first = results.results[0];
    EXPECT_EQ(fields(results.num, first.mac, first.media_type, first.code, results.results[1].mac),
              "02" + kM + "050110" + kO);
    EXPECT_EQ(vm1905_set_dev_intf_pwr(&client, &kMac, intfs, 30, 3, nullptr), 0);
    EXPECT_EQ(vm1905_set_dev_intf_pwr(&client, &kMac, intfs, 31, 3, nullptr), VM1905_BAD_ARGUMENT);
    answerWith(137, "1f");
    EXPECT_EQ(vm1905_set_dev_intf_pwr(&client, &kMac, intfs, 2, 3, &results), VM1905_BAD_ANSWER);
    answerWith(254, "8907");
    EXPECT_EQ(vm1905_set_dev_intf_pwr(&client, &kMac, intfs, 2, 3, &results), VM1905_NO_NEIGHBOR);

    const vm1905_beacon_request wanted{kMac, kOther, 81, 36, 2, 100, ""};
    vm1905_beacon_report report{};
    answerWith(205, "00" + kO + "5802" + zeros(599) + "07");
    EXPECT_EQ(vm1905_get_beacon(&client, &kMac, &wanted, &report), 0);
    EXPECT_EQ(fields(report.station, report.length, report.data), kO + "5802" + zeros(599) + "07");
    answerWith(205, "10" + kO);
    EXPECT_EQ(vm1905_get_beacon(&client, &kMac, &wanted, &report), VM1905_FAILED);
    answerWith(205, "00" + kO + "5902");
    EXPECT_EQ(vm1905_get_beacon(&client, &kMac, &wanted, &report), VM1905_BAD_ANSWER);

    uint8_t num = 0;
    answerWith(254, "1203");
    EXPECT_EQ(vm1905_get_fwd_rule_num(&client, &num), 0);
    EXPECT_EQ(num, 3);
}
