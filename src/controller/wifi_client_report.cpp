#include "controller/wifi_client_report.h"

#include <cstdlib>
#include <memory>
#include <string>

#include "base/log.h"
#include "base/result.h"
#include "base/text.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/wifi_clients.h"
#include "net/vend_sender.h"
#include "orders/schedule.h"
#include "platform/device.h"
#include "wire/vend_payloads.h"

namespace {

// Meant: longer records are left out, so that a chunk always holds several.
constexpr size_t kRecordLimit = 151;
constexpr size_t kChunkLimit = 1300;

WifiClient clientOf(const WifiStation& station) {
    WifiClient client;
    client.mac = MacAddr(station.mac);
    const MacAddr* owner = getalMacOfIeee1905DevTableByintfMac(client.mac);
    if (owner != nullptr) client.ownerAlMac = *owner;
    client.mediaType = station.mediaType;
    client.rate = station.rate;
    client.rssi = station.rssi;
    client.signalLevel = station.signalLevel;
    client.tx = fieldText(station.tx);
    client.rx = fieldText(station.rx);
    client.connType = fieldText(station.connType);
    return client;
}

void sendChunk(const std::string& chunk) {
    if (chunk.empty()) return;
    (void)sendVendMcastMsg(VEND_MSG_TYPE_WIFI_CLIENT_MCAST2, TextPayload{*getAlMac(), chunk});
}

}  // namespace

int sendWIFIClientInfo() {
    if (getSendWIFIClientInfo_flag() != 1) {
        LOG_PUTS(4, "Not send WIFI ClientInfo (FALSE).");
        return kFailure;
    }
    std::vector<WifiClient> clients;
    // A platform that cannot list its stations is treated as one without stations.
    if (getWIFIConfdata(clients) != kOk || clients.empty()) {
        LOG_PUTS(4, "No WIFI client.");
        return kFailure;
    }
    if (getAlTable() == nullptr) return kFailure;
    std::string chunk;
    for (const auto& client : clients) {
        const std::string record = wifiClientRecord(client);
        if (record.size() >= kRecordLimit) continue;
        if (chunk.size() + record.size() >= kChunkLimit) {
            sendChunk(chunk);
            chunk.clear();
        }
        chunk += record;
    }
    sendChunk(chunk);
    return kOk;
}

int getWIFIConfdata(std::vector<WifiClient>& list) {
    WifiStationList stations{};
    if (getWIFIConfig(&stations) != 0) return kFailure;
    while (stations.head != nullptr) {
        const std::unique_ptr<WifiStation, decltype(&free)> station(stations.head, free);
        stations.head = station->next;
        list.push_back(clientOf(*station));
    }
    return kOk;
}

int32_t getSendWIFIClientInfo_flag() {
    return scheduleSettings().SendWIFIClientInfo_flag;
}

void setSendWIFIClientInfo_flag(int32_t flag) {
    scheduleSettings().SendWIFIClientInfo_flag = flag;
}
