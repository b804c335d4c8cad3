#include "netctrl/netlink.h"

#include <linux/rtnetlink.h>
#include <netlink/errno.h>
#include <netlink/handlers.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "common/log.h"

namespace {

int handOver(nl_msg* message, void* arg) {
    (*static_cast<const NetlinkSocket::OnMessage*>(arg))(nlmsg_hdr(message));
    return NL_OK;
}

// The rest waits for the next call, so that a storm of notifications cannot hold up the caller.
constexpr int kMaxReadsPerDrain = 1000;

}  // namespace

std::optional<NetlinkSocket> NetlinkSocket::open(int protocol, std::chrono::milliseconds most) {
    NetlinkSocket socket(nl_socket_alloc());
    if (socket.sock_ == nullptr) return std::nullopt;
    const int error = nl_connect(socket.sock_.get(), protocol);
    if (error < 0) {
        LOG_LINE(1, "can't open a netlink socket: %s", nl_geterror(error));
        return std::nullopt;
    }
    const auto whole = std::chrono::floor<std::chrono::seconds>(most);
    const timeval limit{whole.count(), std::chrono::microseconds(most - whole).count()};
    setsockopt(nl_socket_get_fd(socket.sock_.get()), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    return socket;
}

std::optional<NetlinkSocket> NetlinkSocket::openEvents(bool withRoutes) {
    std::optional<NetlinkSocket> socket = open(NETLINK_ROUTE);
    if (!socket) return std::nullopt;
    nl_sock* sock = socket->sock_.get();
    nl_socket_disable_seq_check(sock);
    int error = nl_socket_add_memberships(sock, RTNLGRP_LINK, RTNLGRP_NEIGH, RTNLGRP_IPV4_IFADDR,
                                          RTNLGRP_IPV6_IFADDR, 0);
    if (withRoutes && error >= 0) {
        error = nl_socket_add_memberships(sock, RTNLGRP_IPV4_ROUTE, RTNLGRP_IPV6_ROUTE, 0);
    }
    if (error < 0 || nl_socket_set_nonblocking(sock) < 0) {
        LOG_LINE(1, "can't watch the network interfaces: %s", nl_geterror(error));
        return std::nullopt;
    }
    return socket;
}

int NetlinkSocket::receive(const OnMessage& take) {
    nl_socket_modify_cb(sock_.get(), NL_CB_VALID, NL_CB_CUSTOM, handOver,
                        const_cast<OnMessage*>(&take));
    return nl_recvmsgs_default(sock_.get());
}

bool NetlinkSocket::request(int type, int flags, std::span<const uint8_t> payload,
                            const OnMessage& take) {
    // An acknowledgement after the answer would be mistaken for the next answer.
    nl_socket_disable_auto_ack(sock_.get());
    const int sent = nl_send_simple(sock_.get(), type, flags, const_cast<uint8_t*>(payload.data()),
                                    payload.size());
    return sent >= 0 && receive(take) >= 0;
}

bool NetlinkSocket::order(int type, std::span<const uint8_t> payload) {
    nl_socket_enable_auto_ack(sock_.get());
    const int sent =
        nl_send_simple(sock_.get(), type, 0, const_cast<uint8_t*>(payload.data()), payload.size());
    return sent >= 0 && nl_wait_for_ack(sock_.get()) >= 0;
}

bool NetlinkSocket::drain(const OnMessage& take) {
    for (int reads = 0; reads < kMaxReadsPerDrain; reads++) {
        const int result = receive(take);
        if (result == -NLE_AGAIN) return true;
        if (result < 0) return false;
    }
    return true;
}
