#include "fuzz_device.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <numeric>
#include <string>

#include "base/clock.h"
#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "controller/alarm.h"
#include "controller/announcements.h"
#include "controller/controller_loop.h"
#include "controller/root_ap.h"
#include "daemon/main_loop.h"
#include "daemon/message_monitor.h"
#include "daemon/receiver.h"
#include "db/data_manager.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/neighbor_aging.h"
#include "db/options.h"
#include "db/registrars.h"
#include "db/sys_ctrl.h"
#include "net/fragment_store.h"
#include "net/message_builder.h"
#include "net/message_integrity.h"
#include "net/ports.h"
#include "net/transmitter.h"
#include "orders/query_tracking.h"
#include "platform/integrity.h"
#include "process.h"
#include "publish/json_autoconfig.h"
#include "publish/json_data_model.h"
#include "support/frames.h"
#include "support/test_clock.h"
#include "support/test_device.h"
#include "wire/frame.h"
#include "wire/standard_tlv.h"
#include "wire/vend_msg.h"
#include "wire/vend_tlv.h"

namespace {

constexpr Seconds kStart = 1'700'000'000;
constexpr Seconds kLifetime = 131;  // after that much silence all other devices have timed out
constexpr size_t kMsgIdOffset = 18;
constexpr size_t kMicOffset = 18;  // in an integrity TLV

void scriptPlatform(uint8_t switches) {
    FakePlatform& platform = fakePlatform();
    platform.intfs[0].mediaType = 0x0105;
    platform.intfs[0].mediaInfo = std::vector<uint8_t>(10, 0x5A);
    platform.intfs[0].nbrs = {{0x02, 0xEE, 0, 0, 0, 1}, {0x02, 0xEE, 0, 0, 0, 2}};
    LinkDesc link{};
    MacAddr{0x02, 0xEE, 0, 0, 0, 1}.copyTo(link.nbrIntfMac);
    platform.intfs[0].links = {link};
    if ((switches & kNoBridges) == 0) {
        platform.brdgTuples = {{platform.intfs[0].mac, platform.intfs[1].mac}};
    }
    platform.wps.deviceType = (switches & kEnrollee) != 0 ? 1 : 0;
    platform.stations.resize(2);
    platform.wifiStateSync = platform.wifiChannelSync = "a text for the others";
    platform.beaconReports[{0x02, 0x57, 0xA0, 0, 0, 1}] = std::vector<uint8_t>(600, 0x5A);
    if ((switches & kRefusing) != 0) {
        platform.fail = {"notifyApAutoConfSrchMsgReceived", "notifyApAutoConfRespMsgReceived",
                         "notifyApAutoConfWscMsgReceived",  "notifyApAutoConfRenewMsgReceived",
                         "notifyPBEventMsgReceived",        "notifyPBJoinMsgReceived"};
    }
}

// The published files must be valid JSON, whatever other devices have sent.
void checkPublished() {
    const std::string model =
        renderJsonDataModel(getAlTable(), getNetTopolTable(), getSecurityTable());
    const std::string autoconfig = renderJsonAPautoconfig(getAlTable(), getNetTopolTable());
    if (!nlohmann::json::accept(model) || !nlohmann::json::accept(autoconfig)) abort();
}

// A vendor message must be one that this device itself would accept, of the length that it
// declares.
size_t parseOwnVendorTlv(Bytes area) {
    VendMsg msg;
    if (!area.empty() && area[0] == kTlvIntegrity) return parseUnsupportedTlv(area);
    const size_t consumed = parseVendSpecTlv(area, msg);
    return consumed == parseUnsupportedTlv(area) ? consumed : 0;
}

// What this device builds itself must be well-formed, whatever it has received before.
void checkSent(const FrameHdr& hdr, const Frame& frame) {
    Bytes area = Bytes(frame).subspan(kHeadersLen);
    if (hdr.msgType == kMsgVendSpec && hdr.dstMac != k1905Multicast) {  // multicasts may be relayed
        if (!walkTlvs(area, parseOwnVendorTlv)) abort();
        return;
    }
    if (hdr.msgType != kMsgTopolDisc && hdr.msgType != kMsgTopolQuery &&
        hdr.msgType != kMsgTopolResp && hdr.msgType != kMsgMetricResp) {
        return;
    }
    if (!walkTlvs(area, parseUnsupportedTlv)) abort();
    const bool mayLackEnd = hdr.version == kStandardVersion && !hdr.lastFragment;
    if (!(mayLackEnd && area.empty()) && parseEndOfMsgTlv(area) != kOk) abort();
}

// The id of the last message of each type that was sent.
std::array<uint16_t, kMsgTypeNum> sentIds;

void ask() {
    const MetricQuery query{1, {0x02, 0xAA, 0, 0, 0, 1}, 2};
    const RoleBand search{0, 1};
    (void)requestSend1905UcastMsg(MacAddr{0x02, 0xAA, 0, 0, 0, 0x10}, kMsgMetricQuery,
                                  metricQueryBody(query));
    (void)requestSend1905McastMsg(kMsgApAutoConfSrch, apSearchBody(search));
}

std::array<uint8_t, 32> fixedKey() {
    std::array<uint8_t, 32> key{};
    std::iota(key.begin(), key.end(), uint8_t{0});
    return key;
}

// Writes the MIC under the fixed key into the integrity TLV of a frame, if it has one.
void sign(Frame& frame) {
    if (frame.size() < kHeadersLen) return;
    const Bytes area = Bytes(frame).subspan(kHeadersLen);
    const auto message = splitSignedMessage(parseFrameHdr(frame), {&area, 1});
    if (!message) return;
    size_t at = kHeadersLen;
    while (frame[at] != kTlvIntegrity) at += 3U + frame[at + 1] * 256U + frame[at + 2];
    const auto key = fixedKey();
    require(computeHmacSha256(
                key.data(), static_cast<uint32_t>(key.size()), message->covered.data(),
                static_cast<uint32_t>(message->covered.size()), &frame[at + kMicOffset]) == 0);
}

// Starts to use the fixed key, without any counters of earlier inputs.
void startKey() {
    namespace fs = std::filesystem;
    static const std::string path = writeScratch("mesh.key", fixedKey());
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    fs::remove_all(scratch() + "/state");
    fs::remove(scratch() + "/mesh_key_used");
    setConfFolder(scratch());
    getSysCtrl().config.meshKey = path;
    require(initMessageIntegrity() == kOk);
}

void startDevice(uint8_t switches, bool hasKey) {
    freshDevice();
    if (hasKey) startKey();
    (void)setDataModelFolderOption(scratch().c_str());
    DEBUGLEVEL = (switches & kVerbose) != 0 ? 5 : 0;
    setTestTime(kStart);
    scriptPlatform(switches);
    sentIds = {};
    fakeNet().addPlatformIntfs();
    (void)setEnableNetTopolOption((switches & kTopolOff) != 0 ? 0 : 1);
    getSysCtrl().config.standard1905 = (switches & kStandard) != 0 ? 1 : 0;
    (void)setEnableLogOption(1);
    (void)setLogIndexOption(1);
    installUpcalls();
    stateOf<RootAp>().folder = getDataModelFolderOption();
    if (initDataManager() != kOk || initMessageMonitor() != kOk) abort();
    (void)startMessageMonitor();
}

void runChecks() {
    (void)checkAlarms();
    (void)checkIntfNbrIntfTimeOut();
    (void)checkNbrDevTableTimeOut();
    checkRegistrars();
    (void)checkDataModelStatus();
    (void)checkUnsentTopolNtfMsg();
    checkDiscRepeat();
    (void)checkVendRespMsgReceived();
    checkFragmessageTimeout();
    MessageTransmitterLoop(now(), 0);
}

void stopDevice() {
    (void)writeJsonDataModel();
    checkPublished();
    advance(kLifetime);
    for (int i = 0; i < 3; i++) {
        runChecks();
        advance(5);
    }
    (void)destroyMessageMonitor();
    (void)destroyDataManager();
}

}  // namespace

