// The calls of vm1905_client.h that read one record each.
#include "records.h"

namespace {

using namespace slots;

constexpr size_t kAnswerEnd = kPayload + VM1905_MAX_ANSWER;
static_assert(resp::kVendProp + sizeof vm1905_vend_prop::data <= kAnswerEnd);
static_assert(resp::kMaxVendProp == sizeof vm1905_vend_prop::data);
static_assert(resp::kMaxRuleMacs == std::size(vm1905_fwd_rule{}.macs));
static_assert(resp::kRuleMatchLen == sizeof vm1905_fwd_rule::match);
static_assert(resp::kSecValue + sizeof vm1905_security::value == kRespSize);
static_assert(resp::kDevMediaInfo + sizeof vm1905_dev_intf::media_info <= resp::kDevPwrState.at);
static_assert((kRespSize - resp::kNbrs) / resp::kNon1905Len ==
              std::size(vm1905_non1905_nbrs{}.macs));
static_assert((kRespSize - resp::kNbrs) / resp::k1905Len == std::size(vm1905_1905_nbrs{}.nbrs));
static_assert((kRespSize - resp::kTupleMacs) / resp::kMacLen == std::size(vm1905_tuple{}.macs));

Request ofIntf(ServId service, const vm1905_mac* mac, uint16_t mediaType) {
    return Request(service).mac(req::kIntfMac, mac).number(req::kMediaType, mediaType);
}

Request byIndex(ServId service, uint8_t index) {
    return Request(service).number(req::kIndex, index);
}

Request ofDev(ServId service, const vm1905_mac* alMac, uint8_t index) {
    return Request(service).mac(req::kDevAlMac, alMac).number(req::kDevIndex, index);
}

int readNumber(vm1905_client* client, const Request& request, Field field, auto* out) {
    return askForRecord(client, request, out,
                        [&](Answer& answer, auto& value) { answer.number(field, value); });
}

}  // namespace

