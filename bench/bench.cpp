// Measures the hot paths: the topology response, the reception of a frame, and writing the
// data-model file.
#include <benchmark/benchmark.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

#include "base/result.h"
#include "base/state.h"
#include "daemon/receiver.h"
#include "db/database.h"
#include "db/neighbor_aging.h"
#include "db/options.h"
#include "device.h"
#include "net/ports.h"
#include "publish/data_model_files.h"
#include "publish/json_data_model.h"
#include "support/fake_raw_socket.h"
#include "support/frames.h"
#include "wire/standard_tlv.h"

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
    for (auto _ : state) {
        DevTopol dev;
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
void receiveFrames(benchmark::State& state, unsigned type, const Frame& tlvs) {
    startReferenceDevice();
    Port& port = getIntfPorts().front();
    const std::string name(port.name.view());
    uint16_t id = 0;
    for (auto _ : state) {
        state.PauseTiming();
        (void)fakeNet().captureFrames(name);
        for (unsigned i = 0; i < kBatch; i++) {
            // Each has a new id: a repeated one would be dropped as a duplicate.
            if (!fakeNet().inject(name, frame1905(k1905Multicast, nbrIntfMac(2), type, id++, tlvs) +
                                            Frame(18, 0))) {
                state.SkipWithError("the socket is full");
            }
        }
        state.ResumeTiming();
        for (unsigned i = 0; i < kBatch; i++) {
            if (recv1905Msg(port) != kOk) state.SkipWithError("dropped");
        }
    }
    state.counters["frame"] =
        benchmark::Counter(static_cast<double>(state.iterations() * kBatch),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    stopDevice();
}

// A discovery of a known neighbor.
void receiveDiscovery(benchmark::State& state) {
    receiveFrames(state, kMsgTopolDisc,
                  macTlv(kTlvAlMac, nbrAlMac(2)) + macTlv(kTlvMac, nbrIntfMac(2)) + endOfMsg());
}
BENCHMARK(receiveDiscovery)->Name("receive/topology_discovery");

// A query, including the response to it.
void receiveQuery(benchmark::State& state) {
    receiveFrames(state, kMsgTopolQuery, macTlv(kTlvAlMac, nbrAlMac(2)) + endOfMsg());
}
BENCHMARK(receiveQuery)->Name("receive/topology_query");

// Fills the table with remote devices in a ring, where each hears the two on either side.
void startMesh(unsigned devices) {
    startReferenceDevice();
    Area area;
    const Bytes response(area.data(), encodeTopolResp(area));
    for (unsigned n = 0; n < devices; n++) {
        DevTopol dev;
        if (!decodeTopolResp(response, dev)) abort();
        dev.alMac = nbrAlMac(1000 + n);
        unsigned distance = devices - 2;
        for (auto& list : dev.ieee1905Lists) {
            for (auto& nbr : list.nbrs) {
                nbr.alMac = nbrAlMac(1000 + (n + distance) % devices);
                distance += distance + 1 == devices ? 2 : 1;
            }
        }
        (void)getNetTopolTable()->devs.add({std::move(dev), {}});
    }
}

enum class Changed { kNothing, kOne, kAll };

// Renders the text of the file, without writing it, after such a change of the devices.
template <Changed kChanged>
void renderJson(benchmark::State& state) {
    startMesh(static_cast<unsigned>(state.range(0)));
    auto& devs = getIeee1905DevTables();
    size_t size = 0;
    for (auto _ : state) {
        if (kChanged == Changed::kOne) (void)devs.edit(*devs.begin());
        if (kChanged == Changed::kAll) {
            noteTopologyChange();
            for (const auto& dev : devs) (void)devs.edit(dev);
        }
        renderDataModelFile([&](std::span<const std::string_view> pieces) {
            size = 0;
            for (const auto& piece : pieces) size += piece.size();
        });
    }
    state.counters["bytes"] = static_cast<double>(size);
    stopDevice();
}
BENCHMARK(renderJson<Changed::kNothing>)->Name("render_json/nothing")->Arg(16)->Arg(64)->Arg(250);
BENCHMARK(renderJson<Changed::kOne>)->Name("render_json/one")->Arg(16)->Arg(64)->Arg(250);
BENCHMARK(renderJson<Changed::kAll>)->Name("render_json/all")->Arg(16)->Arg(64)->Arg(250);

// Writes the file for a mesh of range(0) remote devices.
void writeJson(benchmark::State& state) {
    startMesh(static_cast<unsigned>(state.range(0)));
    std::string folder = "/tmp/vm1905-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) abort();
    (void)setDataModelFolderOption(folder.c_str());
    for (auto _ : state) {
        stateOf<DataModelFiles>() = {};  // it would wait
        (void)writeJsonDataModel();
    }

    struct stat file {};
    const std::string path = folder + "/vm1905.json";
    if (stat(path.c_str(), &file) != 0) state.SkipWithError("no file");
    state.counters["bytes"] = static_cast<double>(file.st_size);
    (void)unlink(path.c_str());
    (void)unlink((folder + "/vm1905_APautoconfig.json").c_str());
    (void)rmdir(folder.c_str());
    stopDevice();
}
BENCHMARK(writeJson)->Name("write_json")->Arg(16)->Arg(64)->Arg(250);

}  // namespace

BENCHMARK_MAIN();
