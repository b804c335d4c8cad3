#include "service/read_handlers.h"

#include <algorithm>

#include "base/clock.h"
#include "base/result.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/link_metrics.h"
#include "db/options.h"
#include "net/message_integrity.h"
#include "net/ports.h"
#include "orders/service_ids.h"
#include "orders/slots.h"

namespace {

using namespace slots;

int refuse(const ServReq& request, int code) {
    return respRetCode(request.pid(), request.servId(), code);
}

ServResp answerTo(const ServReq& request, uint16_t answer) {
    return {request.pid(), answer};
}

// kOk if a table of count records has one with this index, else the code for the client.
int checkIndex(size_t index, size_t count) {
    if (count == 0) return kTableEmpty;
    return index < count ? kOk : kIndexOutOfRange;
}

Bytes bytesOf(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

uint32_t ageOf(Seconds stamp) {
    return static_cast<uint32_t>(now() - stamp);
}

// The own interface that the request names. If there is none, nullptr, and code gets the reason.
IntfTable* findIntf(const ServReq& request, int& code) {
    code = kNoTable;
    if (getAlTable() == nullptr) return nullptr;
    code = kIntfNotFound;
    return getIntfTableById(request.mac(req::kIntfMac), request.number(req::kMediaType));
}

// The same, with its link metrics brought up to date.
IntfTable* findLinks(const ServReq& request, int& code) {
    code = kNoTable;
    if (getAlTable() == nullptr) return nullptr;
    const MacAddr mac = request.mac(req::kIntfMac);
    const uint32_t mediaType = request.number(req::kMediaType);
    code = getIntfTableById(mac, mediaType) != nullptr ? kFailure : kIntfNotFound;
    return getIntfLinkMetricsById(mac, mediaType);
}

// The other device that the request names, likewise.
const Ieee1905DevTable* findDev(const ServReq& request, int& code) {
    code = kNoTable;
    if (getNetTopolTable() == nullptr) return nullptr;
    code = kDevNotFound;
    return getIeee1905DevTableById(request.mac(req::kDevAlMac));
}

// Answers with one element of a list in the record of another device; answerWith(element) writes
// the answer.
template <typename List, typename AnswerWith>
int answerPart(const ServReq& request, List Ieee1905DevTable::*list, AnswerWith&& answerWith) {
    int code = kOk;
    const Ieee1905DevTable* dev = findDev(request, code);
    if (dev == nullptr) return refuse(request, code);
    const List& all = dev->*list;
    const size_t index = request.number(req::kDevIndex);
    code = checkIndex(index, all.size());
    return code == kOk ? answerWith(all[index]) : refuse(request, code);
}

// The number of entries of the list that fit into the slot from begin on.
template <typename List>
size_t fitting(const List& list, size_t begin, size_t entryLen) {
    return std::min<size_t>({list.size(), (kRespSize - begin) / entryLen, 255});
}

}  // namespace

int respGet1905DevServReq(const ServReq& request, uint16_t answer) {
    const AlTable* al = getAlTable();
    if (al == nullptr) return refuse(request, kNoTable);
    return answerTo(request, answer)
        .mac(resp::kAlMac, al->alMac)
        .number(resp::kAlStatus, al->alStatus)
        .number(resp::kAlAge, ageOf(al->lastChange))
        .number(resp::kAlIntfNum, static_cast<uint32_t>(al->intfs.size()))
        .number(resp::kAlNoPort, getIntfPorts().empty() ? 1 : 0)
        .number(resp::kAlMeshKey, !meshKeyIsUsed()   ? 0
                                  : meshKeyCanSign() ? 1
                                                     : 2)
        .number(resp::kAlRefused, refusedMessages())
        .bytes(resp::kAlLanMac.at, bytesOf(al->lanMac.view()))
        .bytes(resp::kAlFirmware.at, bytesOf(al->firmwareVersion.view()))
        .answer();
}

int respGetIntfVendPropServReq(const ServReq& request, uint16_t answer) {
    int code = kOk;
    const IntfTable* intf = findIntf(request, code);
    if (intf == nullptr) return refuse(request, code);
    const size_t length = std::min(intf->vendInfo.size(), resp::kMaxVendProp);
    return answerTo(request, answer)
        .bytes(resp::kOui.at, intf->oui)
        .bytes(resp::kVendProp, Bytes(intf->vendInfo).first(length))
        .answer();
}

int respGetIntfPwrStateServReq(const ServReq& request, uint16_t answer) {
    int code = kOk;
    const IntfTable* intf = findIntf(request, code);
    if (intf == nullptr) return refuse(request, code);
    return answerTo(request, answer).number(resp::kPwrState, intf->pwrState).answer();
}

int respGetIntfLinkNumServReq(const ServReq& request, uint16_t answer) {
    int code = kOk;
    const IntfTable* intf = findLinks(request, code);
    if (intf == nullptr) return refuse(request, code);
    return answerTo(request, answer)
        .number(resp::kLinkNum, static_cast<uint32_t>(intf->links.size()))
        .answer();
}

int respGetIntfLinkMetricServReq(const ServReq& request, uint16_t answer) {
    int code = kOk;
    const IntfTable* intf = findLinks(request, code);
    if (intf == nullptr) return refuse(request, code);
    const size_t index = request.number(req::kLinkIndex);
    code = checkIndex(index, intf->links.size());
    if (code != kOk) return refuse(request, code);
    const LinkTableEntry& link = intf->links[index];
    return answerTo(request, answer)
        .mac(resp::kLinkNbrMac, link.nbrIntfMac)
        .mac(resp::kLinkLocalMac, intf->mac)
        .number(resp::kLinkBridge, link.bridgeFlag)
        .number(resp::kLinkTxErrors, link.txErrors)
        .number(resp::kLinkTxPackets, link.txPackets)
        .number(resp::kLinkRxErrors, link.rxErrors)
        .number(resp::kLinkRxPackets, link.rxPackets)
        .number(resp::kLinkThroughput, link.throughput)
        .number(resp::kLinkAvailability, link.availability)
        .number(resp::kLinkPhyRate, link.phyRate)
        .number(resp::kLinkRssi, link.rssi)
        .answer();
}

int respGetFwdRuleNumServReq(const ServReq& request, uint16_t /*answer*/) {
    const AlTable* al = getAlTable();
    if (al == nullptr) return refuse(request, kNoTable);
    // Meant: the number is sent in place of a return code.
    return refuse(request, static_cast<int>(al->fwdRules.size()));
}

int respGetFwdRuleServReq(const ServReq& request, uint16_t answer) {
    const AlTable* al = getAlTable();
    if (al == nullptr) return refuse(request, kNoTable);
    const size_t index = request.number(req::kIndex);
    const int code = checkIndex(index, al->fwdRules.size());
    if (code != kOk) return refuse(request, code);
    const FwdRule& rule = al->fwdRules[index];
    ServResp out = answerTo(request, answer);
    out.number(resp::kRuleId, rule.ruleId)
        .number(resp::kRuleMacNum, static_cast<uint32_t>(rule.macs.size()))
        .bytes(resp::kRuleMatch, rule.match);
    for (size_t i = 0; i < rule.macs.size(); i++) {
        out.bytes(resp::kRuleMacs + i * resp::kMacLen, rule.macs[i].b);
    }
    return out.answer();
}

int respGetTopolServReq(const ServReq& request, uint16_t answer) {
    const TopolTable* topol = getNetTopolTable();
    if (topol == nullptr) return refuse(request, kNoTable);
    return answerTo(request, answer)
        .number(resp::kTopolEnable, topol->enable)
        .number(resp::kTopolStatus, topol->status)
        .number(resp::kTopolLogMax, topol->maxChangeLogEntries)
        .number(resp::kTopolDevNum, topol->ieee1905DevNum())
        .number(resp::kTopolLogNum, topol->changeLogNum)
        .answer();
}

int respGetTopolLogServReq(const ServReq& request, uint16_t answer) {
    const TopolTable* topol = getNetTopolTable();
    if (topol == nullptr) return refuse(request, kNoTable);
    const size_t index = request.number(req::kIndex);
    const int code =
        checkIndex(index, std::min<size_t>(topol->changeLogNum, topol->changeLog.size()));
    if (code != kOk) return refuse(request, code);
    const ChangeLogEntry& entry = topol->changeLog[index];
    return answerTo(request, answer)
        .number(resp::kLogTime, static_cast<uint32_t>(toWallClock(entry.timeStamp)))
        .number(resp::kLogEvent, entry.eventType)
        .mac(resp::kLogAlMac, entry.reporterAlMac)
        .mac(resp::kLogIntfMac, entry.reporterIntfMac)
        .number(resp::kLogNbrType, entry.nbrType)
        .mac(resp::kLogNbrMac, entry.nbrMac)
        .answer();
}

int respGetTopol1905DevServReq(const ServReq& request, uint16_t answer) {
    const TopolTable* topol = getNetTopolTable();
    if (topol == nullptr) return refuse(request, kNoTable);
    const size_t index = request.number(req::kIndex);
    const int code = checkIndex(index, topol->devs.size());
    if (code != kOk) return refuse(request, code);
    const auto& dev = *std::next(topol->devs.begin(), static_cast<std::ptrdiff_t>(index));
    const NbrDev* nbr = findNbrDev(dev.alMac);
    return answerTo(request, answer)
        .mac(resp::kDevAlMac, dev.alMac)
        .number(resp::kDevStatus, dev.status)
        .number(resp::kDevIntfNum, static_cast<uint32_t>(dev.intfs.size()))
        .number(resp::kDevNon1905Num, static_cast<uint32_t>(dev.non1905NbrNum()))
        .number(resp::kDev1905Num, static_cast<uint32_t>(dev.ieee1905NbrNum()))
        .number(resp::kDevTupleNum, static_cast<uint32_t>(dev.brdgTuples.size()))
        .number(resp::kDevMeshKey, !meshKeyIsUsed()           ? 0
                                   : speaksWithKey(dev.alMac) ? 2
                                                              : 1)
        .number(resp::kDevSilence, nbr == nullptr ? 0 : ageOf(nbr->lastSeen) + 1)
        .answer();
}

int respGetTopolIntfServReq(const ServReq& request, uint16_t answer) {
    return answerPart<ReusedList<DevIntf>>(
        request, &Ieee1905DevTable::intfs, [&](const DevIntf& intf) {
            return answerTo(request, answer)
                .mac(resp::kDevIntfMac, intf.mac)
                .number(resp::kDevMediaType, intf.mediaType)
                .number(resp::kDevMediaLen, static_cast<uint32_t>(intf.mediaInfo.size()))
                .bytes(resp::kDevMediaInfo, intf.mediaInfo)
                .number(resp::kDevPwrState, intf.pwrState)
                .answer();
        });
}

int respGetTopolNon1905NbrServReq(const ServReq& request, uint16_t answer) {
    return answerPart<ReusedList<Non1905NbrList>>(
        request, &Ieee1905DevTable::non1905Lists, [&](const Non1905NbrList& list) {
            const size_t num = fitting(list.nbrs, resp::kNbrs, resp::kNon1905Len);
            ServResp out = answerTo(request, answer);
            out.mac(resp::kNbrLocalMac, list.localIntfMac)
                .number(resp::kNbrNum, static_cast<uint32_t>(num));
            for (size_t i = 0; i < num; i++) {
                out.bytes(resp::kNbrs + i * resp::kNon1905Len, list.nbrs[i].b);
            }
            return out.answer();
        });
}

int respGetTopol1905NbrServReq(const ServReq& request, uint16_t answer) {
    return answerPart<ReusedList<Ieee1905NbrList>>(
        request, &Ieee1905DevTable::ieee1905Lists, [&](const Ieee1905NbrList& list) {
            const size_t num = fitting(list.nbrs, resp::kNbrs, resp::k1905Len);
            ServResp out = answerTo(request, answer);
            out.mac(resp::kNbrLocalMac, list.localIntfMac)
                .number(resp::kNbrNum, static_cast<uint32_t>(num));
            for (size_t i = 0; i < num; i++) {
                const size_t at = resp::kNbrs + i * resp::k1905Len;
                out.bytes(at, list.nbrs[i].alMac.b).number({at + 6, 1}, list.nbrs[i].bridgeFlag);
            }
            return out.answer();
        });
}

int respGetTopolBrdgTupleServReq(const ServReq& request, uint16_t answer) {
    return answerPart<ReusedList<BrdgTuple>>(
        request, &Ieee1905DevTable::brdgTuples, [&](const BrdgTuple& tuple) {
            const size_t num = fitting(tuple.macs, resp::kTupleMacs, resp::kMacLen);
            ServResp out = answerTo(request, answer);
            out.number(resp::kTupleNum, static_cast<uint32_t>(num));
            for (size_t i = 0; i < num; i++) {
                out.bytes(resp::kTupleMacs + i * resp::kMacLen, tuple.macs[i].b);
            }
            return out.answer();
        });
}

int respGetSecServReq(const ServReq& request, uint16_t answer) {
    const SecurityTable* security = getSecurityTable();
    if (security == nullptr) return refuse(request, kNoTable);
    const size_t length = std::min(security->value.size(), kRespSize - resp::kSecValue);
    return answerTo(request, answer)
        .number(resp::kSecMode, security->mode)
        .number(resp::kSecLen, static_cast<uint32_t>(length))
        .bytes(resp::kSecValue, Bytes(security->value).first(length))
        .answer();
}

int respGetConfServReq(const ServReq& request, uint16_t answer) {
    switch (request.number(req::kItem)) {
        case 0:
            return answerTo(request, answer)
                .number(resp::kItemValue, getEnableRebootFromNbrOption())
                .answer();
        case 1:
            return answerTo(request, answer)
                .number(resp::kItemValue, getEnableIntfPwrCtrlFromNbrOption())
                .answer();
        default:
            return refuse(request, kUnknownItem);
    }
}

int respGetNbrConfServReq(const ServReq& request, uint16_t answer) {
    int code = kOk;
    const Ieee1905DevTable* dev = findDev(request, code);
    if (dev == nullptr) return refuse(request, code);
    switch (request.number(req::kDevItem)) {
        case 0:
            return answerTo(request, answer).number(resp::kItemValue, dev->enableReboot).answer();
        case 1:
            return answerTo(request, answer)
                .number(resp::kItemValue, dev->enableIntfPwrCtrl)
                .answer();
        default:
            return refuse(request, kUnknownItem);
    }
}
