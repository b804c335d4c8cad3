// Fixed amounts of work whose instructions bench/instructions counts:
//   vm1905_instructions            lists their names
//   vm1905_instructions NAME       does one; only the instructions within measured() count
#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string_view>
#include <vector>

#include "db/database.h"
#include "device.h"
#include "support/test_clock.h"

// The name by which callgrind finds what to count.
extern "C" [[gnu::noinline]] void measured(const std::function<void()>& work) {
    work();
}

namespace {

constexpr unsigned kBatch = 64;
constexpr unsigned kDevices = 100;
constexpr size_t kSmallestFile = 1000UL * kDevices;

void require(bool done) {
    if (done) return;
    fputs("vm1905_instructions: the work was not done\n", stderr);
    exit(1);
}

void encode() {
    std::array<uint8_t, 16384> area;
    measured([&] {
        for (int i = 0; i < 2000; i++) {
            noteTopologyChange();
            require(encodeTopolResp(area) == 170);
        }
    });
}

void decode() {
    std::array<uint8_t, 16384> area;
    const Bytes response(area.data(), encodeTopolResp(area));
    measured([&] {
        for (int i = 0; i < 2000; i++) {
            DevTopol dev;
            require(decodeTopolResp(response, dev));
        }
    });
}

void receiveFrames(Frame (*frame)(uint16_t), size_t answersOfEach) {
    meetNeighbor();
    uint16_t id = 1;
    for (int batch = 0; batch < 30; batch++) {
        std::vector<Frame> frames;
        for (unsigned i = 0; i < kBatch; i++) frames.push_back(frame(id++));
        advance(1);
        inject(frames);
        measured([&] { require(receive(kBatch)); });
        require(takeSent() == answersOfEach * kBatch);
    }
}

void receiveDiscoveries() {
    receiveFrames(discoveryFrame, 0);
}

void receiveQueries() {
    receiveFrames(queryFrame, 1);
}

void writeFile(unsigned changed) {
    const DataModelFolder folder;
    RemoteDevices devices(kDevices);
    writeDataModel();
    for (int i = 0; i < 5; i++) {
        devices.change(changed);
        measured(writeDataModel);
    }
    require(folder.fileSize() > kSmallestFile);
}

void writeAll() {
    writeFile(kDevices);
}

void writeOne() {
    writeFile(1);
}

struct Work {
    std::string_view name;
    void (*run)();
};

constexpr Work kWorks[] = {
    {"codec/encode", encode},
    {"codec/decode", decode},
    {"receive/discovery", receiveDiscoveries},
    {"receive/query", receiveQueries},
    {"json/all-changed", writeAll},
    {"json/one-changed", writeOne},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc == 1) {
        for (const Work& work : kWorks) printf("%s\n", work.name.data());
        return 0;
    }
    for (const Work& work : kWorks) {
        if (argc != 2 || work.name != argv[1]) continue;
        startReferenceDevice();
        work.run();
        stopDevice();
        return 0;
    }
    fprintf(stderr, "usage: %s [NAME]\n", argv[0]);
    return 2;
}
