// One of the daemon's two shared-memory segments, seen from a client. Everybody on this device may
// write to it at any time, so what is read is copied once and only then looked at.
#pragma once

#include <sys/types.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "orders/service_ids.h"
#include "orders/slot_layout.h"
#include "vm1905_client.h"

// The head of either record.
struct SlotHead {
    uint32_t pid;
    uint16_t servId;

    bool operator==(const SlotHead&) const = default;
};

// A record that was copied out of a slot. The longest answers reach four bytes past the segment's
// size, which the kernel maps as well: whole pages.
using SlotCopy = std::array<uint8_t, slots::kPayload + VM1905_MAX_ANSWER>;

SlotHead headOf(const uint8_t* record);
void putHead(uint8_t* record, const SlotHead& head);
// What the daemon leaves in the slots when it starts, and no client ever asks for.
inline constexpr SlotHead kInitialHead{0, kServNone};

class Segment {
  public:
    Segment(key_t key, size_t size) : key_(key), size_(size) {}
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;
    ~Segment() { detach(); }

    // Makes sure that this is the daemon's present segment. 0, VM1905_NO_DAEMON, VM1905_SYSTEM.
    int attach();
    // Whether the daemon still holds it.
    bool isAlive() const;

    void detach();

    // While it is attached only.
    uint8_t* memory() const { return memory_; }
    uint8_t flag() const;
    void setFlag(uint8_t flag) const;
    SlotHead head() const { return headOf(memory_); }

  private:
    key_t key_;
    size_t size_;
    int id_ = -1;
    uint8_t* memory_ = nullptr;
};
