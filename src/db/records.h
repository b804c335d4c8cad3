// The records of the topology database. Lists keep their order: it is the order of the entries on
// the wire and in the data model.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/mac_addr.h"
#include "base/reused_list.h"
#include "base/text.h"

// Limits of the tables that strangers can fill, far above the needs of any real home.
inline constexpr size_t kMaxIntfNbrs = 4096;
inline constexpr size_t kMaxNbrDevs = 4096;
inline constexpr size_t kMaxFwdRules = 255;    // the number is one byte in the service channel
inline constexpr size_t kMaxDevEntries = 255;  // interfaces, tuples and lists of a remote device
inline constexpr size_t kMaxDevNbrs = 4096;    // neighbors of a remote device, of each kind
inline constexpr size_t kMaxMeshBytes = 16U << 20;  // sum of memory() over all remote devices

// kNbrUcastDisc counts as a discovery, but no LLDP frame leaves with it.
enum NbrMsgType : int {
    kNbrDiscovery = 0,
    kNbrNotification = 1,
    kNbrUcastDisc = 2,
    kNbrResponse = 3,
};

enum ChangeEvent : uint32_t { kNewNeighbor = 0, kLostNeighbor = 1 };
enum ChangeNbrType : uint32_t { kIeee1905Nbr = 0, kNon1905Nbr = 1 };

using MediaInfo = std::vector<uint8_t>;  // media-specific information, at most 255 bytes

inline constexpr Seconds kSilenceLimit = 130;  // a 1905 neighbor that is silent this long is gone

// The bytes that a list allocates.
template <typename T>
size_t memoryOf(const std::vector<T>& list) {
    constexpr size_t kAllocation = 16;  // what the allocator adds
    return list.capacity() == 0 ? 0 : kAllocation + list.capacity() * sizeof(T);
}

// A neighbor interface seen on a local interface.
struct IntfNbrDev {
    MacAddr nbrAlMac{};
    MacAddr nbrIntfMac{};
    bool is1905 = false;
    Seconds namedTime = 0;     // of the last frame that names it, 0 if the platform reports it
    Seconds last1905Time = 0;  // last topology discovery, at first the message that created it
    Seconds discTime = 0;  // last multicast discovery, with which LLDP leaves; 0 before the first
    bool lldpSeen = false;
    Seconds lldpTime = 0;
    uint16_t lldpTtl = 0;    // seconds
    uint8_t bridgeFlag = 0;  // 1: an IEEE 802.1 bridge is in between
    MacAddr claimant{};      // another AL MAC that a discovery from this MAC named; zero: none
    Seconds claimTime = 0;   // of the latest claim, also of one that was refuted

    bool isLiving1905(Seconds time) const { return is1905 && time - last1905Time < kSilenceLimit; }
    // True if it is no 1905 neighbor, and the frames that named it have stopped: the platform,
    // which does not know it, will never remove it.
    bool isForgotten(Seconds time) const {
        return !is1905 && namedTime != 0 && time - namedTime >= kSilenceLimit;
    }
    // True if this is the MAC of the interface or the AL MAC of its device. An AL MAC of zero is
    // not known yet and names nobody.
    bool isNamedBy(const MacAddr& mac) const {
        return nbrIntfMac == mac || (nbrAlMac == mac && !mac.isZero());
    }
};

// An LLDP frame of a neighbor interface that is not known yet. It often arrives just before the
// discovery that makes it known.
struct EarlyLldp {
    MacAddr nbrIntfMac;
    Seconds time = 0;
    uint16_t ttl = 0;
};

struct LinkTableEntry {
    MacAddr nbrAlMac;
    MacAddr nbrIntfMac;
    uint8_t bridgeFlag = 0;
    uint32_t txErrors = 0;
    uint32_t txPackets = 0;
    uint32_t rxErrors = 0;
    uint32_t rxPackets = 0;
    uint16_t throughput = 0;    // MAC throughput capacity, Mb/s
    uint16_t availability = 0;  // percent
    uint16_t phyRate = 0;       // Mb/s
    uint16_t rssi = 0;          // dB
};

// The link metrics of one local interface, built on request.
struct LinkTable {
    MacAddr alMac;
    MacAddr intfMac;
    uint32_t mediaType = 0;
    std::vector<LinkTableEntry> links;
};

