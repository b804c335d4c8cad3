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
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "core/fd.h"
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

// A frame as it travelled on a segment.
struct SeenFrame {
    Frame bytes;

    MacAddr dst() const { return MacAddr(&bytes.at(0)); }
    MacAddr src() const { return MacAddr(&bytes.at(6)); }
    unsigned etherType() const { return u16(12); }
    unsigned type() const { return u16(16); }
    unsigned id() const { return u16(18); }
    unsigned fragId() const { return bytes.at(20); }
    bool last() const { return (bytes.at(21) & kLastFragment) != 0; }
    // Of the AL MAC TLV that the message begins with, zero when it begins with another.
    MacAddr alMac() const;

  private:
    unsigned u16(size_t at) const { return bytes.at(at) * 256U + bytes.at(at + 1); }
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
    // Connects interfaces: a frame that one sends reaches all others or, as behind a bridge that
    // has learnt, the one that its destination was heard from.
    Segment segment(const std::vector<Plug>& plugs);
    void attach(Segment segment, const Plug& plug);
    Segment cable(Device a, const std::string& intfA, Device b, const std::string& intfB);

    // Lets all devices come to rest, then does so once more after each second.
    void run(Seconds seconds = 0);

    // Cuts the power, and switches it on again.
    void kill(Device device);
    void start(Device device);
    std::string command(Device device, Command action, const std::string& argument = "");

    MacAddr alMac(Device device) const;
    MacAddr mac(Device device, const std::string& intf);
    // The file as the daemon wrote it last of its own accord.
    Json json(Device device) const;
    // The same and the change log, written on demand.
    Json jsonNow(Device device);
    Json changeLog(Device device);
    // What stands in "vm1905_APautoconfig.json".
    Json autoconfig(Device device) const;

    // Records what the segment carries from now on.
    void tap(Segment segment);
    // What was recorded since the last call.
    std::vector<SeenFrame> frames(Segment segment);
    // The number of IEEE 1905.1 frames that the devices have sent so far.
    size_t framesSent() const { return framesSent_; }

  private:
    struct End {
        size_t node;
        size_t intf;
        bool operator==(const End&) const = default;
    };
    using FramePtr = std::shared_ptr<const Frame>;
    struct Intf {
        SiteIntf site;
        Fd cable;  // the test's end
        std::optional<size_t> wire;
        std::deque<FramePtr> inbox;
    };
    struct Node {
        DeviceOptions options;
        Site site;
        std::vector<Intf> intfs;
        Fd control;
        pid_t pid = 0;  // 0: off
        bool started = false;
    };
    struct Wire {
        std::vector<End> ends;
        std::map<MacAddr, End> learned;
        bool tapped = false;
        std::vector<SeenFrame> seen;
    };

    Node& node(Device device) { return nodes_.at(static_cast<size_t>(device)); }
    const Node& node(Device device) const { return nodes_.at(static_cast<size_t>(device)); }
    Wire& wire(Segment segment) { return wires_.at(static_cast<size_t>(segment)); }
    Intf& intfOf(Node& node, const std::string& name);

    void switchOn(Node& node);
    void post(Node& node, Command action, const std::string& argument);
    std::string await(Node& node);
    void fail(Node& node, const std::string& what);
    void stopAll();

    void settle();
    bool deliver(Node& node);
    void collect(size_t index);
    void carry(size_t wireIndex, End from, const FramePtr& frame, unsigned hops);
    void arrive(End end, const FramePtr& frame, unsigned hops);

    const time_t patience_;
    std::string folder_;
    std::atomic<Seconds>* clock_ = nullptr;  // shared with the devices
    std::deque<Node> nodes_;
    std::vector<Wire> wires_;
    size_t framesSent_ = 0;
};

}  // namespace sim