void takeSent(bool check) {
    for (const auto& intf : fakePlatform().intfs) {
        (void)fakeNet().captureFrames(intf.name, kEtherTypeLldp);
        for (const auto& frame : fakeNet().captureFrames(intf.name)) {
            const FrameHdr hdr = parseFrameHdr(frame);
            if (check) checkSent(hdr, frame);
            if (hdr.msgType < sentIds.size()) sentIds[hdr.msgType] = hdr.msgId;
        }
    }
}

void receiveFrame(Bytes bytes, uint8_t options) {
    if ((options & kAsk) != 0) ask();
    takeSent(true);
    Frame frame(bytes.begin(), bytes.end());
    const auto& intfs = fakePlatform().intfs;
    const bool second = (options & kSecondPort) != 0;
    fakeNet().find(intfs[second ? 0 : 1].name)->up = (options & kPortDown) == 0;
    const uint16_t type = parseFrameHdr(frame).msgType;
    const uint16_t queryType = type == kMsgVendSpec ? type : static_cast<uint16_t>(type - 1);
    if ((options & kAnswers) != 0 && queryType < sentIds.size()) {
        (void)ByteWriter(frame).skip(kMsgIdOffset).u16(sentIds[queryType]);
    }
    if ((options & kSigned) != 0) sign(frame);
    if (frame.empty() || !fakeNet().inject(intfs[second ? 1 : 0].name, frame)) return;
    for (auto& port : getIntfPorts()) {
        if (port.name == intfs[second ? 1 : 0].name) {
            (void)recv1905Msg(port);
            break;
        }
    }
}

void fuzzDevice(Bytes input, const FuzzTarget& target) {
    ByteReader reader(input);
    const uint8_t switches = reader.u8();
    startDevice(switches, target.mayHaveKey && reader.u8() % 2 != 0);
    target.start();
    unsigned passes = target.mostPasses;
    for (unsigned step = 0; step < target.mostSteps && reader.left() > 0; step++) {
        const uint8_t options = reader.u8();
        unsigned seconds = reader.u8();
        const uint16_t length = reader.u16();
        if (!reader.ok()) break;
        for (; seconds > 0 && passes > 0; seconds--, passes--) {
            advance(1);
            runChecks();
        }
        advance(seconds);
        target.step(reader.take(std::min<size_t>(length, reader.left())), options);
        if ((options & kPass) != 0) runChecks();
    }
    takeSent(true);
    target.stop();
    stopDevice();
}