// One link in a link-metric message; units as in LinkTableEntry.
struct LinkMetric {
    MacAddr localIntfMac;
    MacAddr nbrIntfMac;
    uint16_t mediaType = 0;
    uint8_t bridgeFlag = 0;
    uint32_t txErrors = 0;
    uint32_t txPackets = 0;
    uint32_t rxErrors = 0;
    uint32_t rxPackets = 0;
    uint16_t throughput = 0;
    uint16_t availability = 0;
    uint16_t phyRate = 0;
    uint8_t rssi = 0;
};

// The links to one neighbor device. Meant: outside standard mode the AL MAC of the neighbor fills
// both AL MAC fields of a link-metric TLV.
struct LinkMetricInfo {
    MacAddr alMac;
    std::vector<LinkMetric> links;
};

// One local interface.
struct IntfTable {
    Text<16> name;
    MacAddr mac;
    uint32_t pwrState = 0;    // 0 on, 1 power save, 2 off, 3 unsupported
    uint32_t operStatus = 0;  // as the platform reports it
    Seconds lastChange = 0;   // of the power state or the status
    uint32_t mediaType = 0;
    MediaInfo mediaInfo{};
    std::array<uint8_t, 3> oui{};
    std::vector<uint8_t> vendInfo{};
    std::vector<IntfNbrDev> nbrs{};
    std::vector<EarlyLldp> earlyLldp{};
    Seconds linkTime = 0;  // when the links were fetched
    std::vector<LinkTableEntry> links{};

    size_t nbr1905Num() const {
        return static_cast<size_t>(
            std::count_if(nbrs.begin(), nbrs.end(), [](const auto& n) { return n.is1905; }));
    }
    size_t nbrNon1905Num() const { return nbrs.size() - nbr1905Num(); }
};

struct BrdgTuple {
    std::vector<MacAddr> macs;

    bool operator==(const BrdgTuple&) const = default;
};

// A forwarding rule of a client. It is kept, not enforced.
struct FwdRule {
    uint16_t ruleId = 0;
    std::vector<MacAddr> macs{};
    std::array<uint8_t, 26> match{};  // the classification fields, as the client wrote them
};

struct SecurityTable {
    uint32_t mode = 0;
    std::vector<uint8_t> value;
};

// A neighbor IEEE 1905.1 device.
struct NbrDev {
    MacAddr alMac;
    Seconds lastSeen = 0;
    bool ntfSent = false;   // a notification of its latest appearance was requested
    Seconds queryTime = 0;  // of the last query that a notification caused, 0: none is pending
    bool respReceived = false;
    uint8_t queryRetries = 0;
    Seconds answerTime = 0;     // of its latest topology response, 0: it has never answered
    bool speaksVendor = false;  // it has sent a vendor discovery
    uint8_t version = 0;        // of its message headers; noted in standard mode only
};

// Properties that the vendor protocol carries and the data model shows, of this device and of every
// remote one. A text is empty until it is known.
struct DeviceInfo {
    Text<32> ledStatus;
    Text<32> ledBrightness;
    Text<32> daisychainOption;
    int32_t netStateDnsmasq = 0;
    int32_t netStateIntfInBridge = 0;
    uint8_t configure = 0;  // 1 configure, 2 not
    Text<32> sshState;
    Text<32> telnetState;
    Text<16> countryCode;
    Text<16> wifiCountryCode;
    Text<32> wifi24GChannel;
    Text<32> wifi5GChannel;
    Text<32> wifi5G2Channel;
    std::vector<std::string> ipv6;
    Text<128> ethernetPortState;
    Text<32> backhaulType;
    Text<32> appVersion;
    Text<32> l2DeviveCtrlVersion;
    Text<32> wifiAutoCfgVersion;
    Text<32> wifiOnOffVersion;
    Text<32> fwUpgradeVersion;
    Text<32> ledOnOffVersion;
    Text<32> dsiVersion;
    Text<32> vm1905Version;
};

// When each Wi-Fi network was last configured, in the wording of the device; empty if never: the
// main, guest and visitor networks, then AP and station of each backhaul.
inline constexpr size_t kApAutoConfTimes = 12;
using ApAutoConfTimes = std::array<Text<32>, kApAutoConfTimes>;

// State of the AP auto-configuration of a remote device, by band (kRenewBands).
struct ApAutoConfState {
    std::array<std::array<uint8_t, 2>, 4> counters{};
    std::array<uint8_t, 5> syncFlags{};
    ApAutoConfTimes times;
};

// A Wi-Fi station that a remote device reported.
struct WifiClient {
    MacAddr ownerAlMac;
    MacAddr mac;
    uint32_t mediaType = 0;
    uint16_t rate = 0;
    uint16_t rssi = 0;
    uint16_t signalLevel = 0;
    Text<33> tx;  // 32 characters
    Text<39> rx;
    Text<33> connType;
    Seconds lastHeard = 0;
};

