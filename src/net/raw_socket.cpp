#include "net/raw_socket.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kReceiveBuffer = 4 << 20;
constexpr int kSendTimeoutMicroseconds = 100'000;
constexpr uint16_t kAllProtocols = 0x0003;

ifreq requestFor(const char* name) {
    ifreq request{};
    snprintf(request.ifr_name, sizeof request.ifr_name, "%s", name);
    return request;
}

bool attachFilter(int fd, sock_filter* code, size_t length) {
    const sock_fprog program{static_cast<unsigned short>(length), code};
    return setsockopt(fd, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
}

// Lets only incoming frames of one EtherType pass.
bool filterEtherType(int fd, uint16_t etherType) {
    constexpr uint32_t kPacketType = static_cast<uint32_t>(SKF_AD_OFF + SKF_AD_PKTTYPE);
    std::array<sock_filter, 6> code{{
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, kPacketType},
        {BPF_JMP | BPF_JEQ | BPF_K, 3, 0, PACKET_OUTGOING},
        {BPF_LD | BPF_H | BPF_ABS, 0, 0, 12},
        {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, etherType},
        {BPF_RET | BPF_K, 0, 0, 0xFFFF},
        {BPF_RET | BPF_K, 0, 0, 0},
    }};
    return attachFilter(fd, code.data(), code.size());
}

template <typename Record>
bool readRecord(std::span<const char> bytes, Record& record) {
    if (bytes.size() < sizeof record) return false;
    memcpy(&record, bytes.data(), sizeof record);
    return true;
}

// Adds what the attributes of a link say.
void takeAttributes(std::span<const char> bytes, LinkEvent& event) {
    rtattr attribute{};
    while (readRecord(bytes, attribute) && attribute.rta_len >= sizeof attribute) {
        const size_t length = std::min<size_t>(attribute.rta_len, bytes.size());
        const auto value = bytes.subspan(sizeof attribute, length - sizeof attribute);
        if (attribute.rta_type == IFLA_MTU) (void)readRecord(value, event.mtu);
        if (attribute.rta_type == IFLA_IFNAME) event.name = {value.data(), value.size()};
        bytes = bytes.subspan(std::min<size_t>(RTA_ALIGN(length), bytes.size()));
    }
}

// Appends the links that one datagram of the kernel reports.
void takeLinks(std::span<const char> datagram, std::vector<LinkEvent>& events) {
    nlmsghdr header{};
    while (readRecord(datagram, header) && header.nlmsg_len >= sizeof header) {
        const size_t length = std::min<size_t>(header.nlmsg_len, datagram.size());
        const auto body = datagram.subspan(sizeof header, length - sizeof header);
        const bool isNew = header.nlmsg_type == RTM_NEWLINK;
        ifinfomsg link{};
        if ((isNew || header.nlmsg_type == RTM_DELLINK) && readRecord(body, link)) {
            LinkEvent event{static_cast<unsigned>(link.ifi_index),
                            static_cast<short>(link.ifi_flags)};
            if (isNew) takeAttributes(body.subspan(NLMSG_ALIGN(sizeof link)), event);
            events.push_back(event);
        }
        datagram = datagram.subspan(std::min<size_t>(NLMSG_ALIGN(length), datagram.size()));
    }
}

}  // namespace

std::string interfaceName(unsigned ifIndex) {
    std::array<char, IF_NAMESIZE> name{};
    return if_indextoname(ifIndex, name.data()) != nullptr ? name.data() : "";
}

std::map<unsigned, std::string> interfaceNames() {
    std::map<unsigned, std::string> names;
    struct if_nameindex* const all = if_nameindex();
    for (const auto* entry = all; entry != nullptr && entry->if_index != 0; entry++) {
        names[entry->if_index] = entry->if_name;
    }
    if (all != nullptr) if_freenameindex(all);  // the C library does not check
    return names;
}

