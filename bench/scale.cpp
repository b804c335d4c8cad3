// Meshes of growing size on one segment, with a driven clock: a Registrar and so many Enrollees.
//   vm1905_scale [MINUTES [ENROLLEES...]]
// For each size, after 130 seconds to settle and again at the end: the memory of a device, and the
// sizes of its tables, which may not grow; between the two, the CPU time that a device took. And
// what a pass of the main loop costs in which nothing arrives.
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/result.h"
#include "daemon/main_loop.h"
#include "sim/mesh.h"
#include "support/fake_platform.h"

namespace {

using sim::Device;

constexpr Seconds kSettling = 130;
constexpr int kPasses = 1000;
constexpr time_t kPatience = 600;  // hundreds of devices share a processor, maybe with others

// Commands that a device carries out itself.
std::string nanosecondsOfPass() {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    for (int i = 0; i < kPasses; i++) {
        if (runPass() != kOk) throw std::runtime_error("the main loop ended");
    }
    const std::chrono::nanoseconds took = Clock::now() - begin;
    return std::to_string(took.count() / kPasses);
}

std::string cpuMicroseconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto microseconds = [](const timeval& time) {
        return time.tv_sec * 1'000'000 + time.tv_usec;
    };
    return std::to_string(microseconds(usage.ru_utime) + microseconds(usage.ru_stime));
}

std::string privateKilobytes() {
    std::ifstream file("/proc/self/smaps_rollup");
    for (std::string word; file >> word;) {
        if (word == "Private_Dirty:" && file >> word) return word;
    }
    throw std::runtime_error("no /proc/self/smaps_rollup");
}

struct Figures {
    double cpu = 0;     // microseconds
    double memory = 0;  // kB
};

// Of the devices from begin to end, the mean.
Figures measure(sim::Mesh& mesh, const std::vector<Device>& devices, size_t begin, size_t end) {
    Figures sum;
    for (size_t i = begin; i < end; i++) {
        sum.cpu += std::stod(mesh.command(devices[i], cpuMicroseconds));
        sum.memory += std::stod(mesh.command(devices[i], privateKilobytes));
    }
    const auto n = static_cast<double>(end - begin);
    return {sum.cpu / n, sum.memory / n};
}

void runSize(size_t enrollees, Seconds minutes) {
    sim::Mesh mesh(kPatience);
    std::vector<Device> devices;
    const sim::Segment segment = mesh.segment({});
    for (size_t i = 0; i <= enrollees; i++) {
        const uint8_t role = i == 0 ? 0 : 1;
        devices.push_back(mesh.addDevice(
            i == 0 ? "registrar" : "e" + std::to_string(i),
            {.debugLevel = 0, .prepare = [role] { fakePlatform().wps.deviceType = role; }}));
        mesh.attach(segment, {devices.back(), "eth0"});
    }
    mesh.run(kSettling);
    const size_t framesBefore = mesh.framesSent();
    const std::string sizes = mesh.command(devices[0], sim::tableSizes);
    const Figures before = measure(mesh, devices, 0, 1);
    const Figures othersBefore = measure(mesh, devices, 1, devices.size());
    for (Seconds minute = 0; minute < minutes; minute++) {
        mesh.run(60);
        fprintf(stderr, "\r%zu Enrollees, minute %d of %d ", enrollees,
                static_cast<int>(minute + 1), static_cast<int>(minutes));
    }
    fprintf(stderr, "\r%40s\r", "");
    const Figures after = measure(mesh, devices, 0, 1);
    const Figures othersAfter = measure(mesh, devices, 1, devices.size());
    const auto perMinute = [minutes](double value) { return value / static_cast<double>(minutes); };
    const bool grown = mesh.command(devices[0], sim::tableSizes) != sizes;
    printf("%9zu %12.0f %10.1f %10.1f %9.2f %7.0f -> %-7.0f %7.0f -> %-7.0f %s\n", enrollees,
           perMinute(static_cast<double>(mesh.framesSent() - framesBefore)),
           perMinute(after.cpu - before.cpu) / 1000,
           perMinute(othersAfter.cpu - othersBefore.cpu) / 1000,
           std::stod(mesh.command(devices[0], nanosecondsOfPass)) / 1000, before.memory,
           after.memory, othersBefore.memory, othersAfter.memory, grown ? "GROWN" : "as before");
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
    printf("%9s %12s %21s %9s %35s %s\n", "", "frames", "CPU ms/min", "us of a",
           "private memory, kB", "tables");
    printf("%9s %12s %10s %10s %9s %18s %17s\n", "Enrollees", "a minute", "Registrar", "Enrollee",
           "pass", "Registrar", "Enrollee");
    for (const int size : sizes) {
        if (size < 1 || size > 2000) continue;
        runSize(static_cast<size_t>(size), minutes);
    }
}
