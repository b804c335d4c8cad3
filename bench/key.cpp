// Measures what the key of the mesh costs: to sign a message, to check one, and to store the
// counter of an order.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "base/state.h"
#include "db/database.h"
#include "db/options.h"
#include "device.h"
#include "net/message_integrity.h"

namespace {

// A vendor message with a TLV of range(0) bytes.
struct Order {
    explicit Order(const benchmark::State& state) : size(static_cast<size_t>(state.range(0))) {
        const std::vector<uint8_t> value(size - k1905TlvHeaderLen);
        if (!flatten1905Tlv(tlvs, 11, value)) abort();
        startReferenceDevice();
        auto& integrity = stateOf<MessageIntegrity>();
        integrity.keys.emplace_back().start = 1;
        integrity.nextCounter = 1 << 24;
        hdr.dstMac = nbrIntfMac(1);
        hdr.version = kCmduVersion;
        hdr.msgType = kMsgVendSpec;
    }
    // Adds the integrity TLV.
    void sign() {
        tlvs.cut(size);
        if (!signMessage(hdr, takeMessageCounter(), tlvs)) abort();
    }
    // The signed TLV area, for another device.
    std::vector<uint8_t> received() {
        sign();
        std::vector<uint8_t> area(tlvs.bytes().begin(), tlvs.bytes().end());
        area.resize(area.size() + 3);
        getAlTable()->alMac = nbrAlMac(9);
        return area;
    }

    size_t size;
    TlvArea tlvs;
    FrameHdr hdr;
};

void sign(benchmark::State& state) {
    Order order(state);
    for (auto _ : state) {
        order.sign();
        benchmark::DoNotOptimize(order.tlvs);
    }
    stopDevice();
}
BENCHMARK(sign)->Name("mesh_key/sign")->Arg(40)->Arg(1400);

void check(benchmark::State& state) {
    Order order(state);
    const auto area = order.received();
    const Bytes areas[] = {area};
    if (checkIntegrity(order.hdr, areas).trust != Trust::kFresh) state.SkipWithError("refused");
    for (auto _ : state) benchmark::DoNotOptimize(checkIntegrity(order.hdr, areas));
    stopDevice();
}
BENCHMARK(check)->Name("mesh_key/check")->Arg(40)->Arg(1400);

// Depends on the disk: the counter is there before the order is obeyed.
void storeCounter(benchmark::State& state) {
    Order order(state);
    const auto area = order.received();
    const Bytes areas[] = {area};
    Proof proof = checkIntegrity(order.hdr, areas);
    std::string folder = "/tmp/vm1905-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) abort();
    setConfFolder(folder);
    for (auto _ : state) {
        proof.counter++;
        if (!storeOrder(proof)) state.SkipWithError("not stored");
    }
    std::filesystem::remove_all(folder);
    stopDevice();
}
BENCHMARK(storeCounter)->Name("mesh_key/store_order")->Arg(40);

}  // namespace
