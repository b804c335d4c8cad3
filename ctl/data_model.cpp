#include "data_model.h"

#include <fcntl.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "base/own_folder.h"
#include "orders/slot_layout.h"

namespace {

constexpr size_t kMaxSize = 64UL << 20;

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

// Appends the text as a JSON string. If it is not UTF-8, its bytes are taken for Latin-1.
void appendString(std::string& out, std::string_view text) {
    std::string encoded;
    try {
        encoded = Json(text).dump();
    } catch (const Json::exception&) {
        std::string wide;
        for (const char c : text) {
            const auto byte = static_cast<uint8_t>(c);
            if (byte < 0x80) {
                wide += c;
            } else {
                wide += static_cast<char>(0xc0 | byte >> 6);
                wide += static_cast<char>(0x80 | (byte & 0x3f));
            }
        }
        encoded = Json(wide).dump();
    }
    out += encoded;
}

// The daemon writes one member per line and does not escape texts. It removes special characters
// from the texts of other devices, but not from its own names and the pass phrase, and one of these
// must not make the whole file unreadable. So a text is everything between the first and the last
// quote of the value; one with line breaks continues on the next line.
std::string withTextsEscaped(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    while (!text.empty()) {
        size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        const size_t key = line.find_first_not_of("\t ");
        const size_t colon = line.find("\":");
        size_t value =
            colon == std::string_view::npos ? colon : line.find_first_not_of(' ', colon + 2);
        const bool isText = key != std::string_view::npos && line[key] == '"' &&
                            value != std::string_view::npos && line[value] == '"';
        if (!isText) {
            out += line;
        } else {
            const auto isWhole = [&] {
                std::string_view rest = line.substr(value + 1);
                if (rest.ends_with(',')) rest.remove_suffix(1);
                return rest.ends_with('"');
            };
            while (!isWhole() && end < text.size()) {
                end = std::min(text.find('\n', end + 1), text.size());
                line = text.substr(0, end);
            }
            const bool hasComma = line.ends_with(',');
            std::string_view content = line.substr(value + 1);
            if (hasComma) content.remove_suffix(1);
            if (content.ends_with('"')) content.remove_suffix(1);
            out += line.substr(0, value);
            appendString(out, content);
            if (hasComma) out += ',';
        }
        out += '\n';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return out;
}

std::string textAt(const Json& object, const char* member) {
    const auto found = object.find(member);
    if (found == object.end()) return {};
    if (found->is_string()) return found->get<std::string>();
    return found->is_primitive() && !found->is_null() ? found->dump() : std::string();
}

Mac macAt(const Json& object, const char* member) {
    return parseMac(textAt(object, member)).value_or(Mac{});
}

int64_t numberAt(const Json& object, const char* member) {
    const auto found = object.find(member);
    return found != object.end() && found->is_number_integer() ? found->get<int64_t>() : 0;
}

// "IEEE 802.3ab(IEEE 802.3ab Gigabit Ethernet)" without the parentheses.
std::string mediaAt(const Json& object) {
    std::string label = textAt(object, "MediaType");
    label.erase(std::min(label.find('('), label.size()));
    label.erase(label.find_last_not_of(' ') + 1);
    return label == "Unknown" ? "" : label;
}

// The objects "Prefix.1", "Prefix.2" ... of a parent, in the order of the file.
std::vector<const Json*> numbered(const Json& parent, std::string_view prefix) {
    std::vector<const Json*> found;
    if (!parent.is_object()) return found;
    for (const auto& [key, value] : parent.items()) {
        if (key.starts_with(prefix) && value.is_object()) found.push_back(&value);
    }
    return found;
}

std::optional<WifiLink> wifiOf(const Json& neighbor) {
    if (!neighbor.contains("RATE")) return {};
    return WifiLink{
        numberAt(neighbor, "RATE"), numberAt(neighbor, "RSSI"), numberAt(neighbor, "SignalLevel"),
        textAt(neighbor, "Tx"),     textAt(neighbor, "Rx"),     textAt(neighbor, "ConnType")};
}

ModelDevice deviceOf(const Json& object) {
    ModelDevice device{macAt(object, "IEEE1905Id"), object, {}, {}};
    for (const Json* intf : numbered(object, "Interface.")) {
        std::string name = textAt(*intf, "InterfaceName");
        if (name == "Unknown") name.clear();
        device.interfaces.push_back({name, mediaAt(*intf), macAt(*intf, "InterfaceId")});
    }
    const auto add = [&](const Json& neighbor, const Mac& alMac) {
        Mac local;
        const std::string reference = textAt(neighbor, "LocalInterface");
        constexpr std::string_view kPrefix = "Interface.";
        if (reference.starts_with(kPrefix)) {
            const size_t number = std::strtoul(reference.c_str() + kPrefix.size(), nullptr, 10);
            if (number >= 1 && number <= device.interfaces.size()) {
                local = device.interfaces[number - 1].mac;
            }
        }
        device.neighbors.push_back({local, alMac, macAt(neighbor, "NeighborInterfaceId"),
                                    mediaAt(neighbor), wifiOf(neighbor)});
    };
    for (const Json* neighbor : numbered(object, "IEEE1905Neighbor.")) {
        add(*neighbor, macAt(*neighbor, "NeighborDeviceId"));
    }
    for (const Json* neighbor : numbered(object, "NonIEEE1905Neighbor.")) add(*neighbor, {});
    return device;
}

// Whether the daemon of this device runs as that user.
bool isDaemon(uid_t user) {
    shmid_ds info{};
    const int slot = shmget(slots::kReqKey, 0, 0);
    return slot >= 0 && statSegment(slot, info) && mayMakeChannel(info.shm_perm.cuid) &&
           (info.shm_perm.uid == user || info.shm_perm.cuid == user);
}

}  // namespace

// Drops what is nested deeper than any part of the daemon's file. Copying and printing recurse, so
// a deep file would exhaust the stack.
Json parseJson(std::string_view text) {
    constexpr int kMaxDepth = 32;
    const auto isKept = [](int depth, Json::parse_event_t, const Json&) {
        return depth < kMaxDepth;
    };
    return Json::parse(text, isKept, false);
}

// Others may write to the usual folder: a FIFO does not block.
std::string readDaemonFile(const std::string& path, std::string& text) {
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC);
    if (fd < 0 && errno != ELOOP) return std::string("can't be read: ") + std::strerror(errno);
    struct stat info {};
    if (fd < 0 || fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        if (fd >= 0) close(fd);
        return "is not a regular file: remove it, or name another one with --data-model";
    }
    const uid_t owner = info.st_uid;
    if (owner != 0 && owner != geteuid() && !isDaemon(owner)) {
        close(fd);
        return "belongs to user " + std::to_string(owner) +
               ", not to root or the daemon: remove it, or name another one with --data-model";
    }
    char chunk[65536];
    ssize_t n = 0;
    while (text.size() < kMaxSize && (n = read(fd, chunk, sizeof chunk)) > 0) {
        text.append(chunk, static_cast<size_t>(n));
    }
    close(fd);
    return n < 0 ? std::string("can't be read: ") + std::strerror(errno) : "";
}

