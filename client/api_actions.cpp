// The calls of vm1905_client.h that change this device.
#include "records.h"

namespace {

using namespace slots;

// For services with up to three numbers at the same offsets.
int askWith(vm1905_client* client, ServId service, int32_t value1, int32_t value2 = 0,
            int32_t value3 = 0) {
    return askForCode(client, Request(service)
                                  .number(req::kValue1, value1)
                                  .number(req::kValue2, value2)
                                  .number(req::kValue3, value3));
}

int askWithBytes(vm1905_client* client, ServId service, const void* payload, size_t length) {
    return askForCode(client, Request(service).bytes(kPayload, payload, length));
}

int askForBand(vm1905_client* client, ServId service, uint8_t band) {
    return askForCode(client, Request(service).number(req::kBand, band));
}

}  // namespace

extern "C" {

int vm1905_set_intf_pwr(vm1905_client* client, const vm1905_mac* mac, uint16_t media_type,
                        uint8_t state) {
    return askForCode(client, Request(kServSetIntfPwrState)
                                  .mac(req::kIntfMac, mac)
                                  .number(req::kMediaType, media_type)
                                  .number(req::kPwrState, state));
}

int vm1905_add_fwd_rule(vm1905_client* client, const void* rule, size_t length) {
    return askWithBytes(client, kServAddFwdRule, rule, length);
}

int vm1905_modify_fwd_rule(vm1905_client* client, const void* rule, size_t length) {
    return askWithBytes(client, kServModifyFwdRule, rule, length);
}

int vm1905_remove_fwd_rule(vm1905_client* client, uint16_t id) {
    return askForCode(client, Request(kServRemoveFwdRule).number(req::kRuleId, id));
}

int vm1905_set_log_max(vm1905_client* client, uint8_t max) {
    return askForCode(client, Request(kServSetChangeLogMax).number(req::kLogMax, max));
}

int vm1905_set_security(vm1905_client* client, const void* setting, size_t length) {
    return askWithBytes(client, kServSetSecurity, setting, length);
}

int vm1905_set_option(vm1905_client* client, uint8_t item, uint8_t value) {
    return askForCode(
        client, Request(kServSetOption).number(req::kItem, item).number(req::kItemValue, value));
}

int vm1905_set_wps(vm1905_client* client, int32_t device_type, int32_t send_search,
                   int32_t send_response) {
    return askWith(client, kServSetWps, device_type, send_search, send_response);
}

int vm1905_get_wps(vm1905_client* client) {
    return askForCode(client, Request(kServGetWps));
}

int vm1905_send_wps_renew(vm1905_client* client, uint8_t band) {
    return askForBand(client, kServSendRenew, band);
}

int vm1905_set_fw_result(vm1905_client* client, int32_t result) {
    return askWith(client, kServSetFWResult, result);
}

int vm1905_push_button(vm1905_client* client) {
    return askForCode(client, Request(kServPushButton));
}

int vm1905_reopen_ports(vm1905_client* client) {
    return askForCode(client, Request(kServReopenPorts));
}

int vm1905_write_log(vm1905_client* client) {
    return askForCode(client, Request(kServWriteChangeLog));
}

int vm1905_set_wps_timeout(vm1905_client* client, int32_t seconds) {
    return askWith(client, kServSetWpsTimeout, seconds);
}

int vm1905_set_approve(vm1905_client* client, int32_t approve) {
    return askWith(client, kServSetApprove, approve);
}

int vm1905_set_debug_level(vm1905_client* client, uint32_t level) {
    return askForCode(client, Request(kServSetDebugLevel).number(req::kValue1, level));
}

int vm1905_send_wps_search(vm1905_client* client, uint8_t band) {
    return askForBand(client, kServSendSearch, band);
}

int vm1905_set_wifi_reload(vm1905_client* client, int32_t device_type, int32_t reload) {
    return askWith(client, kServWifiReload, device_type, reload);
}

int vm1905_set_fw_state(vm1905_client* client, const char* state) {
    return askForCode(client, Request(kServSetFWState).text(req::kStateText, state));
}

int vm1905_send_discovery(vm1905_client* client) {
    return askForCode(client, Request(kServSendDiscovery));
}

int vm1905_set_wps_by_band(vm1905_client* client, const char* band, int32_t send_search,
                           int32_t send_response) {
    return askForCode(client, Request(kServSetWpsByBand)
                                  .text(req::kBandText, band)
                                  .number(req::kBandSearch, send_search)
                                  .number(req::kBandResponse, send_response));
}

int vm1905_wifi_state_action(vm1905_client* client) {
    return askForCode(client, Request(kServWifiStateAction));
}

int vm1905_wifi_sync_all(vm1905_client* client) {
    return askForCode(client, Request(kServWifiSyncAll));
}

int vm1905_update_extenders(vm1905_client* client) {
    return askForCode(client, Request(kServUpdateExtenderConf));
}

}  // extern "C"
