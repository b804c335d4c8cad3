#include "device.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "daemon/main_loop.h"
#include "daemon/message_monitor.h"
#include "daemon/receiver.h"
#include "db/data_manager.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/options.h"
#include "net/message_builder.h"
#include "net/ports.h"
#include "publish/data_model_files.h"
#include "publish/json_data_model.h"
#include "support/test_clock.h"
#include "support/test_device.h"
#include "wire/frame.h"
#include "wire/standard_tlv.h"

namespace {

constexpr Seconds kStart = 1'700'000'000;

MacAddr macOf(uint8_t kind, unsigned n) {
    return {0x02, kind, 0, 0, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
}

void addIntf(unsigned n) {
    FakeIntf intf;
    intf.name = "eth" + std::to_string(n);
    intf.mac = macOf(0x10, n);
    fakePlatform().intfs.push_back(intf);
}

// Starts a device whose first intfsWithNbrs interfaces have neighbors, each non1905PerIntf non-1905
// and the rest 1905 devices.
void start(unsigned nbrsPerIntf, unsigned non1905PerIntf, unsigned intfsWithNbrs) {
    DEBUGLEVEL = 0;
    setTestTime(kStart);
    FakePlatform& platform = fakePlatform();
    platform.brdgTuples.emplace_back();
    unsigned n = 0;
    for (unsigned i = 0; i < platform.intfs.size(); i++) {
        platform.brdgTuples[0].push_back(platform.intfs[i].mac);
        for (unsigned k = 0; i < intfsWithNbrs && k < nbrsPerIntf; k++) {
            platform.intfs[i].nbrs.push_back(nbrIntfMac(n++));
        }
    }
    fakeNet().addPlatformIntfs();
    installUpcalls();
    if (initDataManager() != kOk || initMessageMonitor() != kOk) abort();
    n = 0;
    for (auto& intf : getIntfTable()) {
        for (size_t k = 0; k < intf.nbrs.size(); k++, n++) {
            intf.nbrs[k].is1905 = k >= non1905PerIntf;
            intf.nbrs[k].nbrAlMac = nbrAlMac(n);
            intf.nbrs[k].last1905Time = kStart;
        }
    }
    if (startMessageMonitor() != kOk) abort();
}

}  // namespace

MacAddr nbrAlMac(unsigned n) {
    return macOf(0x20, n);
}

MacAddr nbrIntfMac(unsigned n) {
    return macOf(0x30, n);
}

void startReferenceDevice() {
    freshDevice();
    fakePlatform().intfs.clear();
    for (unsigned i = 0; i < 3; i++) addIntf(i);
    fakePlatform().intfs[2].mediaType = 0x0105;
    fakePlatform().intfs[2].mediaInfo = std::vector<uint8_t>(10, 0x5A);
    start(4, 2, 2);
}

void startDevice(unsigned intfNum) {
    freshDevice();
    fakePlatform().intfs.clear();
    for (unsigned i = 0; i < intfNum; i++) addIntf(i);
    start(2, 1, intfNum);
}

void stopDevice() {
    freshDevice();
}

size_t encodeTopolResp(std::span<uint8_t> out) {
    MsgTraits traits;
    static TlvArea area;  // reused, as the transmitter does
    gen1905Msg(getIntfPorts().front(), kMsgTopolResp, {}, area, traits);
    if (!genEndOfMsgTlv(area) || area.size() > out.size()) abort();
    ByteWriter(out).bytes(area.bytes());
    return area.size();
}

bool decodeTopolResp(Bytes area, DevTopol& dev) {
    return walkTlvs(area,
                    [&](Bytes tlv) {
                        switch (tlv[0]) {
                            case kTlvAlMac:
                                return parseAlMacTlv(dev.alMac, tlv);
                            case kTlvDevInfo:
                                return parseDevInfoTlv(dev, 0, tlv);
                            case kTlvDevBrdgCap:
                                return parseDevBrdgCapTlv(dev, tlv);
                            case kTlvNon1905Nbr:
                                return parseNon1905NbrDevTlv(dev, tlv);
                            case kTlv1905Nbr:
                                return parse1905NbrDevTlv(dev, tlv);
                            default:
                                return parseUnsupportedTlv(tlv);
                        }
                    }) &&
           parseEndOfMsgTlv(area) == kOk;
}

Frame discoveryFrame(uint16_t id) {
    return frame1905(k1905Multicast, nbrIntfMac(2), kMsgTopolDisc, id,
                     macTlv(kTlvAlMac, nbrAlMac(2)) + macTlv(kTlvMac, nbrIntfMac(2)) + endOfMsg() +
                         Frame(18, 0));
}

Frame queryFrame(uint16_t id) {
    return frame1905(k1905Multicast, nbrIntfMac(2), kMsgTopolQuery, id,
                     macTlv(kTlvAlMac, nbrAlMac(2)) + endOfMsg() + Frame(18, 0));
}

void meetNeighbor() {
    inject({discoveryFrame(0)});
    if (!receive(1)) abort();
}

void inject(const std::vector<Frame>& frames) {
    const std::string name(getIntfPorts().front().name.view());
    (void)takeSent();  // by the start
    for (const Frame& frame : frames) {
        if (!fakeNet().inject(name, frame)) abort();
    }
}

bool receive(size_t count) {
    while (count > 0) {
        const unsigned some = recv1905Msgs(getIntfPorts().front());
        if (some == 0 || some > count) return false;
        count -= some;
    }
    return true;
}

size_t takeSent() {
    return fakeNet().captureFrames(std::string(getIntfPorts().front().name.view())).size();
}

RemoteDevices::RemoteDevices(unsigned count) : medium_(count, 1) {
    std::vector<uint8_t> response(16384);
    response.resize(encodeTopolResp(response));
    if (!decodeTopolResp(response, topol_)) abort();
    for (unsigned number = 0; number < count; number++) store(number);
}

void RemoteDevices::change(unsigned count) {
    for (unsigned number = 0; number < count; number++) {
        medium_[number] ^= 1;
        store(number);
    }
}

void RemoteDevices::store(unsigned number) {
    DevTopol topol = topol_;
    topol.alMac = nbrAlMac(1000 + number);
    topol.intfs.front().mediaType = medium_[number];
    const auto& own = getIntfTable().front();
    if (updateIeee1905DevTable(own.mac, own.mediaType, topol) != kOk) abort();
}

DataModelFolder::DataModelFolder() {
    if (mkdtemp(path_.data()) == nullptr) abort();
    (void)setDataModelFolderOption(path_.c_str());
}

DataModelFolder::~DataModelFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

size_t DataModelFolder::fileSize() const {
    return std::filesystem::file_size(path_ + "/vm1905.json");
}

void writeDataModel() {
    stateOf<DataModelFiles>() = {};  // it would wait
    (void)writeJsonDataModel();
}
