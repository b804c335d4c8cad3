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
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <stdexcept>
#include <system_error>

namespace sim {
namespace {

namespace fs = std::filesystem;

constexpr Seconds kBeginning = 1'700'000'000;
constexpr size_t kBatch = 32;            // frames an interface and round; every buffer holds them
constexpr size_t kLogTail = 3000;        // shown of a failed device
constexpr unsigned kMaxHops = 64;        // through forwarding devices
constexpr size_t kMaxFolder = 31;        // of the daemon's options
constexpr size_t kMaxMessage = 1 << 16;  // on a control socket
constexpr uint8_t kGroupBit = 0x01;

std::runtime_error systemError(const char* what) {
    return std::runtime_error(std::string(what) + ": " + strerror(errno));
}

std::array<Fd, 2> socketPair(int flags) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0, ends.data()) != 0) {
        throw systemError("socketpair");
    }
    return {Fd(ends[0]), Fd(ends[1])};
}

std::string readFile(const std::string& path) {
    std::string content(fs::exists(path) ? fs::file_size(path) : 0, '\0');
    std::ifstream(path, std::ios::binary).read(content.data(), std::ssize(content));
    return content;
}

std::string endOf(const std::string& path) {
    const std::string content = readFile(path);
    return content.substr(content.size() - std::min(content.size(), kLogTail));
}

unsigned etherType(const Frame& frame) {
    return frame.at(12) * 256U + frame.at(13);
}

}  // namespace

MacAddr SeenFrame::alMac() const {
    constexpr size_t kTlv = 22;
    const bool leads = bytes.size() >= kTlv + 9 && bytes[kTlv] == 1 && bytes[kTlv + 2] == 6;
    return leads ? MacAddr(&bytes.at(kTlv + 3)) : MacAddr{};
}

Mesh::Mesh(time_t patience) : patience_(patience) {
    std::string folder = "/tmp/sim_XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) throw systemError("mkdtemp");
    folder_ = folder;
    void* shared =
        mmap(nullptr, sizeof *clock_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) throw systemError("mmap");
    clock_ = new (shared) std::atomic<Seconds>(kBeginning);
    static_assert(std::atomic<Seconds>::is_always_lock_free);
}

