// Simulates meshes of growing size on one segment, a Registrar and its Enrollees:
//   vm1905_scale [MINUTES [ENROLLEES...]]
// For each size, prints the frames and the CPU time per minute, the cost of an idle pass of the
// main loop, and the heap per device before and after those minutes. Each mesh first has 130
// seconds to settle; after that the Registrar's tables must not grow.
#include <malloc.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/result.h"
#include "daemon/main_loop.h"
#include "sim/mesh.h"

namespace {

using sim::Device;

constexpr Seconds kSettling = 130;
constexpr int kPasses = 1000;

double microsecondsOfPass() {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    for (int i = 0; i < kPasses; i++) {
        if (runPass() != kOk) throw std::runtime_error("the main loop ended");
    }
    const std::chrono::duration<double, std::micro> took = Clock::now() - begin;
    return took.count() / kPasses;
}

struct Figures {
    double registrar = 0, enrollee = 0;  // ms of CPU so far, the mean of all Enrollees
    double heap = 0;                     // kB per device
};

Figures measure(sim::Mesh& mesh, const std::vector<Device>& devices) {
    Figures figures;
    figures.registrar = static_cast<double>(mesh.cpuTime(devices[0])) / 1e6;
    for (size_t i = 1; i < devices.size(); i++) {
        figures.enrollee += static_cast<double>(mesh.cpuTime(devices[i])) / 1e6;
    }
    figures.enrollee /= static_cast<double>(devices.size() - 1);
    const struct mallinfo2 heap = mallinfo2();
    figures.heap = static_cast<double>(heap.uordblks + heap.hblkhd) / 1024 /
                   static_cast<double>(devices.size());
    return figures;
}

void runSize(size_t enrollees, Seconds minutes) {
    sim::Mesh mesh;
    std::vector<Device> devices;
    const sim::Segment segment = mesh.segment({});
    for (size_t i = 0; i <= enrollees; i++) {
        const uint8_t role = i == 0 ? 0 : 1;
        devices.push_back(
            mesh.addDevice(i == 0 ? "registrar" : "e" + std::to_string(i),
                           {.prepare = [role] { fakePlatform().wps.deviceType = role; }}));
        mesh.attach(segment, {devices.back(), "eth0"});
    }
    mesh.run(kSettling);
    const size_t framesBefore = mesh.framesSent();
    const std::string sizes = mesh.in(devices[0], sim::tableSizes);
    const Figures before = measure(mesh, devices);
    for (Seconds minute = 0; minute < minutes; minute++) {
        mesh.run(60);
        fprintf(stderr, "\r%zu Enrollees, minute %d of %d ", enrollees,
                static_cast<int>(minute + 1), static_cast<int>(minutes));
    }
    fprintf(stderr, "\r%40s\r", "");
    const Figures after = measure(mesh, devices);
    const auto perMinute = [minutes](double value) { return value / static_cast<double>(minutes); };
    const bool grown = mesh.in(devices[0], sim::tableSizes) != sizes;
    printf("%9zu %12.0f %10.1f %10.1f %9.2f %7.0f -> %-7.0f %s\n", enrollees,
           perMinute(static_cast<double>(mesh.framesSent() - framesBefore)),
           perMinute(after.registrar - before.registrar),
           perMinute(after.enrollee - before.enrollee), mesh.in(devices[0], microsecondsOfPass),
           before.heap, after.heap, grown ? "GROWN" : "as before");
    fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    const int minutes = argc > 1 ? atoi(argv[1]) : 60;
    std::vector<int> sizes = {10, 50, 100, 250};
    if (argc > 2) sizes.clear();
    for (int i = 2; i < argc; i++) sizes.push_back(atoi(argv[i]));
    if (minutes < 1) {
        fprintf(stderr, "usage: vm1905_scale [MINUTES [ENROLLEES...]]\n");
        return 2;
    }
    printf("%d simulated minutes on one segment\n", minutes);
    printf("%9s %12s %21s %9s %18s %s\n", "", "frames", "CPU ms/min", "us of a", "heap, kB",
           "tables");
    printf("%9s %12s %10s %10s %9s %18s\n", "Enrollees", "a minute", "Registrar", "Enrollee",
           "pass", "a device");
    for (const int size : sizes) {
        if (size < 1 || size > 2000) continue;
        runSize(static_cast<size_t>(size), minutes);
    }
}
