// A whole mesh in one process. The test lays the cables and advances the clock. After each second
// the devices run until none of them has a frame left to receive. Everything is deterministic:
// frames travel in the order of the devices.
//
//     Mesh mesh;
//     const Device a = mesh.addDevice("a");
//     const Device b = mesh.addDevice("b", {.intfs = {"eth0", "eth1"}});
//     mesh.cable(a, "eth0", b, "eth1");
//     mesh.run(10);
//     mesh.json(a)["Device"]...
#pragma once

#include <deque>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "sim/device.h"
#include "support/frames.h"
#include "support/test_clock.h"

namespace sim {

using Json = nlohmann::ordered_json;

enum class Device : size_t {};
enum class Segment : size_t {};

struct Plug {
    Device device;
    std::string intf;
};

class Mesh {
  public:
    Mesh();
    ~Mesh();
    Mesh(const Mesh&) = delete;
    Mesh& operator=(const Mesh&) = delete;

    // The next run switches the device on. The name has at most 15 characters.
    Device addDevice(const std::string& name, DeviceOptions options = {});
    // Connects interfaces. A multicast that one sends reaches all others; any other frame reaches
    // the addressed device and those that forward.
    Segment segment(const std::vector<Plug>& plugs);
    void attach(Segment segment, const Plug& plug);
    Segment cable(Device a, const std::string& intfA, Device b, const std::string& intfB) {
        return segment({{a, intfA}, {b, intfB}});
    }

    // Adds count devices, each with its eth0 on one new segment, and switches on one every spacing
    // seconds.
    std::vector<Device> addSegment(size_t count, Seconds spacing = 0);

    // Runs all devices until they are at rest, then again after each second.
    void run(Seconds seconds = 0);

    // Cut the power of a device, and switch it on again.
    void kill(Device device);
    void start(Device device);
    // Calls act in the device. Returns its result.
    template <typename Act>
    auto in(Device device, Act&& act) {
        return node(device).running->run(std::forward<Act>(act));
    }

    std::string alMac(Device device) { return macText(node(device).site.alMac); }
    // A file as the daemon last wrote it.
    Json json(Device device, const std::string& file = "vm1905.json");
    // The data model, written now.
    Json jsonNow(Device device);

    // Records the IEEE 1905.1 frames that the segment carries from now on.
    void tap(Segment segment) { wire(segment).tapped = true; }
    // The frames recorded since the last call.
    std::vector<Sent> frames(Segment segment) { return std::exchange(wire(segment).seen, {}); }
    // The CPU time of the device's passes so far, in nanoseconds.
    int64_t cpuTime(Device device) { return node(device).cpuTime; }
    // The number of IEEE 1905.1 frames that the devices have sent so far.
    size_t framesSent() const { return framesSent_; }

  private:
    struct Wire;
    struct Intf {
        Wire* wire = nullptr;
        std::deque<Frame> inbox{};
    };
    struct Node {
        DeviceOptions options;
        Site site;
        std::vector<Intf> intfs{};  // as in site.intfs
        std::unique_ptr<RunningDevice> running{};
        bool started = false;
        int64_t cpuTime = 0;
    };
    struct End {
        Node* node;
        size_t intf;
    };
    struct Wire {
        std::vector<End> ends;
        bool tapped = false;
        std::vector<Sent> seen;
    };

    Node& node(Device device) { return nodes_.at(static_cast<size_t>(device)); }
    Wire& wire(Segment segment) { return wires_.at(static_cast<size_t>(segment)); }

    void settle();
    bool deliver(Node& node);
    void collect(Node& node);
    void carry(Wire& wire, const Node& node, size_t intf, const Frame& frame);

    std::string folder_ = "/tmp/sim_XXXXXX";
    std::deque<Node> nodes_;
    std::deque<Wire> wires_;
    size_t framesSent_ = 0;
};

}  // namespace sim