Mesh::~Mesh() {
    stopAll();
    munmap(clock_, sizeof *clock_);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

Device Mesh::addDevice(const std::string& name, DeviceOptions options) {
    const size_t index = nodes_.size();
    const auto high = static_cast<uint8_t>((index + 1) >> 8);
    const auto low = static_cast<uint8_t>(index + 1);
    Node& node = nodes_.emplace_back();
    node.site = {.name = name,
                 .folder = folder_ + "/" + name,
                 .alMac = {0x02, 0x19, 0x05, high, low, 0},
                 .clock = clock_};
    if (node.site.folder.size() > kMaxFolder || !fs::create_directory(node.site.folder)) {
        throw std::invalid_argument("no folder for device " + name);
    }
    for (const auto& intf : options.intfs) {
        const auto number = static_cast<uint8_t>(node.intfs.size() + 1);
        Intf& added = node.intfs.emplace_back();
        added.site = {
            .name = intf, .mac = {0x02, 0x19, 0x05, high, low, number}, .ifIndex = number + 1U};
    }
    node.options = std::move(options);
    return Device(index);
}

Mesh::Intf& Mesh::intfOf(Node& node, const std::string& name) {
    for (auto& intf : node.intfs) {
        if (intf.site.name == name) return intf;
    }
    throw std::invalid_argument("device " + node.site.name + " has no interface " + name);
}

Segment Mesh::segment(const std::vector<Plug>& plugs) {
    wires_.emplace_back();
    const Segment added{wires_.size() - 1};
    for (const auto& plug : plugs) attach(added, plug);
    return added;
}

void Mesh::attach(Segment segment, const Plug& plug) {
    Intf& intf = intfOf(node(plug.device), plug.intf);
    if (intf.wire) throw std::invalid_argument(plug.intf + " is attached already");
    intf.wire = static_cast<size_t>(segment);
    wire(segment).ends.push_back(
        {static_cast<size_t>(plug.device), static_cast<size_t>(intf.site.mac.b.back() - 1)});
}

Segment Mesh::cable(Device a, const std::string& intfA, Device b, const std::string& intfB) {
    return segment({{a, intfA}, {b, intfB}});
}

// Devices.

void Mesh::switchOn(Node& node) {
    auto [control, deviceControl] = socketPair(0);
    const timeval patience{patience_, 0};
    (void)setsockopt(control.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    Site site = node.site;
    site.control = deviceControl.get();
    std::vector<Fd> deviceEnds;
    for (auto& intf : node.intfs) {
        auto [cable, deviceEnd] = socketPair(SOCK_NONBLOCK);
        intf.cable = std::move(cable);
        intf.inbox.clear();
        site.intfs.push_back(intf.site);
        site.intfs.back().cable = deviceEnd.get();
        deviceEnds.push_back(std::move(deviceEnd));
    }
    const pid_t test = getpid();
    fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw systemError("fork");
    if (child == 0) {
        (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != test) _exit(EXIT_FAILURE);
        runDevice(node.options, site);
    }
    node.pid = child;
    node.control = std::move(control);
    node.started = true;
    deviceControl = Fd();
    (void)await(node);
}

void Mesh::start(Device device) {
    Node& started = node(device);
    if (started.pid != 0) throw std::invalid_argument(started.site.name + " is on already");
    switchOn(started);
    collect(static_cast<size_t>(device));
}

void Mesh::kill(Device device) {
    Node& killed = node(device);
    if (killed.pid == 0) throw std::invalid_argument(killed.site.name + " is off");
    (void)::kill(killed.pid, SIGKILL);
    (void)waitpid(killed.pid, nullptr, 0);
    killed.pid = 0;
    killed.control = Fd();
    for (auto& intf : killed.intfs) {
        intf.cable = Fd();
        intf.inbox.clear();
    }
}

std::string Mesh::command(Device device, Command action, const std::string& argument) {
    post(node(device), action, argument);
    return await(node(device));
}

void Mesh::post(Node& node, Command action, const std::string& argument) {
    if (node.pid == 0) throw std::invalid_argument("device " + node.site.name + " is off");
    std::string message(sizeof action, '\0');
    std::memcpy(message.data(), &action, sizeof action);
    message += argument;
    if (send(node.control.get(), message.data(), message.size(), MSG_NOSIGNAL) < 0) {
        fail(node, "is gone");
    }
}

std::string Mesh::await(Node& node) {
    std::array<char, kMaxMessage> buffer;
    const ssize_t size = recv(node.control.get(), buffer.data(), buffer.size(), 0);
    if (size < 0) fail(node, "does not answer");
    if (size == 0) fail(node, "has died");
    std::string answer(buffer.data(), static_cast<size_t>(size));
    if (answer.front() != '+') fail(node, "reports: " + answer.substr(1));
    return answer.substr(1);
}

void Mesh::fail(Node& node, const std::string& what) {
    (void)::kill(node.pid, SIGKILL);
    (void)waitpid(node.pid, nullptr, 0);
    node.pid = 0;
    throw std::runtime_error("device " + node.site.name + " " + what + "; its log ends:\n" +
                             endOf(node.site.folder + "/log"));
}

// All at once, then each is waited for: its end of the control socket closes when it is dead.
void Mesh::stopAll() {
    for (auto& node : nodes_) {
        if (node.pid != 0) (void)shutdown(node.control.get(), SHUT_WR);
    }
    for (auto& node : nodes_) {
        if (node.pid == 0) continue;
        char answer = 0;  // to a command that nobody waited for
        ssize_t size = 0;
        do {
            size = recv(node.control.get(), &answer, sizeof answer, 0);
        } while (size > 0);
        if (size < 0) (void)::kill(node.pid, SIGKILL);
        int status = 0;
        (void)waitpid(node.pid, &status, 0);
        if (status == 0) continue;
        ADD_FAILURE() << "device " << node.site.name << " ended with status " << status
                      << "; its log ends:\n"
                      << endOf(node.site.folder + "/log");
    }
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
    std::vector<bool> due;
    for (auto& node : nodes_) {
        (void)deliver(node);
        due.push_back(node.pid != 0);
    }
    while (std::find(due.begin(), due.end(), true) != due.end()) {
        for (size_t i = 0; i < nodes_.size(); i++) {
            if (due[i]) post(nodes_[i], step, "");
        }
        for (size_t i = 0; i < nodes_.size(); i++) {
            if (due[i]) (void)await(nodes_[i]);
        }
        for (size_t i = 0; i < nodes_.size(); i++) {
            if (due[i]) collect(i);
        }
        if (framesSent_ > limit) throw std::runtime_error("the mesh does not come to rest");
        for (size_t i = 0; i < nodes_.size(); i++) due[i] = deliver(nodes_[i]);
    }
}

// Hands the device a batch of what has arrived for it. True when there was anything.
bool Mesh::deliver(Node& node) {
    bool any = false;
    for (auto& intf : node.intfs) {
        for (size_t n = 0; n < kBatch && !intf.inbox.empty(); n++) {
            const Frame& frame = *intf.inbox.front();
            // A full buffer means that nobody reads: the frame is lost, as on a real interface.
            (void)send(intf.cable.get(), frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            intf.inbox.pop_front();
            any = true;
        }
    }
    return any;
}

// Takes what the device has sent.
void Mesh::collect(size_t index) {
    std::array<uint8_t, 4096> buffer;
    for (size_t i = 0; i < nodes_[index].intfs.size(); i++) {
        const Intf& intf = nodes_[index].intfs[i];
        for (;;) {
            const ssize_t size = recv(intf.cable.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
            if (size <= 0) break;
            const auto frame = std::make_shared<Frame>(buffer.begin(), buffer.begin() + size);
            framesSent_ += etherType(*frame) == kEtherType1905;
            if (intf.wire) carry(*intf.wire, End{index, i}, frame, 0);
        }
    }
}

void Mesh::carry(size_t wireIndex, End from, const FramePtr& frame, unsigned hops) {
    if (hops > kMaxHops) throw std::runtime_error("the devices forward in a loop");
    Wire& wire = wires_[wireIndex];
    if (wire.tapped) wire.seen.push_back({*frame});
    // A bridge keeps LLDP to itself, and the daemon does not listen to it.
    if (etherType(*frame) != kEtherType1905) return;
    const MacAddr dst(frame->data());
    wire.learned[MacAddr(&frame->at(6))] = from;
    const auto known = wire.learned.find(dst);
    const bool flood = (dst.b[0] & kGroupBit) != 0 || known == wire.learned.end();
    for (const End& end : wire.ends) {
        if (from == end || (!flood && known->second != end)) continue;
        arrive(end, frame, hops);
    }
}

void Mesh::arrive(End end, const FramePtr& frame, unsigned hops) {
    Node& node = nodes_[end.node];
    if (node.pid == 0) return;
    node.intfs[end.intf].inbox.push_back(frame);
    const MacAddr dst(frame->data());
    if (!node.options.forwards || dst == node.intfs[end.intf].site.mac) return;
    for (size_t i = 0; i < node.intfs.size(); i++) {
        const Intf& other = node.intfs[i];
        if (i == end.intf || !other.wire) continue;
        carry(*other.wire, End{end.node, i}, frame, hops + 1);
    }
}

void Mesh::tap(Segment segment) {
    wire(segment).tapped = true;
}

std::vector<SeenFrame> Mesh::frames(Segment segment) {
    return std::exchange(wire(segment).seen, {});
}

// What a device knows.

MacAddr Mesh::alMac(Device device) const {
    return node(device).site.alMac;
}

MacAddr Mesh::mac(Device device, const std::string& intf) {
    return intfOf(node(device), intf).site.mac;
}

Json Mesh::json(Device device) const {
    return Json::parse(readFile(node(device).site.folder + "/vm1905.json"));
}

Json Mesh::jsonNow(Device device) {
    (void)command(device, writeDataModel);
    return json(device);
}

Json Mesh::changeLog(Device device) {
    (void)command(device, writeChangeLog);
    return Json::parse(readFile(node(device).site.folder + "/vm1905_log.json"));
}

Json Mesh::autoconfig(Device device) const {
    return Json::parse(readFile(node(device).site.folder + "/vm1905_APautoconfig.json"));
}

}  // namespace sim