extern "C" {

int vm1905_get_al(vm1905_client* client, vm1905_al* al) {
    return askForRecord(client, Request(kServGetOwnDev), al, [](Answer& answer, vm1905_al& out) {
        answer.mac(resp::kAlMac, out.al_mac);
        answer.number(resp::kAlStatus, out.status);
        answer.number(resp::kAlAge, out.age);
        answer.number(resp::kAlIntfNum, out.intf_num);
        answer.number(resp::kAlNoPort, out.no_port);
    });
}

int vm1905_get_mesh_key(vm1905_client* client, vm1905_mesh_key* key) {
    return askForRecord(client, Request(kServGetOwnDev), key,
                        [](Answer& answer, vm1905_mesh_key& out) {
                            answer.number(resp::kAlMeshKey, out.state);
                            answer.number(resp::kAlRefused, out.refused);
                        });
}

int vm1905_get_identity(vm1905_client* client, vm1905_identity* identity) {
    return askForRecord(
        client, Request(kServGetOwnDev), identity, [](Answer& answer, vm1905_identity& out) {
            out = {};
            answer.bytes(resp::kAlLanMac.at, out.lan_mac, resp::kAlLanMac.width);
            answer.bytes(resp::kAlFirmware.at, out.firmware, resp::kAlFirmware.width);
        });
}

int vm1905_get_intf(vm1905_client* client, uint8_t index, vm1905_intf* intf) {
    return askForRecord(client, byIndex(kServGetIntf, index), intf,
                        [](Answer& answer, vm1905_intf& out) {
                            answer.mac(resp::kIntfMac, out.mac);
                            answer.number(resp::kIntfStatus, out.status);
                            answer.number(resp::kIntfAge, out.age);
                            answer.number(resp::kIntfMediaType, out.media_type);
                            answer.number(resp::kIntfPwrState, out.pwr_state);
                        });
}

int vm1905_get_intf_vend_prop(vm1905_client* client, const vm1905_mac* mac, uint16_t media_type,
                              vm1905_vend_prop* prop) {
    return askForRecord(client, ofIntf(kServGetIntfVendProp, mac, media_type), prop,
                        [](Answer& answer, vm1905_vend_prop& out) {
                            answer.bytes(resp::kOui.at, out.oui, sizeof out.oui);
                            answer.bytes(resp::kVendProp, out.data, sizeof out.data);
                            out.length = sizeof out.data;
                            while (out.length > 0 && out.data[out.length - 1] == 0) out.length--;
                        });
}

int vm1905_get_intf_pwr(vm1905_client* client, const vm1905_mac* mac, uint16_t media_type,
                        uint8_t* state) {
    return readNumber(client, ofIntf(kServGetIntfPwrState, mac, media_type), resp::kPwrState,
                      state);
}

int vm1905_get_link_num(vm1905_client* client, const vm1905_mac* mac, uint16_t media_type,
                        uint16_t* num) {
    return readNumber(client, ofIntf(kServGetLinkNum, mac, media_type), resp::kLinkNum, num);
}

int vm1905_get_link(vm1905_client* client, const vm1905_mac* mac, uint16_t media_type,
                    uint8_t index, vm1905_link* link) {
    return askForRecord(client,
                        ofIntf(kServGetLinkMetric, mac, media_type).number(req::kLinkIndex, index),
                        link, [](Answer& answer, vm1905_link& out) {
                            answer.mac(resp::kLinkNbrMac, out.neighbor_mac);
                            answer.mac(resp::kLinkLocalMac, out.local_mac);
                            answer.number(resp::kLinkBridge, out.bridge);
                            answer.number(resp::kLinkTxErrors, out.tx_errors);
                            answer.number(resp::kLinkTxPackets, out.tx_packets);
                            answer.number(resp::kLinkRxErrors, out.rx_errors);
                            answer.number(resp::kLinkRxPackets, out.rx_packets);
                            answer.number(resp::kLinkThroughput, out.throughput);
                            answer.number(resp::kLinkAvailability, out.availability);
                            answer.number(resp::kLinkPhyRate, out.phy_rate);
                            answer.number(resp::kLinkRssi, out.rssi);
                        });
}

int vm1905_get_fwd_rule_num(vm1905_client* client, uint8_t* num) {
    if (client == nullptr || num == nullptr) return VM1905_BAD_ARGUMENT;
    vm1905_answer answer;
    const int result =
        vm1905_call(client, kServGetFwdRuleNum, nullptr, 0, client->localMs, &answer);
    if (result == 0 && answer.id != VM1905_ANSWER_CODE) return VM1905_BAD_ANSWER;
    if (result == 0) Answer(answer).number(resp::kRetCode, *num);
    return result;
}

int vm1905_get_fwd_rule(vm1905_client* client, uint8_t index, vm1905_fwd_rule* rule) {
    return askForRecord(client, byIndex(kServGetFwdRule, index), rule,
                        [](Answer& answer, vm1905_fwd_rule& out) {
                            answer.number(resp::kRuleId, out.id);
                            answer.count(resp::kRuleMacNum, std::size(out.macs), out.mac_num);
                            answer.bytes(resp::kRuleMacs, out.macs, out.mac_num * resp::kMacLen);
                            answer.bytes(resp::kRuleMatch, out.match, sizeof out.match);
                        });
}

int vm1905_get_security(vm1905_client* client, vm1905_security* security) {
    return askForRecord(client, Request(kServGetSecurity), security,
                        [](Answer& answer, vm1905_security& out) {
                            answer.number(resp::kSecMode, out.mode);
                            answer.count(resp::kSecLen, sizeof out.value, out.length);
                            answer.bytes(resp::kSecValue, out.value, out.length);
                        });
}

int vm1905_get_option(vm1905_client* client, uint8_t item, uint8_t* value) {
    return readNumber(client, Request(kServGetOption).number(req::kItem, item), resp::kItemValue,
                      value);
}

int vm1905_get_topology(vm1905_client* client, vm1905_topology* topology) {
    return askForRecord(client, Request(kServGetTopol), topology,
                        [](Answer& answer, vm1905_topology& out) {
                            answer.number(resp::kTopolEnable, out.enable);
                            answer.number(resp::kTopolStatus, out.status);
                            answer.number(resp::kTopolLogMax, out.log_max);
                            answer.number(resp::kTopolDevNum, out.dev_num);
                            answer.number(resp::kTopolLogNum, out.log_num);
                        });
}

int vm1905_get_log_entry(vm1905_client* client, uint8_t index, vm1905_log_entry* entry) {
    return askForRecord(client, byIndex(kServGetChangeLog, index), entry,
                        [](Answer& answer, vm1905_log_entry& out) {
                            answer.number(resp::kLogTime, out.time);
                            answer.number(resp::kLogEvent, out.event);
                            answer.mac(resp::kLogAlMac, out.al_mac);
                            answer.mac(resp::kLogIntfMac, out.intf_mac);
                            answer.number(resp::kLogNbrType, out.neighbor_type);
                            answer.mac(resp::kLogNbrMac, out.neighbor_mac);
                        });
}

int vm1905_get_dev(vm1905_client* client, uint8_t index, vm1905_dev* dev) {
    return askForRecord(client, byIndex(kServGetDev, index), dev,
                        [](Answer& answer, vm1905_dev& out) {
                            answer.mac(resp::kDevAlMac, out.al_mac);
                            answer.number(resp::kDevStatus, out.status);
                            answer.number(resp::kDevIntfNum, out.intf_num);
                            answer.number(resp::kDevNon1905Num, out.non1905_num);
                            answer.number(resp::kDev1905Num, out.ieee1905_num);
                            answer.number(resp::kDevTupleNum, out.tuple_num);
                        });
}

int vm1905_get_dev_key(vm1905_client* client, uint8_t index, vm1905_dev_key* key) {
    return askForRecord(client, byIndex(kServGetDev, index), key,
                        [](Answer& answer, vm1905_dev_key& out) {
                            answer.mac(resp::kDevAlMac, out.al_mac);
                            answer.number(resp::kDevMeshKey, out.state);
                        });
}

int vm1905_get_dev_silence(vm1905_client* client, uint8_t index, vm1905_dev_silence* silence) {
    return askForRecord(client, byIndex(kServGetDev, index), silence,
                        [](Answer& answer, vm1905_dev_silence& out) {
                            answer.mac(resp::kDevAlMac, out.al_mac);
                            answer.number(resp::kDevSilence, out.seconds);
                            out.is_known = out.seconds != 0;
                            if (out.is_known) out.seconds--;
                        });
}

int vm1905_get_dev_intf(vm1905_client* client, const vm1905_mac* al_mac, uint8_t index,
                        vm1905_dev_intf* intf) {
    return askForRecord(client, ofDev(kServGetDevIntf, al_mac, index), intf,
                        [](Answer& answer, vm1905_dev_intf& out) {
                            answer.mac(resp::kDevIntfMac, out.mac);
                            answer.number(resp::kDevMediaType, out.media_type);
                            answer.number(resp::kDevMediaLen, out.media_length);
                            answer.bytes(resp::kDevMediaInfo, out.media_info, out.media_length);
                            answer.number(resp::kDevPwrState, out.pwr_state);
                        });
}

int vm1905_get_dev_non1905_nbrs(vm1905_client* client, const vm1905_mac* al_mac, uint8_t index,
                                vm1905_non1905_nbrs* nbrs) {
    return askForRecord(
        client, ofDev(kServGetDevNon1905Nbrs, al_mac, index), nbrs,
        [](Answer& answer, vm1905_non1905_nbrs& out) {
            answer.mac(resp::kNbrLocalMac, out.local_mac);
            answer.count(resp::kNbrNum, std::size(out.macs), out.num);
            for (size_t i = 0; i < out.num; i++) {
                answer.mac({resp::kNbrs + i * resp::kNon1905Len, sizeof(vm1905_mac)}, out.macs[i]);
            }
        });
}

int vm1905_get_dev_1905_nbrs(vm1905_client* client, const vm1905_mac* al_mac, uint8_t index,
                             vm1905_1905_nbrs* nbrs) {
    return askForRecord(client, ofDev(kServGetDev1905Nbrs, al_mac, index), nbrs,
                        [](Answer& answer, vm1905_1905_nbrs& out) {
                            answer.mac(resp::kNbrLocalMac, out.local_mac);
                            answer.count(resp::kNbrNum, std::size(out.nbrs), out.num);
                            for (size_t i = 0; i < out.num; i++) {
                                const size_t at = resp::kNbrs + i * resp::k1905Len;
                                answer.mac({at, sizeof(vm1905_mac)}, out.nbrs[i].al_mac);
                                answer.number({at + sizeof(vm1905_mac), 1}, out.nbrs[i].bridge);
                            }
                        });
}

int vm1905_get_dev_tuple(vm1905_client* client, const vm1905_mac* al_mac, uint8_t index,
                         vm1905_tuple* tuple) {
    return askForRecord(
        client, ofDev(kServGetDevBrdgTuple, al_mac, index), tuple,
        [](Answer& answer, vm1905_tuple& out) {
            answer.count(resp::kTupleNum, std::size(out.macs), out.num);
            for (size_t i = 0; i < out.num; i++) {
                answer.mac({resp::kTupleMacs + i * resp::kMacLen, resp::kMacLen}, out.macs[i]);
            }
        });
}

int vm1905_get_dev_option(vm1905_client* client, const vm1905_mac* al_mac, uint8_t item,
                          uint8_t* value) {
    return readNumber(
        client, Request(kServGetDevOption).mac(req::kDevAlMac, al_mac).number(req::kDevItem, item),
        resp::kItemValue, value);
}

}  // extern "C"
