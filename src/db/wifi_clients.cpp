#include "db/wifi_clients.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "base/log.h"
#include "db/database.h"
#include "db/device_table.h"

namespace {

constexpr size_t kItems = 9;
constexpr size_t kMaxClients = 1024;       // of one device
constexpr size_t kMaxMeshClients = 16384;  // of all devices, and one more for each without any
// Devices report their stations every 2 seconds and answer queries for them every 30.
constexpr Seconds kSilence = 35;

using Items = std::array<std::string, kItems>;

// Splits "{0=...,1=...}". An item may contain commas, but not the mark of the next item (",1=").
bool splitRecord(std::string_view record, Items& items) {
    if (record.size() < 4 || record.front() != '{' || record.back() != '}') return false;
    record = record.substr(1, record.size() - 2);
    if (!record.starts_with("0=")) return false;
    record.remove_prefix(2);
    for (size_t i = 0; i < kItems; i++) {
        const char mark[] = {',', static_cast<char>('1' + i), '='};
        const std::string_view next(mark, sizeof mark);
        const size_t end = i + 1 < kItems ? record.find(next) : record.size();
        if (end == record.npos) return false;
        items[i] = record.substr(0, end);
        record.remove_prefix(std::min(end + next.size(), record.size()));
    }
    return true;
}

bool parseMac(const std::string& text, MacAddr& mac) {
    int end = 0;
    return sscanf(text.c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n", &mac.b[0], &mac.b[1],
                  &mac.b[2], &mac.b[3], &mac.b[4], &mac.b[5], &end) == 6 &&
           static_cast<size_t>(end) == text.size();
}

uint16_t number(const std::string& text) {
    return static_cast<uint16_t>(strtol(text.c_str(), nullptr, 10));
}

bool storeRecord(Ieee1905DevTable& dev, std::string_view record) {
    Items items;
    MacAddr mac;
    MacAddr owner;
    if (!splitRecord(record, items) || !parseMac(items[0], mac) || !parseMac(items[8], owner)) {
        return false;
    }
    WifiClient& client = touchWifiClient(dev, mac);
    client.ownerAlMac = owner;
    client.mediaType = static_cast<uint32_t>(strtoul(items[1].c_str(), nullptr, 16));
    client.rate = number(items[2]);
    client.rssi = number(items[3]);
    client.signalLevel = number(items[4]);
    storePlain(client.tx, items[5]);
    storePlain(client.rx, items[6]);
    storePlain(client.connType, items[7]);
    return true;
}

// Takes the next record off a chunk; empty at its end or if it is malformed.
std::string_view takeRecord(std::string_view& chunk) {
    constexpr size_t kDigits = 3;
    if (chunk.size() < kDigits || chunk.find_first_not_of("0123456789") < kDigits) return {};
    const size_t length = strtoul(std::string(chunk.substr(0, kDigits)).c_str(), nullptr, 10);
    if (length > chunk.size() - kDigits) return {};
    const std::string_view record = chunk.substr(kDigits, length);
    chunk.remove_prefix(kDigits + length);
    return record;
}

bool isFull(const std::vector<WifiClient>& clients) {
    if (clients.empty()) return false;
    size_t total = 0;
    for (const auto& dev : getNetTopolTable()->devs) total += dev.wifiClients.size();
    return clients.size() >= kMaxClients || total >= kMaxMeshClients;
}

}  // namespace

std::string wifiClientRecord(const WifiClient& client) {
    char record[256];
    const int length = snprintf(
        record, sizeof record, "{0=" MAC_FMT ",1=%04x,2=%d,3=%d,4=%d,5=%s,6=%s,7=%s,8=" MAC_FMT "}",
        MAC_ARGS(client.mac), client.mediaType, client.rate, client.rssi, client.signalLevel,
        client.tx.c_str(), client.rx.c_str(), client.connType.c_str(), MAC_ARGS(client.ownerAlMac));
    char head[8];
    snprintf(head, sizeof head, "%.3d", length);
    return std::string(head) + record;
}

WifiClient& touchWifiClient(Ieee1905DevTable& dev, const MacAddr& mac) {
    auto& clients = dev.wifiClients;
    auto it = std::ranges::find_if(clients, [&](const auto& client) { return client.mac == mac; });
    if (it == clients.end()) {
        if (isFull(clients)) {
            LOG(2, "too many stations, replace the longest silent one by (" MAC_FMT ")\r\n",
                MAC_ARGS(mac));
            clients.erase(std::ranges::min_element(clients, {}, &WifiClient::lastHeard));
        }
        it = clients.emplace(clients.end());
        it->mac = mac;
        const MacAddr* owner = getalMacOfIeee1905DevTableByintfMac(mac);
        if (owner != nullptr) it->ownerAlMac = *owner;
    }
    it->lastHeard = now();
    return *it;
}

bool storeWifiClients(Ieee1905DevTable& dev, std::string_view chunk) {
    while (!chunk.empty()) {
        const std::string_view record = takeRecord(chunk);
        if (record.empty() || !storeRecord(dev, record)) return false;
    }
    return true;
}

void dropSilentWifiClients(const Ieee1905DevTable& dev) {
    getIeee1905DevTables().editIf(dev, [time = now()](auto& changed) {
        return std::erase_if(changed.wifiClients, [time](const auto& client) {
                   return time - client.lastHeard > kSilence;
               }) != 0;
    });
}
