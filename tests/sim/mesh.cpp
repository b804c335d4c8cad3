#include "sim/mesh.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "publish/json_data_model.h"

namespace sim {
namespace {

constexpr Seconds kBeginning = 1'700'000'000;
constexpr size_t kBatch = 32;  // frames per interface and round, which fit into every buffer

int64_t cpuNanoseconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return time.tv_sec * 1'000'000'000L + time.tv_nsec;
}

// Hundreds of devices need more descriptors than a process may open by default.
void allowManyDescriptors() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

Mesh::Mesh() {
    if (mkdtemp(folder_.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    }
    allowManyDescriptors();
    DEBUGLEVEL = 0;
    setTestTime(kBeginning);
}

Mesh::~Mesh() {
    nodes_.clear();
    const char* check = getenv("VM1905_CHECK_FILES");
    if (check != nullptr && pclose(popen((check + (" " + folder_)).c_str(), "w")) != 0) abort();
    freshDevice();
    useSystemClock();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

Device Mesh::addDevice(const std::string& name, DeviceOptions options) {
    const size_t number = nodes_.size() + 1;
    MacAddr mac{0x02, 0x19, 0x05, static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number),
                0};
    Node& added = nodes_.emplace_back(Node{std::move(options), {name, folder_ + "/" + name, mac}});
    std::filesystem::create_directory(added.site.folder);
    for (const auto& intf : added.options.intfs) {
        mac.b[5]++;
        added.site.intfs.push_back({intf, mac});
    }
    added.intfs.resize(added.site.intfs.size());
    return Device(number - 1);
}

Segment Mesh::segment(const std::vector<Plug>& plugs) {
    wires_.emplace_back();
    const Segment added{wires_.size() - 1};
    for (const auto& plug : plugs) attach(added, plug);
    return added;
}

void Mesh::attach(Segment segment, const Plug& plug) {
    Node& plugged = node(plug.device);
    const auto& intfs = plugged.site.intfs;
    const auto it = std::ranges::find(intfs, plug.intf, &Site::Intf::name);
    if (it == intfs.end()) {
        throw std::invalid_argument(plugged.site.name + " has no interface " + plug.intf);
    }
    const auto intf = static_cast<size_t>(it - intfs.begin());
    plugged.intfs[intf].wire = &wire(segment);
    wire(segment).ends.push_back({&plugged, intf});
}

std::vector<Device> Mesh::addSegment(size_t count, Seconds spacing) {
    std::vector<Device> devices;
    const Segment common = segment({});
    for (size_t i = 0; i < count; i++) {
        devices.push_back(addDevice("d" + std::to_string(i)));
        attach(common, {devices.back(), "eth0"});
        if (spacing > 0) run(spacing);
    }
    return devices;
}

void Mesh::start(Device device) {
    Node& started = node(device);
    started.running = std::make_unique<RunningDevice>(started.options, started.site);
    started.started = true;
    collect(started);
}

void Mesh::kill(Device device) {
    Node& killed = node(device);
    killed.running.reset();
    for (auto& intf : killed.intfs) intf.inbox.clear();
}

void Mesh::run(Seconds seconds) {
    for (size_t i = 0; i < nodes_.size(); i++) {
        if (!nodes_[i].started) start(Device(i));
    }
    settle();
    for (; seconds > 0; seconds--) {
        advance(1);
        settle();
    }
}

// Works in rounds: what a device sends in one round reaches the others in the next.
void Mesh::settle() {
    const size_t limit = framesSent_ + 1000 + 200 * nodes_.size() * nodes_.size();
    std::vector<Node*> due;
    for (auto& node : nodes_) {
        (void)deliver(node);
        if (node.running) due.push_back(&node);
    }
    while (!due.empty()) {
        for (Node* node : due) {
            const int64_t begin = cpuNanoseconds();
            node->running->run(step);
            node->cpuTime += cpuNanoseconds() - begin;
        }
        for (Node* node : due) collect(*node);
        if (framesSent_ > limit) throw std::runtime_error("the mesh never stops sending");
        due.clear();
        for (auto& node : nodes_) {
            if (deliver(node)) due.push_back(&node);
        }
    }
}

// Delivers a batch of frames to the device. True if there was at least one.
bool Mesh::deliver(Node& node) {
    if (!node.running) return false;
    bool any = false;
    for (size_t i = 0; i < node.intfs.size(); i++) {
        auto& inbox = node.intfs[i].inbox;
        for (size_t n = 0; n < kBatch && !inbox.empty(); n++) {
            // If the buffer is full the frame is lost, as on a real interface.
            (void)node.running->run(
                [&] { return fakeNet().inject(node.site.intfs[i].name, inbox.front()); });
            inbox.pop_front();
            any = true;
        }
    }
    return any;
}

// Takes what the device has sent. LLDP is dropped: bridges do not forward it, and the daemon does
// not receive it.
void Mesh::collect(Node& node) {
    for (size_t i = 0; i < node.intfs.size(); i++) {
        const std::string& name = node.site.intfs[i].name;
        const auto frames = node.running->run([&] {
            (void)fakeNet().captureFrames(name, kEtherTypeLldp);
            return fakeNet().captureFrames(name);
        });
        for (const auto& frame : frames) {
            framesSent_++;
            if (node.intfs[i].wire != nullptr) carry(*node.intfs[i].wire, node, i, frame);
        }
    }
}

void Mesh::carry(Wire& wire, const Node& from, size_t fromIntf, const Frame& frame) {
    if (wire.tapped) wire.seen.push_back(decodeFrame(frame));
    const MacAddr dst(frame.data());
    for (const auto& [node, intf] : wire.ends) {
        if ((node == &from && intf == fromIntf) || !node->running) continue;
        const Site& site = node->site;
        const bool own = dst == site.alMac ||
                         std::ranges::find(site.intfs, dst, &Site::Intf::mac) != site.intfs.end();
        if (own || node->options.forwards || (dst.b[0] & 1) != 0) {
            node->intfs[intf].inbox.push_back(frame);
        }
        if (!node->options.forwards || own) continue;
        for (size_t other = 0; other < node->intfs.size(); other++) {
            Wire* next = node->intfs[other].wire;
            if (other != intf && next != nullptr) carry(*next, *node, other, frame);
        }
    }
}

Json Mesh::json(Device device, const std::string& file) {
    std::ifstream content(node(device).site.folder + "/" + file);
    return Json::parse(content);
}

Json Mesh::jsonNow(Device device) {
    in(device, [] { return writeJsonDataModel(); });
    return json(device);
}

}  // namespace sim
