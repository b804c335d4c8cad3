#include "fuzz_device.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
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
#include "net/fragment_store.h"
#include "net/message_builder.h"
#include "net/ports.h"
#include "net/transmitter.h"
#include "orders/query_tracking.h"
#include "publish/json_autoconfig.h"
#include "publish/json_data_model.h"
#include "support/frames.h"
#include "support/test_clock.h"
#include "support/test_device.h"
#include "wire/frame.h"
#include "wire/standard_tlv.h"
#include "wire/vend_msg.h"
#include "wire/vend_tlv.h"

// A message may make the daemon reboot or run a command. Not on the machine of the fuzzer.
extern "C" int reboot(int) noexcept {
    return 0;
}
extern "C" int system(const char*) {
    return 0;
}

namespace {

constexpr Seconds kStart = 1'700'000'000;
constexpr Seconds kLifetime = 131;  // after that much silence all other devices have timed out
constexpr unsigned kMaxSteps = 64;
constexpr size_t kMsgIdOffset = 18;

// A folder for the data model, removed at the end of the process.
class Folder {
  public:
    Folder() {
        if (mkdtemp(path_.data()) == nullptr) abort();
    }
    ~Folder() {
        for (const char* name : {"vm1905.json", "vm1905_APautoconfig.json", "vm1905_log.json",
                                 "ROOTAP_MESH_MAC", "rootap_ip"}) {
            (void)unlink((path_ + "/" + name).c_str());
        }
        (void)rmdir(path_.c_str());
    }
    const char* path() const { return path_.c_str(); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

  private:
    std::string path_ =
        access("/dev/shm", W_OK) == 0 ? "/dev/shm/vm1905-XXXXXX" : "/tmp/vm1905-XXXXXX";
};

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
    if (!walkTlvs(area, parseUnsupportedTlv) || parseEndOfMsgTlv(area) != kOk) abort();
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

void startDevice(uint8_t switches, const Folder& folder) {
    freshDevice();
    (void)setDataModelFolderOption(folder.path());
    DEBUGLEVEL = (switches & kVerbose) != 0 ? 5 : 0;
    setTestTime(kStart);
    scriptPlatform(switches);
    sentIds = {};
    fakeNet().addPlatformIntfs();
    (void)setEnableNetTopolOption((switches & kTopolOff) != 0 ? 0 : 1);
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
    (void)checkDataModelStatus();
    (void)checkUnsentTopolNtfMsg();
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
    if (frame.empty() || !fakeNet().inject(intfs[second ? 1 : 0].name, frame)) return;
    for (auto& port : getIntfPorts()) {
        if (port.name == intfs[second ? 1 : 0].name) {
            (void)recv1905Msg(port);
            break;
        }
    }
}

void fuzzDevice(Bytes input, const FuzzTarget& target) {
    static const Folder folder;
    ByteReader reader(input);
    startDevice(reader.u8(), folder);
    target.start();
    for (unsigned step = 0; step < kMaxSteps && reader.left() > 0; step++) {
        const uint8_t options = reader.u8();
        advance(reader.u8());
        const uint16_t length = reader.u16();
        if (!reader.ok()) break;
        target.step(reader.take(std::min<size_t>(length, reader.left())), options);
        if ((options & kPass) != 0) runChecks();
    }
    takeSent(true);
    target.stop();
    stopDevice();
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The daemon's log is formatted and discarded.
    if (freopen("/dev/null", "w", stdout) == nullptr) abort();
    return 0;
}
