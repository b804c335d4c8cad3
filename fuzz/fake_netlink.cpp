#include "fake_netlink.h"

#include <algorithm>

#include "netctrl/ethtool.h"
#include "netctrl/netlink.h"
#include "platform/exports.h"

uint8_t DEBUGLEVEL = 5;

namespace {

ByteReader* input = nullptr;

// Each message gets memory of its own, so that reading beyond its end is noticed.
bool answer(const NetlinkSocket::OnMessage& take) {
    const size_t length = input->u16();
    if (!input->ok()) return false;
    const Bytes bytes = input->take(std::min(length, input->left()));
    const std::vector<uint8_t> all(bytes.begin(), bytes.end());
    for (size_t at = 0; all.size() - at >= sizeof(nlmsghdr);) {
        nlmsghdr header;
        memcpy(&header, &all[at], sizeof header);
        if (header.nlmsg_len < sizeof header || header.nlmsg_len > all.size() - at) break;
        std::vector<uint8_t> message(&all[at], &all[at] + header.nlmsg_len);
        take(reinterpret_cast<nlmsghdr*>(message.data()));
        at += std::min<size_t>(NLMSG_ALIGN(header.nlmsg_len), all.size() - at);
    }
    return true;
}

}  // namespace

void answerFrom(ByteReader& reader) {
    input = &reader;
}

std::optional<NetlinkSocket> NetlinkSocket::open(int, std::chrono::milliseconds) {
    return NetlinkSocket(nullptr);
}
std::optional<NetlinkSocket> NetlinkSocket::openEvents(bool) {
    return NetlinkSocket(nullptr);
}
bool NetlinkSocket::request(int, int, std::span<const uint8_t>, const OnMessage& take) {
    return answer(take);
}
bool NetlinkSocket::order(int, std::span<const uint8_t>) {
    return true;
}
bool NetlinkSocket::drain(const OnMessage& take) {
    return answer(take);
}

// The interfaces of the input are not those of this machine.
uint32_t ethernetMediaType(const std::string&) {
    return 1;
}
std::optional<uint32_t> linkSpeed(const std::string&) {
    return std::nullopt;
}