// When the controller last asked a device, and whether it answered.
struct MsgCheckConfig {
    int32_t checkFlag = 0;
    Seconds checkTime = 0;
    Seconds timeout = 0;
};

inline constexpr uint8_t kPwrStateUnknown = 255;

struct DevIntf {
    MacAddr mac;
    uint16_t mediaType = 0;
    MediaInfo mediaInfo;
    // Only vendor messages carry these two.
    uint8_t pwrState = kPwrStateUnknown;
    Text<16> name;

    bool hasSameTopol(const DevIntf& other) const {
        return mac == other.mac && mediaType == other.mediaType && mediaInfo == other.mediaInfo;
    }
};

struct Non1905NbrList {
    MacAddr localIntfMac;
    std::vector<MacAddr> nbrs;

    bool operator==(const Non1905NbrList&) const = default;
};

struct Ieee1905Nbr {
    MacAddr alMac;
    uint8_t bridgeFlag = 0;

    bool operator==(const Ieee1905Nbr&) const = default;
};

struct Ieee1905NbrList {
    MacAddr localIntfMac;
    std::vector<Ieee1905Nbr> nbrs;

    bool operator==(const Ieee1905NbrList&) const = default;
};

// The part of a remote device's record that only vendor messages fill; topology responses leave it
// alone.
struct VendItems {
    uint8_t enableReboot = 255;
    uint8_t enableIntfPwrCtrl = 255;
    uint8_t role = 255;  // PLATFORM_REGISTRAR, PLATFORM_ENROLLEE, or not known yet
    uint8_t firmwareState = 255;
    uint16_t maxChangeLogEntries = 0;
    mutable uint16_t vendDiscId = 0;  // message identifier of its last vendor discovery; as below
    Text<128> firmwareVersion;
    Text<128> hostname;
    Text<32> deviceIP;
    Text<18> deviceLanMac;
    Text<32> deviceMode;
    Text<32> releaseVersion;
    Text<32> releaseVersionGit;
    Text<32> buildNumber;
    Text<32> deviceUptime;
    DeviceInfo info;
    ApAutoConfState apAutoConf;
    std::vector<WifiClient> wifiClients;
    // When the device is queried again. Nothing is derived from these two, so they may change
    // without a new revision.
    mutable MsgCheckConfig flagPowerstate;
    mutable MsgCheckConfig flagDeviceinfo;
};

// The content of a topology response.
struct DevTopol {
    MacAddr alMac;
    uint16_t receiverId = 0;  // that of parseDevInfoTlv
    ReusedList<DevIntf> intfs;
    ReusedList<Non1905NbrList> non1905Lists;
    ReusedList<Ieee1905NbrList> ieee1905Lists;
    ReusedList<BrdgTuple> brdgTuples;

    // Empties the record and keeps its memory.
    void clear() {
        alMac = {};
        receiverId = 0;
        intfs.clear();
        non1905Lists.clear();
        ieee1905Lists.clear();
        brdgTuples.clear();
    }
    // True if topology responses with these contents are the same, received by the same port.
    bool hasSameTopol(const DevTopol& other) const {
        return alMac == other.alMac && receiverId == other.receiverId &&
               std::ranges::equal(intfs, other.intfs, &DevIntf::hasSameTopol) &&
               non1905Lists == other.non1905Lists && ieee1905Lists == other.ieee1905Lists &&
               brdgTuples == other.brdgTuples;
    }

    size_t non1905NbrNum() const {
        size_t n = 0;
        for (const auto& list : non1905Lists) n += list.nbrs.size();
        return n;
    }
    size_t ieee1905NbrNum() const {
        size_t n = 0;
        for (const auto& list : ieee1905Lists) n += list.nbrs.size();
        return n;
    }
    // The memory that the lists take. A neighbor counts for more than its record, because its
    // object in the data model has some 270 bytes: this bounds that file, too.
    size_t memory() const {
        constexpr size_t kPerNbr = 120;
        size_t n = kPerNbr * (non1905NbrNum() + ieee1905NbrNum());
        const auto add = [&n](const auto& list, auto inner) {
            n += memoryOf(list.entries());
            for (const auto& entry : list.entries()) n += memoryOf(entry.*inner);
        };
        add(intfs, &DevIntf::mediaInfo);
        add(non1905Lists, &Non1905NbrList::nbrs);
        add(ieee1905Lists, &Ieee1905NbrList::nbrs);
        add(brdgTuples, &BrdgTuple::macs);
        return n;
    }
};

