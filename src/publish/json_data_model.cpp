#include "publish/json_data_model.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <utility>

#include "base/state.h"
#include "base/store.h"
#include "db/database.h"
#include "db/mesh_macs.h"
#include "db/options.h"
#include "db/registrars.h"
#include "platform/autoconfig.h"
#include "publish/json_autoconfig.h"
#include "publish/json_change_log.h"
#include "publish/json_device_info.h"
#include "publish/json_writer.h"
#include "publish/labels.h"

namespace {

// A block takes some 3 kB, and 270 bytes more for each neighbor. In a large mesh on one segment
// every device has all others as neighbors, so not all blocks are kept; nor are those of thousands
// of devices, which only a flood makes.
constexpr size_t kKeptPerDevice = 6000;  // bytes
constexpr size_t kMostKept = 1U << 20;

// Without devices. The text of one device is in there only while it is rendered.
constexpr size_t kExpectedSize = 16384;

void writeLowerLayers(JsonWriter& out, size_t intfNum) {
    out.key("LowerLayers");
    out.append("[ ");
    for (size_t number = 1; number <= intfNum; number++) {
        out.append(number == 1 ? "" : ", ").appendQuoted("Interface." + std::to_string(number));
    }
    out.append(" ]");
}

void writeAlMembers(JsonWriter& out, const AlTable& al) {
    out.mac("IEEE1905Id", al.alMac);
    out.text("Status", alStatusLabel(al.operStatus));
    out.number("LastChange", now() - al.lastChange);
    writeLowerLayers(out, al.intfs.size());
    out.number("InterfaceNumberOfEntries", static_cast<int64_t>(al.intfs.size()));
    out.boolean("EnableReboot", al.enableRebootFromNbr == 1);
    out.boolean("EnableInterfacePowerControl", al.enableIntfPwrCtrlFromNbr == 1);
    out.text("DeviceMode", al.deviceMode);
    out.text("FirmwareState", firmwareStateLabel(al.fwUpgradeStatus));
    writeReleaseAndLed(out, al.releaseVersion, al.releaseVersionGit, al.info);
    out.text("DeviceType", roleLabel(al.role()));
    out.text("DaisychainOption", al.info.daisychainOption);
    if (al.role() != PLATFORM_REGISTRAR) out.number("AP-autoconfig_WiFiReload", al.wifiReload);
    writeSettings(out, al.buildNumber, al.info);
    out.number("Approveflag", al.approveFlag);
    writeChannels(out, al.info);
    writeAddressesAndVersions(out, al.info);
    if (getStandardOption()) out.boolean("StandardMode", true);
    const MacAddr other = registrarPair().other;
    if (!other.isZero()) out.mac("OtherRegistrar", other);
}

void writeOwnIntfs(JsonWriter& out, const AlTable& al) {
    size_t number = 0;
    for (const auto& intf : al.intfs) {
        out.beginObject("Interface.", ++number);
        out.text("InterfaceName", plainText(intf.name));
        out.mac("InterfaceId", intf.mac);
        out.text("MediaType", intfMediaLabel(intf.mediaType, intf.name));
        out.text("PowerState", pwrStateLabel(intf.pwrState));
        out.end();
    }
}

// Renders the blocks that are not current. Whether a record is the same, its revision says.
// The surroundings are compared, but need not be derived again while the topology is the same.
void updateBlocks(JsonWriter& out, DataModelBlocks& cache, const AlTable& al,
                  const TopolTable& topol) {
    const bool sameTopology = cache.topologyRevision == topologyRevision();
    cache.topologyRevision = meshMacsRevision();
    cache.blocks.resize(topol.devs.size());
    std::optional<Hearings> hearings;
    size_t number = 0;
    for (const auto& dev : topol.devs) {
        auto& block = cache.blocks[number++];
        auto& [farEnds, hosts, authorized, standardMode] = block.surroundings;
        bool changed = block.listsRevision != dev.listsRevision;
        if (!sameTopology || block.revision == 0 || farEnds.size() != dev.ieee1905NbrNum()) {
            if (!hearings) hearings.emplace(al, topol);
            changed |= store(farEnds, hearings->farEndsOf(dev));
        }
        if (!sameTopology || changed) changed |= store(hosts, hostsAmongNbrs(dev));
        bool newTraits = store(authorized, authorizationOf(al, dev));
        newTraits |= store(standardMode, standardModeOf(dev));
        const size_t start = out.size();
        // The first half has the number of hosts.
        if (newTraits || changed || block.revision != dev.revision) {
            beginIeee1905Device(out, dev, block.surroundings, number);
            block.description = out.cut(start);
            block.revision = dev.revision;
        }
        if (changed) {
            endIeee1905Device(out, dev, block.surroundings);
            block.lists = out.cut(start);
            block.listsRevision = dev.listsRevision;
        }
    }
}

void forgetExcess(std::vector<DataModelBlocks::Block>& blocks) {
    const size_t most = std::min(kKeptPerDevice * blocks.size(), kMostKept);
    size_t kept = 0;
    for (auto& block : blocks) {
        const size_t size = block.size();
        if (kept + size > most) {
            (void)std::exchange(block, {});  // an assignment alone would not free the text
        } else {
            kept += size;
        }
    }
}

[[maybe_unused]] bool areCurrent(JsonWriter& out, const DataModelBlocks& cache, const AlTable& al,
                                 const TopolTable& topol) {
    // Very many addresses of the mesh may be older (isMeshMac).
    if (cache.topologyRevision != topologyRevision()) return true;
    DataModelBlocks anew;
    updateBlocks(out, anew, al, topol);
    return std::ranges::equal(cache.blocks, anew.blocks, [](const auto& a, const auto& b) {
        return a.description == b.description && a.lists == b.lists;
    });
}

void writeTopology(JsonWriter& out, DataModelBlocks& cache, size_t& blocksAt, const AlTable& al,
                   const TopolTable& topol) {
    out.beginObject("NetworkTopology");
    out.boolean("Enable", topol.enable == 1);
    out.text("Status", topolStatusLabel(topol.status));
    out.number("IEEE1905DeviceNumberOfEntries", topol.ieee1905DevNum());
    updateBlocks(out, cache, al, topol);
    assert(areCurrent(out, cache, al, topol));
    blocksAt = out.size();
    out.end();
}

void writeSecurity(JsonWriter& out, const SecurityTable& security) {
    const auto end = std::find(security.value.begin(), security.value.end(), 0);
    out.beginObject("Security");
    out.text("SetupMethod", setupMethodLabel(security.mode));
    out.text("Password", std::string(security.value.begin(), end));
    out.end();
}

// Returns the text without the objects of the remote devices, which belong at blocksAt. The pass
// phrase is behind secretAt.
std::string renderAround(DataModelBlocks& cache, size_t& blocksAt, size_t& secretAt,
                         const AlTable* al, const TopolTable* topol,
                         const SecurityTable* security) {
    JsonWriter out(kExpectedSize);
    out.begin();
    out.beginObject("Device");
    out.beginObject("X_5E1F09_IEEE1905");
    if (al == nullptr) {
        secretAt = out.append("\n").size();
        return out.take();
    }

    out.beginObject("AL");
    writeAlMembers(out, *al);
    writeOwnIntfs(out, *al);
    if (topol != nullptr) writeTopology(out, cache, blocksAt, *al, *topol);
    // Meant: without the security object the closing braces are missing too.
    secretAt = out.size();
    if (security == nullptr) return out.take();
    writeSecurity(out, *security);
    for (int open = 0; open < 4; open++) out.end();
    return out.append("\n").take();
}

void render(DataModelBlocks& cache, const AlTable* al, const TopolTable* topol,
            const SecurityTable* security, const WritePieces& write) {
    if (al == nullptr || topol == nullptr) cache = {};
    size_t blocksAt = 0, secretAt = 0;
    const std::string text = renderAround(cache, blocksAt, secretAt, al, topol, security);
    const std::string_view around(text);
    std::vector<std::string_view> pieces{around.substr(0, blocksAt)};
    for (const auto& block : cache.blocks) {
        pieces.emplace_back(block.description);
        pieces.emplace_back(block.lists);
    }
    pieces.push_back(around.substr(blocksAt, secretAt - blocksAt));
    write(pieces, around.substr(secretAt));
    forgetExcess(cache.blocks);
}

}  // namespace

std::string renderJsonDataModel(const AlTable* al, const TopolTable* topol,
                                const SecurityTable* security) {
    DataModelBlocks none;
    std::string text;
    render(none, al, topol, security, [&](const auto& pieces, std::string_view secret) {
        for (const auto& piece : pieces) text += piece;
        text += secret;
    });
    return text;
}

void renderDataModelFile(const WritePieces& write) {
    const AlTable* al = getAlTable();
    render(stateOf<DataModelBlocks>(), al, al != nullptr ? &al->topol : nullptr,
           al != nullptr ? &al->security : nullptr, write);
}

int writeJsonDataModel() {
    writeDataModelFile("vm1905.json", renderDataModelFile);
    writeWebChangeLog();
    return writeJsonAPautoconfig();
}
