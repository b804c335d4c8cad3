// Measures encoding and decoding the most frequent vendor messages.
#include <benchmark/benchmark.h>

#include <string>

#include "db/database.h"
#include "db/wifi_clients.h"
#include "device.h"
#include "net/vend_sender.h"
#include "wire/vend_payloads.h"
#include "wire/vend_tlv.h"

namespace {

constexpr MacAddr kPort{0x02, 0x19, 0x05, 0, 1, 0};

VendPayload confResp() {
    ConfResp resp;
    for (uint8_t type = 0; type < 40; type++) {
        resp.items.push_back({type, std::vector<uint8_t>(12, 'x')});
    }
    return resp;
}

// Records of about 100 characters, 1,299 bytes in all.
std::string clientChunk() {
    std::string chunk;
    for (unsigned i = 0; i < 13; i++) {
        std::string record = "{0=02:57:a0:00:00:0" + std::string(1, "0123456789abc"[i]) +
                             ",1=0105,2=866,3=40,4=55,5=,6=,7=Main_5GH,8=00:00:00:00:00:00}";
        const size_t size = i < 12 ? 97 : 1299 - 12 * 100 - 3;
        record.insert(record.find(",6="), size - record.size(), 't');
        chunk += "0" + std::to_string(size) + record;
    }
    return chunk;
}

void roundTrip(benchmark::State& state, VendMsgType type, VendPayload payload) {
    const auto msg = makeVendMsg(type, std::move(payload));
    size_t size = 0;
    TlvArea area;
    for (auto _ : state) {
        area.clear();
        const bool written = genVendSpecTlv(area, *msg, kPort);
        size = area.size();
        VendMsg read;
        if (!written || parseVendSpecTlv(area.bytes(), read) != size)
            state.SkipWithError("rejected");
        benchmark::DoNotOptimize(read);
    }
    state.counters["bytes"] = static_cast<double>(size);
}

void configResponse(benchmark::State& state) {
    startReferenceDevice();
    roundTrip(state, VEND_MSG_TYPE_CONF_RESP, confResp());
    stopDevice();
}
BENCHMARK(configResponse)->Name("config_response/40_items");

void clientChunkTlv(benchmark::State& state) {
    startReferenceDevice();
    roundTrip(state, VEND_MSG_TYPE_WIFI_CLIENT_MCAST2, TextPayload{*getAlMac(), clientChunk()});
    stopDevice();
}
BENCHMARK(clientChunkTlv)->Name("wifi_client_chunk/tlv");

// Reads the text into the sender's table.
void clientChunkRecords(benchmark::State& state) {
    startReferenceDevice();
    const std::string chunk = clientChunk();
    Ieee1905DevTable dev;
    for (auto _ : state) {
        if (!storeWifiClients(dev, chunk)) state.SkipWithError("not understood");
    }
    state.counters["bytes"] = static_cast<double>(chunk.size());
    state.counters["stations"] = static_cast<double>(dev.wifiClients.size());
    stopDevice();
}
BENCHMARK(clientChunkRecords)->Name("wifi_client_chunk/records");

}  // namespace
