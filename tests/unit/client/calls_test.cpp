// The typed calls of the client library: the bytes that each puts into the request slot, and what
// it makes of an answer. Payloads begin at byte 7 of the slots.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "exchange.h"

namespace {

using Bytes = std::string;  // hexadecimal

constexpr vm1905_mac kMac{{0x02, 0x11, 0x22, 0x33, 0x44, 0x55}};
constexpr vm1905_mac kOther{{0x06, 0, 0, 0, 0, 0x01}};
const Bytes kM = "021122334455", kO = "060000000001";

uint8_t digit(char c) {
    return static_cast<uint8_t>(c <= '9' ? c - '0' : c - 'a' + 10);
}

Bytes hex(const void* bytes, size_t length) {
    Bytes out;
    for (size_t i = 0; i < length; i++) {
        const uint8_t byte = static_cast<const uint8_t*>(bytes)[i];
        for (const int half : {byte >> 4, byte & 15}) out += "0123456789abcdef"[half];
    }
    return out;
}

Bytes show(const vm1905_mac& mac) {
    return hex(mac.b, sizeof mac.b);
}
template <typename T>
requires std::is_integral_v<T> Bytes show(T number) {
    return std::to_string(number);
}
template <typename... T>
Bytes list(const T&... parts) {
    Bytes out;
    ((out += out.empty() ? show(parts) : " " + show(parts)), ...);
    return out;
}

// The channel: what was asked last, and what is answered.
struct {
    int asked = 0;
    uint16_t service = 0;
    Bytes payload;
    unsigned timeout = 0;
    int result = 0;
    vm1905_answer answer{};
} channel;

void answerWith(uint16_t id, const Bytes& payload, int result = 0) {
    channel.asked = 0;
    channel.result = result;
    channel.answer = {};
    channel.answer.id = id;
    for (size_t i = 0; i + 1 < payload.size(); i += 2) {
        channel.answer.payload[i / 2] =
            static_cast<uint8_t>(digit(payload[i]) << 4 | digit(payload[i + 1]));
    }
}

Bytes trimmed(Bytes payload) {
    while (payload.ends_with("00")) payload.resize(payload.size() - 2);
    return payload;
}

Bytes zeros(size_t n) {
    return Bytes(2 * n, '0');
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

// A call that reads: fills the record, and shows it.
template <typename Record>
using Shown = Bytes (*)(const Record&);
using Client = vm1905_client*;

struct Read {
    uint16_t service;
    Bytes request, answer, shown;
    std::function<int(Client, Bytes&)> call;
};

template <typename Record>
std::function<int(Client, Bytes&)> reading(std::function<int(Client, Record*)> call,
                                           Shown<Record> shown) {
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
    {0, "", kM + "01" + "0000" + "04030201" + "05", list(kMac, 1, 0x01020304, 5),
     reading<vm1905_al>(vm1905_get_al,
                        [](auto& r) { return list(r.al_mac, r.status, r.age, r.intf_num); })},
    {2, "03", kM + "01" + "0000" + "04030201" + "0501" + "02", list(kMac, 1, 0x01020304, 0x105, 2),
     reading<vm1905_intf>(
         [](auto c, auto r) { return vm1905_get_intf(c, 3, r); },
         [](auto& r) { return list(r.mac, r.status, r.age, r.media_type, r.pwr_state); })},
    {4, kM + "00" + "0501", "aabbcc" + Bytes("0100") + zeros(623) + "07", list(0xaa, 626, 1, 7),
     reading<vm1905_vend_prop>(
         [](auto c, auto r) { return vm1905_get_intf_vend_prop(c, &kMac, 0x105, r); },
         [](auto& r) { return list(r.oui[0], r.length, r.data[0], r.data[625]); })},
    {4, kM + "00" + "0501", "aabbcc" + Bytes("0102"), list(0xcc, 2),
     reading<vm1905_vend_prop>(
         [](auto c, auto r) { return vm1905_get_intf_vend_prop(c, &kMac, 0x105, r); },
         [](auto& r) { return list(r.oui[2], r.length); })},
    {6, kM + "00" + "0501", "02", list(2),
     reading<uint8_t>([](auto c, auto r) { return vm1905_get_intf_pwr(c, &kMac, 0x105, r); },
                      [](auto& r) { return list(r); })},
    {10, kM + "00" + "0501", "00" + Bytes("0201"), list(0x102),
     reading<uint16_t>([](auto c, auto r) { return vm1905_get_link_num(c, &kMac, 0x105, r); },
                       [](auto& r) { return list(r); })},
    {12, kM + "00" + "0501" + "04",
     kO + kM + "01" + "01000000" + "02000000" + "03000000" + "04000000" + "0500" + "0600" + "0700" +
         "08",
     list(kOther, kMac, 1, 1, 2, 3, 4, 5, 6, 7, 8),
     reading<vm1905_link>([](auto c, auto r) { return vm1905_get_link(c, &kMac, 0x105, 4, r); },
                          [](auto& r) {
                              return list(r.neighbor_mac, r.local_mac, r.bridge, r.tx_errors,
                                          r.tx_packets, r.rx_errors, r.rx_packets, r.throughput,
                                          r.availability, r.phy_rate, r.rssi);
                          })},
    {20, "04", "00" + Bytes("0201") + "03", list(0x102, 3),
     reading<vm1905_fwd_rule>([](auto c, auto r) { return vm1905_get_fwd_rule(c, 4, r); },
                              [](auto& r) { return list(r.id, r.mac_num); })},
    {28, "", "00" + Bytes("01000000") + "02" + "03" + "04" + "05", list(1, 2, 3, 4, 5),
     reading<vm1905_topology>(
         vm1905_get_topology,
         [](auto& r) { return list(r.enable, r.status, r.log_max, r.dev_num, r.log_num); })},
    {30, "ff", "00" + Bytes("04030201") + "01" + kM + kO + "02" + kM,
     list(0x01020304, 1, kMac, kOther, 2, kMac),
     reading<vm1905_log_entry>([](auto c, auto r) { return vm1905_get_log_entry(c, 255, r); },
                               [](auto& r) {
                                   return list(r.time, r.event, r.al_mac, r.intf_mac,
                                               r.neighbor_type, r.neighbor_mac);
                               })},
    {34, "04", kM + "01" + "02" + "03" + "04" + "05", list(kMac, 1, 2, 3, 4, 5),
     reading<vm1905_dev>([](auto c, auto r) { return vm1905_get_dev(c, 4, r); },
                         [](auto& r) {
                             return list(r.al_mac, r.status, r.intf_num, r.non1905_num,
                                         r.ieee1905_num, r.tuple_num);
                         })},
    {36, kM + "04", kO + "05" + "ff" + zeros(254) + "09" + zeros(360) + "02",
     list(kOther, 5, 255, 9, 2),
     reading<vm1905_dev_intf>([](auto c, auto r) { return vm1905_get_dev_intf(c, &kMac, 4, r); },
                              [](auto& r) {
                                  return list(r.mac, r.media_type, r.media_length,
                                              r.media_info[254], r.pwr_state);
                              })},
    {38, kM + "04", kO + "67" + zeros(102 * 6) + kM, list(kOther, 103, kMac),
     reading<vm1905_non1905_nbrs>(
         [](auto c, auto r) { return vm1905_get_dev_non1905_nbrs(c, &kMac, 4, r); },
         [](auto& r) { return list(r.local_mac, r.num, r.macs[102]); })},
    {40, kM + "04", kO + "58" + zeros(87 * 7) + kM + "01", list(kOther, 88, kMac, 1),
     reading<vm1905_1905_nbrs>(
         [](auto c, auto r) { return vm1905_get_dev_1905_nbrs(c, &kMac, 4, r); },
         [](auto& r) { return list(r.local_mac, r.num, r.nbrs[87].al_mac, r.nbrs[87].bridge); })},
    {42, kM + "04", "68" + zeros(103 * 6) + kM, list(104, kMac),
     reading<vm1905_tuple>([](auto c, auto r) { return vm1905_get_dev_tuple(c, &kMac, 4, r); },
                           [](auto& r) { return list(r.num, r.macs[103]); })},
    {44, "", "01" + Bytes("6e02") + zeros(621) + "07", list(1, 622, 7),
     reading<vm1905_security>(vm1905_get_security,
                              [](auto& r) { return list(r.mode, r.length, r.value[621]); })},
    {128, "01", "c8", list(200),
     reading<uint8_t>([](auto c, auto r) { return vm1905_get_option(c, 1, r); },
                      [](auto& r) { return list(r); })},
    {132, kM + "01", "c8", list(200),
     reading<uint8_t>([](auto c, auto r) { return vm1905_get_dev_option(c, &kMac, 1, r); },
                      [](auto& r) { return list(r); })},
};

// Counts that claim more than there can be.
const struct {
    uint16_t service;
    Bytes answer;
} kSenseless[] = {{38, kO + "68"}, {40, kO + "59"}, {42, "69"}, {44, "01" + Bytes("6f02")}};

}  // namespace

TEST(Calls, ReadRecords) {
    vm1905_client client;
    client.localMs = 123;
    for (const Read& row : kReads) {
        SCOPED_TRACE(row.service);
        Bytes shown;
        answerWith(static_cast<uint16_t>(row.service + 1), row.answer);
        EXPECT_EQ(row.call(&client, shown), 0);
        EXPECT_EQ(shown, row.shown);
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
        Bytes shown;
        answerWith(static_cast<uint16_t>(service + 1), answer);
        const auto row = std::ranges::find(kReads, service, &Read::service);
        EXPECT_EQ(row->call(&client, shown), VM1905_BAD_ANSWER) << service;
    }
}

TEST(Calls, GiveOrders) {
    const auto letters = [](size_t n) { return std::string(n, 'a'); };
    const auto hexText = [](const std::string& text) { return hex(text.data(), text.size()); };
    const std::string longest = letters(240), tooLong = letters(241);
    vm1905_speed_test test{1, 2, 0x01020304, 60, kMac, "ftp://a"};
    vm1905_beacon_request beacon{kMac, kOther, 81, 36, 2, 100, "home"};
    const vm1905_btm btm{kMac, kOther, 81, 36, 1, 30};
    const struct {
        uint16_t service;
        Bytes request;
        std::function<int(Client)> call;
    } rows[] = {
        {8, kM + "00" + "0501" + "02",
         [](Client c) { return vm1905_set_intf_pwr(c, &kMac, 0x105, 2); }},
        {22, "0102", [](Client c) { return vm1905_add_fwd_rule(c, "\1\2", 2); }},
        {24, "0102", [](Client c) { return vm1905_modify_fwd_rule(c, "\1\2", 2); }},
        {26, "00" + Bytes("0201"), [](Client c) { return vm1905_remove_fwd_rule(c, 0x102); }},
        {32, "20", [](Client c) { return vm1905_set_log_max(c, 32); }},
        {46, "0102", [](Client c) { return vm1905_set_security(c, "\1\2", 2); }},
        {130, "01c8", [](Client c) { return vm1905_set_option(c, 1, 200); }},
        {134, kM, [](Client c) { return vm1905_reboot(c, &kMac); }},
        {138, "00" + Bytes("01000000") + "feffffff" + "03000000",
         [](Client c) { return vm1905_set_wps(c, 1, -2, 3); }},
        {140, "", vm1905_get_wps},
        {141, zeros(6) + "21", [](Client c) { return vm1905_send_wps_renew(c, 33); }},
        {143, kM + "000000" + "05000000", [](Client c) { return vm1905_wps_ctrl(c, &kMac, 5); }},
        {145, kM + "000000" + "05000000", [](Client c) { return vm1905_ap_steering(c, &kMac, 5); }},
        {147, kM + "01" + "02" + "00" + hexText(longest),
         [&](Client c) { return vm1905_fw_ctrl(c, &kMac, 1, 2, longest.c_str()); }},
        {149, kM, [](Client c) { return vm1905_reset_to_default(c, &kMac); }},
        {151, "00" + Bytes("ffffffff"), [](Client c) { return vm1905_set_fw_result(c, -1); }},
        {153, "", vm1905_push_button},
        {155, "", vm1905_reopen_ports},
        {157, "", vm1905_write_log},
        {159, kM + "000000" + hexText("uptime"),
         [](Client c) { return vm1905_send_command(c, &kMac, "uptime"); }},
        {161, kM + "000000" + "feffffff", [](Client c) { return vm1905_led_ctrl(c, &kMac, -2); }},
        {163, "00" + Bytes("3c000000"), [](Client c) { return vm1905_set_wps_timeout(c, 60); }},
        {165, "00" + Bytes("01000000"), [](Client c) { return vm1905_set_approve(c, 1); }},
        {167, "00" + Bytes("06000000"), [](Client c) { return vm1905_set_debug_level(c, 6); }},
        {169, zeros(6) + "21", [](Client c) { return vm1905_send_wps_search(c, 33); }},
        {171, "00" + Bytes("01000000") + "02000000",
         [](Client c) { return vm1905_set_wifi_reload(c, 1, 2); }},
        {177, zeros(9) + hexText(longest),
         [&](Client c) { return vm1905_set_fw_state(c, longest.c_str()); }},
        {179, kM + "01" + "02" + "00" + "04030201" + "3c000000" + kM + hexText("ftp://a"),
         [&](Client c) { return vm1905_speed_test_ctrl(c, &kMac, &test); }},
        {181, kM, [](Client c) { return vm1905_wifi_state_search(c, &kMac); }},
        {183, kM, [](Client c) { return vm1905_wifi_state_renew(c, &kMac); }},
        {185, "", vm1905_send_discovery},
        {187, kM, [](Client c) { return vm1905_request_log_file(c, &kMac); }},
        {189, hexText("All") + zeros(14) + "01000000" + "02000000",
         [](Client c) { return vm1905_set_wps_by_band(c, "All", 1, 2); }},
        {191, "", vm1905_wifi_state_action},
        {197, kM + "00" + "0201" + hexText("on"),
         [](Client c) { return vm1905_network_ctrl(c, &kMac, 0x102, "on"); }},
        {200, kM + "00" + "0200" + "0f000101",
         [](Client c) { return vm1905_send_raw(c, 2, &kMac, "\x0f\0\1\1", 4); }},
        {200, zeros(7) + "0a00",
         [](Client c) { return vm1905_send_raw(c, 10, nullptr, nullptr, 0); }},
        {202, kM + kM + kO + "5124" + "02" + "6400" + hexText("home"),
         [&](Client c) { return vm1905_request_beacon(c, &kMac, &beacon); }},
        {206, kM + kM + kO + "5124" + "01" + "1e00",
         [&](Client c) { return vm1905_send_btm(c, &kMac, &btm); }},
        {208, kM + kO, [](Client c) { return vm1905_add_blacklist(c, &kMac, &kOther); }},
        {210, kM + kO, [](Client c) { return vm1905_remove_blacklist(c, &kMac, &kOther); }},
        {212, "", vm1905_wifi_sync_all},
        {214, kM + "000000" + "05000000", [](Client c) { return vm1905_system_ctrl(c, &kMac, 5); }},
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
    for (const int result :
         {vm1905_fw_ctrl(&client, &kMac, 1, 2, tooLong.c_str()),
          vm1905_set_fw_state(&client, tooLong.c_str()), vm1905_set_fw_state(&client, nullptr),
          vm1905_send_command(&client, &kMac, tooLong.c_str()), vm1905_reboot(&client, nullptr),
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
    answerWith(137, "02" + kM + "0501" + "10" + "ee" + kO + "0100" + "00");
    EXPECT_EQ(vm1905_set_dev_intf_pwr(&client, &kMac, intfs, 2, 3, &results), 0);
    EXPECT_EQ(channel.payload.substr(0, 2 * 31), kM + "02" + kM + "0501" + kO + "0100" + zeros(8));
    EXPECT_EQ(channel.payload.substr(2 * 247), "0300") << "the state stands at 254";
    EXPECT_EQ(list(results.num, results.results[0].mac, results.results[0].media_type,
                   results.results[0].code, results.results[1].mac),
              list(2, kMac, 0x105, 16, kOther));
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
    EXPECT_EQ(list(report.station, report.length, report.data[599]), list(kOther, 600, 7));
    answerWith(205, "10" + kO);
    EXPECT_EQ(vm1905_get_beacon(&client, &kMac, &wanted, &report), VM1905_FAILED);
    answerWith(205, "00" + kO + "5902");
    EXPECT_EQ(vm1905_get_beacon(&client, &kMac, &wanted, &report), VM1905_BAD_ANSWER);

    uint8_t num = 0;
    answerWith(254, "1203");
    EXPECT_EQ(vm1905_get_fwd_rule_num(&client, &num), 0);
    EXPECT_EQ(num, 3);
}