std::string ModelDevice::text(const char* member) const {
    std::string text = members.is_object() ? textAt(members, member) : "";
    return text == "Unknown" ? "" : text;
}

const ModelInterface* ModelDevice::intf(const Mac& mac) const {
    const auto found = std::ranges::find(interfaces, mac, &ModelInterface::mac);
    return found == interfaces.end() ? nullptr : &*found;
}

const ModelDevice* DataModel::find(const Mac& alMac) const {
    if (own.alMac == alMac && !alMac.isZero()) return &own;
    const auto found = std::ranges::find(devices, alMac, &ModelDevice::alMac);
    return found == devices.end() ? nullptr : &*found;
}

std::string configured(std::string_view key, const std::string& configuration) {
    std::string found;
    std::ifstream file(configuration);
    for (std::string line; std::getline(file, line);) {
        const size_t begin = line.find_first_not_of(" \t");
        if (begin == std::string::npos || line.compare(begin, key.size(), key) != 0) continue;
        size_t value = begin + key.size();
        if (value < line.size() && !isBlank(line[value]) && line[value] != '=') continue;
        value = line.find_first_not_of(" \t=", value);
        if (value == std::string::npos) continue;
        found = line.substr(value, line.find_first_of(" \t;\r", value) - value);
    }
    return found;
}

std::string dataModelPath(const std::string& configuration) {
    const std::string folder = configured("DATA_MODEL_FOLDER", configuration);
    return (folder.empty() ? "/tmp" : folder) + "/vm1905.json";
}

DataModel parseDataModel(std::string_view text) {
    DataModel model;
    Json whole = parseJson(text);
    if (whole.is_discarded()) whole = parseJson(withTextsEscaped(text));
    const Json* level = &whole;
    for (const char* member : {"Device", "X_5E1F09_IEEE1905", "AL"}) {
        if (!level->is_object() || !level->contains(member)) {
            model.trouble = whole.is_discarded() ? "is not JSON" : "is not a data model";
            return model;
        }
        level = &(*level)[member];
    }
    model.own = deviceOf(*level);
    if (const auto network = level->find("NetworkTopology"); network != level->end()) {
        for (const Json* device : numbered(*network, "IEEE1905Device.")) {
            model.devices.push_back(deviceOf(*device));
        }
    }
    return model;
}

DataModel readDataModel(const std::string& path) {
    std::string text;
    std::string trouble = readDaemonFile(path, text);
    DataModel model = trouble.empty() ? parseDataModel(text) : DataModel{};
    if (trouble.empty()) trouble = model.trouble;
    if (!trouble.empty()) model.trouble = path + " " + trouble;
    // There is none until a device has left.
    const std::string lost = path.substr(0, path.rfind('/') + 1) + "vm1905_lost.json";
    std::string lostText;
    if (!readDaemonFile(lost, lostText).empty()) return model;
    const Json names = parseJson(lostText);
    if (!names.is_object()) return model;
    for (const auto& [mac, name] : names.items()) {
        const auto alMac = parseMac(mac);
        if (alMac && name.is_string()) model.lost[*alMac] = name;
    }
    return model;
}
