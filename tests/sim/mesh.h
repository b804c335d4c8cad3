// A whole mesh in one test: every device a forked process, every cable in the hands of the test,
// one clock that the test advances. Between two seconds the devices run until none of them has
// anything left to receive. All of it is deterministic: frames travel in the order of the devices.
//
//     Mesh mesh;
//     const Device a = mesh.addDevice("a");
//     const Device b = mesh.addDevice("b", {.intfs = {"eth0", "eth1"}});
//     mesh.cable(a, "eth0", b, "eth1");
//     mesh.run(10);
//     mesh.json(a)["Device"]...
//
// Whatever goes wrong with a device (it dies, or does not answer in time) is thrown as
// std::runtime_error with the end of its log. A device that a sanitizer complains about at its end
// fails the test.
#pragma once

#include <sys/types.h>

#include <deque>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "base/fd.h"
#include "sim/device.h"
#include "support/frames.h"

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
    // Gives up when a device does not answer for so many real seconds.
    explicit Mesh(time_t patience = 20);
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
    void kill(Device device) { powerOff(node(device)); }
    void start(Device device);
    std::string command(Device device, Command action);

    std::string alMac(Device device) { return macText(node(device).alMac); }
    std::string mac(Device device, const std::string& intf) {
        return macText(intfOf(device, intf).mac);
    }
    // A file as the daemon wrote it last; now: the data model, written on demand.
    Json json(Device device, const std::string& file = "vm1905.json");
    Json jsonNow(Device device);

    // Records the IEEE 1905.1 frames that the segment carries from now on.
    void tap(Segment segment) { wire(segment).tapped = true; }
    // What was recorded since the last call.
    std::vector<Sent> frames(Segment segment) { return std::exchange(wire(segment).seen, {}); }
    // The number of IEEE 1905.1 frames that the devices have sent so far.
    size_t framesSent() const { return framesSent_; }

  private:
    struct Wire;
    struct Intf {
        std::string name;
        MacAddr mac;
        Fd cable{};  // the test's end
        Wire* wire = nullptr;
        std::deque<Frame> inbox{};
    };
    struct Node {
        std::string name, folder;
        MacAddr alMac;
        DeviceOptions options;
        std::vector<Intf> intfs{};
        Fd control{};
        pid_t pid = 0;  // 0: off
        bool started = false;
    };
    struct End {
        Node* node;
        Intf* intf;
    };
    struct Wire {
        std::vector<End> ends;
        bool tapped = false;
        std::vector<Sent> seen;
    };

    Node& node(Device device) { return nodes_.at(static_cast<size_t>(device)); }
    Wire& wire(Segment segment) { return wires_.at(static_cast<size_t>(segment)); }
    Intf& intfOf(Device device, const std::string& name);

    void post(Node& node, Command action);
    std::string await(Node& node);
    void powerOff(Node& node);
    [[noreturn]] void fail(Node& node, const std::string& what);

    void settle();
    bool deliver(Node& node);
    void collect(Node& node);
    void carry(Wire& wire, const Intf& from, const Frame& frame);

    const time_t patience_;
    std::string folder_ = "/tmp/sim_XXXXXX";
    std::atomic<Seconds>* clock_ = nullptr;  // shared with the devices
    std::deque<Node> nodes_;
    std::deque<Wire> wires_;
    size_t framesSent_ = 0;
};

}  // namespace sim
