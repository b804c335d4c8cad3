#include "sim/mesh.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <stdexcept>
#include <system_error>

namespace sim {
namespace {

constexpr Seconds kBeginning = 1'700'000'000;
constexpr size_t kBatch = 32;      // frames an interface and round; every buffer holds them
constexpr size_t kLogTail = 3000;  // shown of a failed device

std::system_error systemError(const char* what) {
    return {errno, std::generic_category(), what};
}

std::array<Fd, 2> socketPair(int flags) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0, ends.data()) != 0) {
        throw systemError("socketpair");
    }
    return {Fd(ends[0]), Fd(ends[1])};
}

std::string endOfLog(const std::string& folder) {
    std::ifstream file(folder + "/log");
    const std::string log{std::istreambuf_iterator<char>(file), {}};
    return "; its log ends:\n" + log.substr(log.size() - std::min(log.size(), kLogTail));
}

}  // namespace

Mesh::Mesh(time_t patience) : patience_(patience) {
    if (mkdtemp(folder_.data()) == nullptr) throw systemError("mkdtemp");
    void* shared =
        mmap(nullptr, sizeof *clock_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) throw systemError("mmap");
    clock_ = new (shared) std::atomic<Seconds>(kBeginning);
    static_assert(std::atomic<Seconds>::is_always_lock_free);
}

// The devices end all at once when nobody commands them any more.
Mesh::~Mesh() {
    for (auto& node : nodes_) node.control = Fd();
    for (auto& node : nodes_) {
        int status = 0;
        if (node.pid != 0) (void)waitpid(node.pid, &status, 0);
        if (status == 0) continue;
        ADD_FAILURE() << "device " << node.name << " ended with status " << status
                      << endOfLog(node.folder);
    }
    munmap(clock_, sizeof *clock_);
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

Device Mesh::addDevice(const std::string& name, DeviceOptions options) {
    const size_t number = nodes_.size() + 1;
    MacAddr mac{0x02, 0x19, 0x05, static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number),
                0};
    Node& node = nodes_.emplace_back(Node{name, folder_ + "/" + name, mac, std::move(options)});
    std::filesystem::create_directory(node.folder);
    for (const auto& intf : node.options.intfs) {
        mac.b[5]++;
        node.intfs.push_back({intf, mac});
    }
    return Device(number - 1);
}

Mesh::Intf& Mesh::intfOf(Device device, const std::string& name) {
    for (auto& intf : node(device).intfs) {
        if (intf.name == name) return intf;
    }
    throw std::invalid_argument("device " + node(device).name + " has no interface " + name);
}

Segment Mesh::segment(const std::vector<Plug>& plugs) {
    wires_.emplace_back();
    const Segment added{wires_.size() - 1};
    for (const auto& plug : plugs) attach(added, plug);
    return added;
}

void Mesh::attach(Segment segment, const Plug& plug) {
    Intf& intf = intfOf(plug.device, plug.intf);
    intf.wire = &wire(segment);
    intf.wire->ends.push_back({&node(plug.device), &intf});
}

// Devices.

