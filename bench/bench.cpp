// Measures the hot paths: the topology response, the reception of a frame, and writing the
// data-model file.
#include <benchmark/benchmark.h>

#include <array>
#include <vector>

#include "db/database.h"
#include "device.h"
#include "support/test_clock.h"

namespace {

using Area = std::array<uint8_t, 16384>;

// 0 interfaces means the reference device.
void startSized(benchmark::State& state) {
    if (state.range(0) == 0) {
        startReferenceDevice();
    } else {
        startDevice(static_cast<unsigned>(state.range(0)));
    }
}

template <bool kChanged>
void encode(benchmark::State& state) {
    startSized(state);
    Area area;
    size_t size = 0;
    for (auto _ : state) {
        if (kChanged) noteTopologyChange();
        size = encodeTopolResp(area);
        benchmark::DoNotOptimize(area);
    }
    state.counters["bytes"] = static_cast<double>(size);
    stopDevice();
}
BENCHMARK(encode<true>)->Name("topology_response/encode")->Arg(0)->Arg(4)->Arg(16)->Arg(64);
BENCHMARK(encode<false>)->Name("topology_response/encode_again")->Arg(0)->Arg(4)->Arg(16)->Arg(64);

void decode(benchmark::State& state) {
    startSized(state);
    Area area;
    const Bytes response(area.data(), encodeTopolResp(area));
    DevTopol dev;  // reused, as the receiver does
    for (auto _ : state) {
        dev.clear();
        if (!decodeTopolResp(response, dev)) state.SkipWithError("rejected");
        benchmark::DoNotOptimize(dev);
    }
    state.counters["bytes"] = static_cast<double>(response.size());
    stopDevice();
}
BENCHMARK(decode)->Name("topology_response/decode")->Arg(0)->Arg(4)->Arg(16)->Arg(64);

constexpr unsigned kBatch = 64;

// Receives frames, from the socket to the end of the handler. Injecting and draining are not
// measured.
void receiveFrames(benchmark::State& state, Frame (*frame)(uint16_t), size_t answersOfEach) {
    startReferenceDevice();
    meetNeighbor();
    uint16_t id = 1;
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<Frame> frames;
        for (unsigned i = 0; i < kBatch; i++) frames.push_back(frame(id++));
        advance(1);
        inject(frames);
        state.ResumeTiming();
        const bool received = receive(kBatch);
        state.PauseTiming();
        if (!received || takeSent() != answersOfEach * kBatch) {
            state.SkipWithError("dropped, or not answered");
            break;
        }
        state.ResumeTiming();
    }
    state.counters["frame"] =
        benchmark::Counter(static_cast<double>(state.iterations() * kBatch),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    stopDevice();
}

// A discovery of a known neighbor.
void receiveDiscovery(benchmark::State& state) {
    receiveFrames(state, discoveryFrame, 0);
}
BENCHMARK(receiveDiscovery)->Name("receive/topology_discovery");

// A query, including the response to it.
void receiveQuery(benchmark::State& state) {
    receiveFrames(state, queryFrame, 1);
}
BENCHMARK(receiveQuery)->Name("receive/topology_query");

// Writes the file for a mesh of range(0) remote devices, of which range(1) have changed.
void writeJson(benchmark::State& state) {
    startReferenceDevice();
    const DataModelFolder folder;
    RemoteDevices devices(static_cast<unsigned>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        devices.change(static_cast<unsigned>(state.range(1)));
        state.ResumeTiming();
        writeDataModel();
    }
    state.counters["bytes"] = static_cast<double>(folder.fileSize());
    stopDevice();
}
BENCHMARK(writeJson)
    ->Name("write_json")
    ->ArgNames({"devices", "changed"})
    ->Args({1, 1})
    ->Args({16, 16})
    ->Args({64, 64})
    ->Args({250, 250})
    ->Args({250, 1});

}  // namespace

BENCHMARK_MAIN();
