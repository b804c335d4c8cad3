// A whole mesh in one test: all devices in its process, every cable in the hands of the test, one
// clock that the test advances. Between two seconds the devices run until none of them has anything
// left to receive. All of it is deterministic: frames travel in the order of the devices.
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
    // The devices log at this level.
    explicit Mesh(uint8_t debugLevel = 0);
    ~Mesh();
    Mesh(const Mesh&) = delete;
    Mesh& operator=(const Mesh&) = delete;

    // The device is switched on by the next run. At most 15 characters for the name.
    Device addDevice(const std::string& name, DeviceOptions options = {});
    // Connects interfaces: a multicast that one sends reaches all others, any other frame the
    // device that it is addressed to and those that would forward it.
    Segment segment(const std::vector<Plug>& plugs);
    void attach(Segment segment, const Plug& plug);
    Segment cable(Device a, const std::string& intfA, Device b, const std::string& intfB) {
        return segment({{a, intfA}, {b, intfB}});
    }

    // Lets all devices come to rest, then does so once more after each second.
    void run(Seconds seconds = 0);

    // Cuts the power, and switches it on again.
    void kill(Device device);
    void start(Device device);
    // Calls act in the device; its result.
    template <typename Act>
    auto in(Device device, Act&& act) {
        return node(device).running->run(std::forward<Act>(act));
    }

    std::string alMac(Device device) { return macText(node(device).site.alMac); }
    // A file as the daemon wrote it last; now: the data model, written on demand.
    Json json(Device device, const std::string& file = "vm1905.json");
    Json jsonNow(Device device);

    // Records the IEEE 1905.1 frames that the segment carries from now on.
    void tap(Segment segment) { wire(segment).tapped = true; }
    // What was recorded since the last call.
    std::vector<Sent> frames(Segment segment) { return std::exchange(wire(segment).seen, {}); }
    // Nanoseconds of CPU that the passes of the device's daemon have taken so far.
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
