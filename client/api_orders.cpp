// The calls of vm1905_client.h that give orders to other devices.
#include "records.h"

namespace {

using namespace slots;

static_assert(req::kMaxPwrIntfNum == VM1905_MAX_PWR_INTFS);
static_assert(resp::kBcnReport + sizeof vm1905_beacon_report::data <= kRespSize);
static_assert(req::kSsid.width + 1 == sizeof vm1905_beacon_request::ssid);
static_assert(req::kSpeedUrl.width + 1 == sizeof vm1905_speed_test::url);

Request to(const vm1905_mac* target, ServId service) {
    return Request(service).mac(req::kTarget, target);
}

int sendTo(vm1905_client* client, const vm1905_mac* target, ServId service) {
    return askForCode(client, to(target, service));
}

int sendValue(vm1905_client* client, const vm1905_mac* target, ServId service, int32_t value) {
    return askForCode(client, to(target, service).number(req::kCtrlValue, value));
}

Request beacon(const vm1905_mac* target, ServId service, const vm1905_beacon_request& wanted) {
    return to(target, service)
        .mac(req::kStation, &wanted.station)
        .mac(req::kBssid, &wanted.bssid)
        .number(req::kOperatingClass, wanted.operating_class)
        .number(req::kChannel, wanted.channel)
        .number(req::kMode, wanted.mode)
        .number(req::kDuration, wanted.duration)
        .text(req::kSsid, wanted.ssid);
}

int sendBlacklist(vm1905_client* client, ServId service, const vm1905_mac* target,
                  const vm1905_mac* station) {
    return askForCode(client, to(target, service).mac(req::kStation, station));
}

void decodeResults(Answer& answer, vm1905_pwr_results& out) {
    answer.count(resp::kPwrIntfNum, std::size(out.results), out.num);
    for (size_t i = 0; i < out.num; i++) {
        const size_t at = resp::kPwrEntries + i * resp::kPwrEntryLen;
        answer.mac({at, sizeof(vm1905_mac)}, out.results[i].mac);
        answer.number({at + 6, 2}, out.results[i].media_type);
        answer.number({at + 8, 1}, out.results[i].code);
    }
}

}  // namespace

