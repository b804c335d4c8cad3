// Requests to the kernel over netlink, and its notifications.
#pragma once

#include <netlink/attr.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "base/mac_addr.h"
#include "base/text.h"

// A received message: a fixed header and attributes with the numbers 0 to Max.
template <typename Header, int Max>
class NlMessage {
  public:
    explicit NlMessage(nlmsghdr* message) {
        ok_ = nlmsg_valid_hdr(message, sizeof(Header)) != 0 &&
              nlmsg_parse(message, sizeof(Header), attrs_.data(), Max, nullptr) >= 0;
        if (ok_) header_ = static_cast<const Header*>(nlmsg_data(message));
    }
    bool ok() const { return ok_; }
    const Header& header() const { return *header_; }
    nlattr* attr(int type) const { return attrs_[static_cast<size_t>(type)]; }

    std::optional<uint32_t> u32(int type) const { return number<uint32_t>(type); }
    std::optional<uint8_t> u8(int type) const { return number<uint8_t>(type); }
    // None if the attribute is absent or has another length.
    std::optional<MacAddr> mac(int type) const {
        const nlattr* a = attr(type);
        if (a == nullptr || nla_len(a) != 6) return std::nullopt;
        return MacAddr(static_cast<const uint8_t*>(nla_data(a)));
    }
    std::string_view text(int type) const { return textOf(attr(type)); }
    static std::string_view textOf(const nlattr* a) {
        if (a == nullptr || nla_len(a) <= 0) return {};
        return upToNul({static_cast<const char*>(nla_data(a)), static_cast<size_t>(nla_len(a))});
    }

  private:
    template <typename T>
    std::optional<T> number(int type) const {
        const nlattr* a = attr(type);
        if (a == nullptr || nla_len(a) < static_cast<int>(sizeof(T))) return std::nullopt;
        T value;
        memcpy(&value, nla_data(a), sizeof value);
        return value;
    }

    std::array<nlattr*, static_cast<size_t>(Max) + 1> attrs_{};
    const Header* header_ = nullptr;
    bool ok_ = false;
};

// A netlink socket. A request blocks for at most the limit. After a failed request the socket must
// not be used again, since late answers may still arrive on it.
class NetlinkSocket {
  public:
    using OnMessage = std::function<void(nlmsghdr*)>;

    // A socket for requests of this protocol (NETLINK_...); none on failure.
    static std::optional<NetlinkSocket> open(
        int protocol, std::chrono::milliseconds limit = std::chrono::seconds(1));
    // A non-blocking socket for notifications about links, neighbors, addresses and, if wanted,
    // routes; none on failure.
    static std::optional<NetlinkSocket> openEvents(bool withRoutes);

    // Sends a request, whose payload starts with a fixed header, and calls take() for each answer.
    // False on failure, including a table that changed during a dump.
    [[nodiscard]] bool request(int type, int flags, std::span<const uint8_t> payload,
                               const OnMessage& take);
    // Sends an order; true if the kernel carried it out.
    [[nodiscard]] bool order(int type, std::span<const uint8_t> payload);

    // Calls take() for each message that has arrived. False if notifications were lost.
    [[nodiscard]] bool drain(const OnMessage& take);

  private:
    struct Free {
        void operator()(nl_sock* sock) const { nl_socket_free(sock); }
    };
    explicit NetlinkSocket(nl_sock* sock) : sock_(sock) {}

    int receive(const OnMessage& take);

    std::unique_ptr<nl_sock, Free> sock_;
};

// The bytes of a record as the payload of a request.
template <typename T>
std::span<const uint8_t> bytesOf(const T& record) {
    return {reinterpret_cast<const uint8_t*>(&record), sizeof record};
}
