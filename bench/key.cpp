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
    explicit Order(const benchmark::State& state)
        : tlvs{{11, TlvValue(static_cast<size_t>(state.range(0)) - k1905TlvHeaderLen)}} {
        startReferenceDevice();
        auto& integrity = stateOf<MessageIntegrity>();
        integrity.keys.emplace_back().start = 1;
        integrity.nextCounter = 1 << 24;
        hdr.dstMac = nbrIntfMac(1);
        hdr.version = kCmduVersion;
        hdr.msgType = kMsgVendSpec;
    }
    Tlv sign() const {
        std::optional<Tlv> integrity;
        if (!signMessage(hdr, takeMessageCounter(), tlvs, integrity)) abort();
        return *integrity;
    }
    // The signed TLV area, for another device.
    std::vector<uint8_t> received() const {
        std::vector<uint8_t> area(2000);
        size_t size = flatten1905Tlv(tlvs[0], area);
        size += flatten1905Tlv(sign(), std::span(area).subspan(size));
        area.resize(size + 3);
        getAlTable()->alMac = nbrAlMac(9);
        return area;
    }

    TlvList tlvs;
    FrameHdr hdr;
};

void sign(benchmark::State& state) {
    const Order order(state);
    for (auto _ : state) benchmark::DoNotOptimize(order.sign());
    stopDevice();
}
BENCHMARK(sign)->Name("mesh_key/sign")->Arg(40)->Arg(1400);

void check(benchmark::State& state) {
    const Order order(state);
    const auto area = order.received();
    const Bytes areas[] = {area};
    if (checkIntegrity(order.hdr, areas).trust != Trust::kFresh) state.SkipWithError("refused");
    for (auto _ : state) benchmark::DoNotOptimize(checkIntegrity(order.hdr, areas));
    stopDevice();
}
BENCHMARK(check)->Name("mesh_key/check")->Arg(40)->Arg(1400);

// Depends on the disk: the counter is there before the order is obeyed.
void storeCounter(benchmark::State& state) {
    const Order order(state);
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
