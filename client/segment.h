// One of the daemon's two shared-memory segments, as a client sees it. Any process of this device
// may write to it at any time, so records are copied out before they are examined.
#pragma once

#include <sys/types.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "orders/service_ids.h"
#include "orders/slot_layout.h"
#include "vm1905_client.h"

// The head of a record in either slot.
struct SlotHead {
    uint32_t pid;
    uint16_t servId;

    bool operator==(const SlotHead&) const = default;
};

// A copy of a record. The longest answers reach four bytes past the segment's size; the kernel maps
// whole pages, so these bytes are there.
using SlotCopy = std::array<uint8_t, slots::kPayload + VM1905_MAX_ANSWER>;

SlotHead headOf(const uint8_t* record);
void putHead(uint8_t* record, const SlotHead& head);
// What the daemon writes into the slots when it starts. No client asks for kServNone.
inline constexpr SlotHead kInitialHead{0, kServNone};

class Segment {
  public:
    Segment(key_t key, size_t size) : key_(key), size_(size) {}
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;
    ~Segment() { detach(); }

    // Attaches to the segment of the daemon that runs now. 0, VM1905_NO_DAEMON, VM1905_FOREIGN or
    // VM1905_SYSTEM.
    [[nodiscard]] int attach();
    // Whether the daemon is still attached.
    bool isAlive() const;

    void detach();

    // Only while attached.
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