void Mesh::start(Device device) {
    Node& started = node(device);
    auto [control, deviceControl] = socketPair(0);
    const timeval patience{patience_, 0};
    (void)setsockopt(control.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    started.control = std::move(control);
    Site site{started.name, started.folder, started.alMac, deviceControl.get(), clock_};
    std::vector<Fd> deviceEnds;
    for (auto& intf : started.intfs) {
        auto [cable, deviceEnd] = socketPair(SOCK_NONBLOCK);
        intf.cable = std::move(cable);
        site.intfs.push_back({intf.name, intf.mac, deviceEnd.get()});
        deviceEnds.push_back(std::move(deviceEnd));
    }
    fflush(nullptr);
    started.pid = fork();
    if (started.pid < 0) throw systemError("fork");
    if (started.pid == 0) {
        (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
        const DeviceOptions options = started.options;
        // Low descriptors must be free for the daemon's select, and no device may hold another's
        // cable.
        nodes_.clear();
        runDevice(options, site);
    }
    started.started = true;
    deviceControl = Fd();
    (void)await(started);
    collect(started);
}

void Mesh::powerOff(Node& node) {
    if (node.pid != 0) {
        (void)::kill(node.pid, SIGKILL);
        (void)waitpid(node.pid, nullptr, 0);
    }
    node.pid = 0;
    node.control = Fd();
    for (auto& intf : node.intfs) {
        intf.cable = Fd();
        intf.inbox.clear();
    }
}

std::string Mesh::command(Device device, Command action) {
    post(node(device), action);
    return await(node(device));
}

void Mesh::post(Node& node, Command action) {
    if (send(node.control.get(), &action, sizeof action, MSG_NOSIGNAL) < 0) fail(node, "is gone");
}

std::string Mesh::await(Node& node) {
    std::array<char, 1 << 16> answer;
    const ssize_t size = recv(node.control.get(), answer.data(), answer.size(), 0);
    if (size <= 0) fail(node, size == 0 ? "has died" : "does not answer");
    return {answer.data(), static_cast<size_t>(size - 1)};
}

void Mesh::fail(Node& node, const std::string& what) {
    powerOff(node);
    throw std::runtime_error("device " + node.name + " " + what + endOfLog(node.folder));
}

// Time and frames.

void Mesh::run(Seconds seconds) {
    for (size_t i = 0; i < nodes_.size(); i++) {
        if (!nodes_[i].started) start(Device(i));
    }
    settle();
    for (; seconds > 0; seconds--) {
        clock_->fetch_add(1);
        settle();
    }
}

// Rounds, in each of which the devices work at the same time: nothing that one of them sends
// reaches another before the next round.
void Mesh::settle() {
    const size_t limit = framesSent_ + 1000 + 200 * nodes_.size() * nodes_.size();
    std::vector<Node*> due;
    for (auto& node : nodes_) {
        (void)deliver(node);
        if (node.pid != 0) due.push_back(&node);
    }
    while (!due.empty()) {
        for (Node* node : due) post(*node, step);
        for (Node* node : due) (void)await(*node);
        for (Node* node : due) collect(*node);
        if (framesSent_ > limit) throw std::runtime_error("the mesh does not come to rest");
        due.clear();
        for (auto& node : nodes_) {
            if (deliver(node)) due.push_back(&node);
        }
    }
}

// Hands the device a batch of what has arrived for it. True when there was anything.
bool Mesh::deliver(Node& node) {
    bool any = false;
    for (auto& intf : node.intfs) {
        for (size_t n = 0; n < kBatch && !intf.inbox.empty(); n++) {
            const Frame& frame = intf.inbox.front();
            // A full buffer means that nobody reads: the frame is lost, as on a real interface.
            (void)send(intf.cable.get(), frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            intf.inbox.pop_front();
            any = true;
        }
    }
    return any;
}

// Takes what the device has sent.
void Mesh::collect(Node& node) {
    std::array<uint8_t, 4096> buffer;
    for (const auto& intf : node.intfs) {
        for (;;) {
            const ssize_t size = recv(intf.cable.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
            if (size <= 0) break;
            const Frame frame(buffer.begin(), buffer.begin() + size);
            // A bridge keeps LLDP to itself, and the daemon does not listen to it.
            if (frame.at(12) * 256U + frame.at(13) != kEtherType1905) continue;
            framesSent_++;
            if (intf.wire != nullptr) carry(*intf.wire, intf, frame);
        }
    }
}

void Mesh::carry(Wire& wire, const Intf& from, const Frame& frame) {
    if (wire.tapped) wire.seen.push_back(decodeFrame(frame));
    const MacAddr dst(frame.data());
    for (const auto& [node, intf] : wire.ends) {
        if (intf == &from || node->pid == 0) continue;
        const bool own = dst == node->alMac ||
                         std::ranges::find(node->intfs, dst, &Intf::mac) != node->intfs.end();
        if (own || node->options.forwards || (dst.b[0] & 1) != 0) {
            intf->inbox.push_back(frame);
        }
        if (!node->options.forwards || own) continue;
        for (const auto& other : node->intfs) {
            if (&other != intf && other.wire != nullptr) carry(*other.wire, other, frame);
        }
    }
}

// What a device knows.

Json Mesh::json(Device device, const std::string& file) {
    std::ifstream content(node(device).folder + "/" + file);
    return Json::parse(content);
}

Json Mesh::jsonNow(Device device) {
    (void)command(device, writeDataModel);
    return json(device);
}

}  // namespace sim