int openRawSocket() {
    // With protocol 0 the socket receives no frames of other interfaces before it is bound.
    const int fd = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
    // A driver with a full queue must not stall the daemon.
    const timeval limit{0, kSendTimeoutMicroseconds};
    if (fd >= 0) (void)setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    return fd;
}

bool isBridgePort(unsigned ifIndex) {
    const std::string name = interfaceName(ifIndex);
    struct stat info {};
    return !name.empty() && stat(("/sys/class/net/" + name + "/brport").c_str(), &info) == 0;
}

bool bindRawSocket(int fd, unsigned ifIndex, uint16_t etherType, bool onBridge) {
    if (!filterEtherType(fd, etherType)) return false;
    if (onBridge) {
        // Kernels that know this option skip outgoing frames before they reach the filter.
        const int on = 1;
        (void)setsockopt(fd, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on);
    }
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    // A bridge takes its ports' frames before a socket bound to an EtherType sees them.
    address.sll_protocol = htons(onBridge ? kAllProtocols : etherType);
    address.sll_ifindex = static_cast<int>(ifIndex);
    return bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void stopReceiving(int fd) {
    std::array<sock_filter, 1> code{{{BPF_RET | BPF_K, 0, 0, 0}}};
    (void)attachFilter(fd, code.data(), code.size());
}

void growReceiveBuffer(int fd) {
    if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer, sizeof kReceiveBuffer) != 0) {
        (void)setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
    }
}

bool interfaceFlags(int fd, const char* name, short& flags) {
    ifreq request = requestFor(name);
    if (ioctl(fd, SIOCGIFFLAGS, &request) != 0) return false;
    flags = request.ifr_flags;
    return true;
}

bool acceptAllMulticasts(int fd, const char* name) {
    ifreq request = requestFor(name);
    const bool known = ioctl(fd, SIOCGIFFLAGS, &request) == 0;
    const bool wasSet = (request.ifr_flags & IFF_ALLMULTI) != 0;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_ALLMULTI);
    return ioctl(fd, SIOCSIFFLAGS, &request) == 0 && known && !wasSet;
}

void stopAllMulticasts(int fd, const char* name) {
    ifreq request = requestFor(name);
    if (ioctl(fd, SIOCGIFFLAGS, &request) != 0) return;
    request.ifr_flags = static_cast<short>(request.ifr_flags & ~IFF_ALLMULTI);
    (void)ioctl(fd, SIOCSIFFLAGS, &request);
}

int interfaceMtu(int fd, const char* name) {
    ifreq request = requestFor(name);
    return ioctl(fd, SIOCGIFMTU, &request) == 0 ? request.ifr_mtu : -1;
}

ssize_t writeFrame(int fd, std::span<const uint8_t> frame) {
    return write(fd, frame.data(), frame.size());
}

int waitReadable(int limit, fd_set& readable, int milliseconds) {
    timeval timeout{milliseconds / 1000, suseconds_t{milliseconds} % 1000 * 1000};
    return select(limit, &readable, nullptr, nullptr, &timeout);
}

Fd openLinkEvents() {
    Fd fd(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK;
    if (fd.get() >= FD_SETSIZE ||
        bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return {};
    }
    return fd;
}

bool readLinkEvents(int fd, std::vector<LinkEvent>& events) {
    std::array<char, 16384> datagram;
    bool complete = true;
    for (;;) {
        sockaddr_nl sender{};
        socklen_t length = sizeof sender;
        const ssize_t size = recvfrom(fd, datagram.data(), datagram.size(), MSG_DONTWAIT,
                                      reinterpret_cast<sockaddr*>(&sender), &length);
        if (size < 0 && errno == ENOBUFS) {
            complete = false;
        } else if (size < 0 && errno != EINTR) {
            return complete;
        } else if (size > 0 && sender.nl_pid == 0) {  // other processes may write here, too
            takeLinks(std::span(datagram).first(static_cast<size_t>(size)), events);
        }
    }
}