extern "C" {

int vm1905_ping(vm1905_client* client, const vm1905_mac* target) {
    return sendTo(client, target, kServPing);
}

int vm1905_reboot(vm1905_client* client, const vm1905_mac* target) {
    return sendTo(client, target, kServReboot);
}

int vm1905_reset_to_default(vm1905_client* client, const vm1905_mac* target) {
    return sendTo(client, target, kServResetToDefault);
}

int vm1905_set_dev_intf_pwr(vm1905_client* client, const vm1905_mac* target,
                            const vm1905_pwr_intf* intfs, size_t num, uint8_t state,
                            vm1905_pwr_results* results) {
    if (num > VM1905_MAX_PWR_INTFS || (intfs == nullptr && num > 0)) return VM1905_BAD_ARGUMENT;
    Request request = to(target, kServIntfPwrCtrl);
    request.number(req::kPwrIntfNum, static_cast<uint32_t>(num)).number(req::kPwrCtrl, state);
    for (size_t i = 0; i < num; i++) {
        const size_t at = req::kPwrEntries + i * req::kPwrEntryLen;
        request.mac({at, sizeof(vm1905_mac)}, &intfs[i].mac)
            .number({at + 6, 2}, intfs[i].media_type);
    }
    vm1905_pwr_results unwanted;
    return askForRecord(client, request, results != nullptr ? results : &unwanted, decodeResults);
}

int vm1905_led_ctrl(vm1905_client* client, const vm1905_mac* target, int32_t value) {
    return sendValue(client, target, kServLEDCtrl, value);
}

int vm1905_system_ctrl(vm1905_client* client, const vm1905_mac* target, int32_t value) {
    return sendValue(client, target, kServSystemCtrl, value);
}

int vm1905_wps_ctrl(vm1905_client* client, const vm1905_mac* target, uint8_t option) {
    return sendValue(client, target, kServWpsCtrl, option);
}

int vm1905_ap_steering(vm1905_client* client, const vm1905_mac* target, uint8_t option) {
    return sendValue(client, target, kServAPSteering, option);
}

int vm1905_fw_ctrl(vm1905_client* client, const vm1905_mac* target, uint8_t option,
                   uint8_t topo_option, const char* url) {
    return askForCode(client, to(target, kServFWCtrl)
                                  .number(req::kFwOption, option)
                                  .number(req::kFwTopoOption, topo_option)
                                  .text(req::kFwUrl, url));
}

int vm1905_send_command(vm1905_client* client, const vm1905_mac* target, const char* command) {
    return askForCode(client, to(target, kServSendCommand).text(req::kCommand, command));
}

int vm1905_request_beacon(vm1905_client* client, const vm1905_mac* target,
                          const vm1905_beacon_request* request) {
    if (request == nullptr) return VM1905_BAD_ARGUMENT;
    return askForCode(client, beacon(target, kServSendBcnRpt, *request));
}

int vm1905_get_beacon(vm1905_client* client, const vm1905_mac* target,
                      const vm1905_beacon_request* request, vm1905_beacon_report* report) {
    if (request == nullptr || report == nullptr) return VM1905_BAD_ARGUMENT;
    vm1905_answer raw;
    const int result = askForData(client, beacon(target, kServGetBcnRpt, *request), raw);
    if (result != 0) return result;
    Answer answer(raw);
    int code = 0;
    answer.number(resp::kBcnRetCode, code);
    if (code != 0) return code;
    vm1905_beacon_report found{};
    answer.mac(resp::kBcnStation, found.station);
    answer.count(resp::kBcnLen, sizeof found.data, found.length);
    answer.bytes(resp::kBcnReport, found.data, found.length);
    if (!answer.isSane()) return VM1905_BAD_ANSWER;
    *report = found;
    return 0;
}

int vm1905_send_btm(vm1905_client* client, const vm1905_mac* target, const vm1905_btm* btm) {
    if (btm == nullptr) return VM1905_BAD_ARGUMENT;
    return askForCode(client, to(target, kServSendBTM)
                                  .mac(req::kStation, &btm->station)
                                  .mac(req::kBssid, &btm->bssid)
                                  .number(req::kOperatingClass, btm->operating_class)
                                  .number(req::kChannel, btm->channel)
                                  .number(req::kDisassocImminent, btm->disassoc_imminent)
                                  .number(req::kDisassocTimer, btm->disassoc_timer));
}

int vm1905_add_blacklist(vm1905_client* client, const vm1905_mac* target,
                         const vm1905_mac* station) {
    return sendBlacklist(client, kServAddBlacklist, target, station);
}

int vm1905_remove_blacklist(vm1905_client* client, const vm1905_mac* target,
                            const vm1905_mac* station) {
    return sendBlacklist(client, kServRemoveBlacklist, target, station);
}

int vm1905_speed_test_ctrl(vm1905_client* client, const vm1905_mac* target,
                           const vm1905_speed_test* test) {
    if (test == nullptr) return VM1905_BAD_ARGUMENT;
    return askForCode(client, to(target, kServSpeedTest)
                                  .number(req::kSpeedEnable, test->enable)
                                  .number(req::kSpeedAction, test->action)
                                  .number(req::kSpeedStart, test->start)
                                  .number(req::kSpeedRuntime, test->runtime)
                                  .mac(req::kSpeedLanMac, &test->lan_mac)
                                  .text(req::kSpeedUrl, test->url));
}

int vm1905_wifi_state_search(vm1905_client* client, const vm1905_mac* target) {
    return sendTo(client, target, kServWifiStateSearch);
}

int vm1905_wifi_state_renew(vm1905_client* client, const vm1905_mac* target) {
    return sendTo(client, target, kServWifiStateRenew);
}

int vm1905_request_log_file(vm1905_client* client, const vm1905_mac* target) {
    return sendTo(client, target, kServRequestLogFile);
}

int vm1905_network_ctrl(vm1905_client* client, const vm1905_mac* target, uint16_t option,
                        const char* command) {
    return askForCode(client, to(target, kServNetworkCtrl)
                                  .number(req::kNetOption, option)
                                  .text(req::kNetCommand, command));
}

int vm1905_send_raw(vm1905_client* client, uint16_t type, const vm1905_mac* target,
                    const void* tlvs, size_t length) {
    const vm1905_mac all{};
    return askForCode(client, to(target != nullptr ? target : &all, kServRawSend)
                                  .number(req::kRawType, type)
                                  .bytes(req::kRawTlvs, tlvs, length));
}

}  // extern "C"