// A remote device, filled from its topology responses and vendor messages.
struct Ieee1905DevTable : DevTopol, VendItems {
    uint8_t status = 0;
    std::array<uint8_t, 2> wifiSync{};  // from the Wi-Fi sync list of the platform
    // Numbers that no record had before: new after each DevTables::edit, the first one also after
    // each DevTables::describe.
    uint64_t revision = 0, listsRevision = 0;

    // The memory of the whole record.
    size_t memory() const {
        size_t n = sizeof *this + DevTopol::memory() + memoryOf(wifiClients) + memoryOf(info.ipv6);
        for (const auto& address : info.ipv6) n += address.capacity();
        return n;
    }
};

// The remote devices. Their records change only through edit() and describe(), so that what is
// derived from a record can be kept as long as its revision is the same.
class DevTables {
  public:
    using const_iterator = std::list<Ieee1905DevTable>::const_iterator;

    const_iterator begin() const { return devs_.begin(); }
    const_iterator end() const { return devs_.end(); }
    size_t size() const { return devs_.size(); }
    bool empty() const { return devs_.empty(); }

    // The record, which must be one of these, to be changed at once: do not keep the reference.
    Ieee1905DevTable& edit(const Ieee1905DevTable& dev);
    // The same to change no list: nothing of DevTopol, and no Wi-Fi client.
    Ieee1905DevTable& describe(const Ieee1905DevTable& dev);
    // Changes the record by a function that returns whether it has changed anything.
    template <typename Change>
    void editIf(const Ieee1905DevTable& dev, Change change) {
        if (change(const_cast<Ieee1905DevTable&>(dev))) (void)edit(dev);
    }
    // Adds a record at the end.
    const Ieee1905DevTable& add(Ieee1905DevTable&& dev);
    void erase(const_iterator dev);
    void clear();

  private:
    std::list<Ieee1905DevTable> devs_;
};

struct ChangeLogEntry {
    Seconds timeStamp = 0;
    uint32_t eventType = 0;
    MacAddr reporterAlMac;
    MacAddr reporterIntfMac;
    uint32_t nbrType = 0;
    MacAddr nbrMac;
};

// The network topology, part of the AlTable.
struct TopolTable {
    static constexpr size_t kChangeLogCapacity = 256;

    uint32_t enable = 0;
    uint32_t status = 0;  // 0 incomplete, 1 available, 2 misconfigured
    uint16_t maxChangeLogEntries = 0;
    uint16_t changeLogNum = 0;
    uint16_t changeLogNext = 0;
    std::array<ChangeLogEntry, kChangeLogCapacity> changeLog{};
    DevTables devs;

    uint16_t ieee1905DevNum() const { return static_cast<uint16_t>(devs.size()); }
};

// The abstraction layer of this device, root of the database.
struct AlTable {
    MacAddr alMac;
    std::array<uint8_t, 3> oui{};
    std::vector<uint8_t> vendInfo;
    uint8_t alStatus = 0;
    uint8_t enableRebootFromNbr = 0;
    uint8_t enableIntfPwrCtrlFromNbr = 0;
    Text<128> firmwareVersion;
    Text<128> newFirmwareVersion;
    Text<128> newFirmwareDate;
    uint8_t newFirmwareFlag = 0;
    uint8_t fwUpgradeStatus = 0;
    uint8_t apAutoConfig = 0;
    std::array<uint8_t, 3> wpsConfig{};  // device type (role), send search, send response
    uint8_t wifiReload = 0;
    std::array<Text<32>, 2> wifiSyncMac;
    Text<128> hostname;
    Text<32> deviceMode;
    Text<32> releaseVersion;
    Text<32> releaseVersionGit;
    Text<32> buildNumber;
    Text<18> lanMac;
    std::array<std::array<uint8_t, 2>, 4> wpsBandConfig{};  // bands 0, 1, 32, 33
    ApAutoConfTimes apAutoConfTimes;
    DeviceInfo info;
    int32_t approveFlag = 0;
    uint32_t operStatus = 0;
    Seconds lastChange = 0;
    uint8_t intfNum = 0;
    std::list<IntfTable> intfs;
    std::vector<BrdgTuple> brdgTuples;
    std::vector<FwdRule> fwdRules;
    SecurityTable security;
    std::vector<NbrDev> nbrDevs;
    TopolTable topol;

    uint8_t role() const { return wpsConfig[0]; }
};
