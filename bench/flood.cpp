// Floods an interface with topology discoveries:
//   flood INTERFACE COUNT FRAMES_PER_SECOND
// A rate of 0 means as fast as possible. Prints the number of frames sent and the seconds taken.
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

constexpr uint16_t kEtherType = 0x893a;
constexpr unsigned kSenders = 4;  // a handful of neighbors, as in a home
constexpr unsigned kBatch = 32;   // frames per system call
constexpr size_t kFrameSize = 64;
constexpr auto kTick = std::chrono::milliseconds(1);

using Frame = std::array<uint8_t, kFrameSize>;

// The ids of each sender are consecutive. At 50,000 frames per second an id is used again after
// 5 seconds, when the receiver has forgotten it.
Frame discovery(unsigned long number) {
    const auto sender = static_cast<uint8_t>(number % kSenders);
    const auto id = static_cast<uint16_t>(number / kSenders);
    const std::array<uint8_t, 6> alMac = {0x02, 0xf1, 0, 0, sender, 0xff};
    const std::array<uint8_t, 6> intfMac = {0x02, 0xf1, 0, 0, sender, 0x00};
    const std::array<uint8_t, 8> head = {
        0xa0, 0, 0, 0, static_cast<uint8_t>(id >> 8), static_cast<uint8_t>(id), 0, 0x80};
    const std::array<uint8_t, 6> group = {0x01, 0x80, 0xc2, 0, 0, 0x13};
    const std::array<uint8_t, 2> type = {kEtherType >> 8, kEtherType & 0xff};
    const std::array<uint8_t, 3> alMacTlv = {1, 0, 6};
    const std::array<uint8_t, 3> macTlv = {2, 0, 6};

    Frame frame{};  // the zero bytes at its end are the end of message and padding
    size_t at = 0;
    const auto put = [&](const auto& bytes) {
        std::memcpy(frame.data() + at, bytes.data(), bytes.size());
        at += bytes.size();
    };
    put(group);
    put(intfMac);
    put(type);
    put(head);
    put(alMacTlv);
    put(alMac);
    put(macTlv);
    put(intfMac);
    return frame;
}

// Sends count frames from number first on. False if the interface does not accept them.
bool sendFrames(int sock, unsigned long first, unsigned count) {
    std::array<Frame, kBatch> frames;
    std::array<iovec, kBatch> parts;
    std::array<mmsghdr, kBatch> messages{};
    for (unsigned done = 0; done < count;) {
        const unsigned wanted = count - done < kBatch ? count - done : kBatch;
        for (unsigned i = 0; i < wanted; i++) {
            frames[i] = discovery(first + done + i);
            parts[i] = {frames[i].data(), kFrameSize};
            messages[i].msg_hdr.msg_iov = &parts[i];
            messages[i].msg_hdr.msg_iovlen = 1;
        }
        const int sent = sendmmsg(sock, messages.data(), wanted, 0);
        if (sent < 0 && errno != ENOBUFS && errno != EINTR) return false;
        if (sent > 0) done += static_cast<unsigned>(sent);
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        fprintf(stderr, "usage: %s INTERFACE COUNT FRAMES_PER_SECOND\n", argv[0]);
        return 2;
    }
    const unsigned long count = strtoul(argv[2], nullptr, 10);
    const unsigned long rate = strtoul(argv[3], nullptr, 10);
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_ifindex = static_cast<int>(if_nametoindex(argv[1]));
    // Protocol 0: this socket only sends.
    const int sock = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
    if (address.sll_ifindex == 0 || sock < 0 ||
        bind(sock, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        fprintf(stderr, "%s: %s: %s\n", argv[0], argv[1], strerror(errno));
        return 1;
    }

    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    unsigned long sent = 0;
    for (unsigned long tick = 1; sent < count; tick++) {
        unsigned long due = count;
        if (rate != 0) {
            due = rate * tick * static_cast<unsigned long>(kTick.count()) / 1000;
            if (due > count) due = count;
        }
        if (!sendFrames(sock, sent, static_cast<unsigned>(due - sent))) {
            fprintf(stderr, "%s: %s: %s\n", argv[0], argv[1], strerror(errno));
            return 1;
        }
        sent = due;
        if (rate != 0) std::this_thread::sleep_until(begin + kTick * tick);
    }
    printf("%lu %.6f\n", sent, std::chrono::duration<double>(Clock::now() - begin).count());
    close(sock);
    return 0;
}
