// The request slot and the response slot in shared memory, and the only ways in which the daemon
// reads and writes them. Everybody on this device may write to either at any time: a request is
// copied before it is looked at, and nothing in a slot is trusted twice.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "base/bytes.h"
#include "orders/slot_layout.h"

struct DetachSlot {
    void operator()(uint8_t* memory) const;
};

struct SlotSegment {
    int key;
    size_t size;
    int id = -1;
    std::unique_ptr<uint8_t, DetachSlot> memory{};
};

struct SlotsState {
    SlotSegment request{slots::kReqKey, slots::kReqSize};
    SlotSegment response{slots::kRespKey, slots::kRespSize};
    bool taken = false;  // a request, and not yet marked idle
};

// Create or take over a segment and put it into its initial state. kOk or kFailure.
[[nodiscard]] int initServReqShm();
[[nodiscard]] int initServRespShm();
// The attached segments, nullptr while there are none.
uint8_t* getServReqShm();
uint8_t* getServRespShm();
// Detach and remove a segment. kOk or kFailure.
int destroyServReqShm();
int destroyServRespShm();

// A request as it was when the daemon took it.
class ServReq {
  public:
    // Copies the slot, slots::kReqSize bytes.
    explicit ServReq(const uint8_t* slot);

    int32_t pid() const { return static_cast<int32_t>(number(slots::kPid)); }
    uint16_t servId() const { return static_cast<uint16_t>(number(slots::kServId)); }
    // A field of 1, 2 or 4 bytes.
    uint32_t number(slots::Field field) const;
    MacAddr mac(slots::Field field) const { return macAt(field.at); }
    MacAddr macAt(size_t at) const;
    // A text of at most the field's width, up to its first zero byte.
    std::string_view text(slots::Field field) const;
    // width bytes, or what is left of the slot.
    Bytes bytes(size_t at, size_t width) const;
    bool operator==(const ServReq&) const = default;

  private:
    std::array<uint8_t, slots::kReqSize> bytes_;
};

// Whether a request waits in the request slot; false without a slot.
bool requestIsWaiting();
// The request that waits.
ServReq takeRequest();
// Whether the request that was taken still occupies the slot.
bool requestIsHeld(const ServReq& request);
// Clients may write the next one. Once for each request that was taken: the next one may be there
// already when this is called again.
void markRequestIdle();
// For a request that its client has marked idle.
void forgetRequest();
// What the response slot holds is given up.
void markResponseFree();

inline constexpr unsigned kSlotWait = 5000;  // microseconds between two looks at a slot
inline constexpr int kSlotLooks = 3;         // unsuccessful ones until the response slot is freed

// An answer on its way into the response slot. What is not written stays zero, what does not fit is
// left out.
class ServResp {
  public:
    ServResp(int32_t pid, uint16_t servId);

    ServResp& number(slots::Field field, uint32_t value);
    ServResp& mac(slots::Field field, const MacAddr& value) { return bytes(field.at, value.b); }
    ServResp& bytes(size_t at, Bytes value);

    // Puts the answer into the response slot, whatever is there. kOk, also without a slot.
    int put();
    // Waits before that until the slot is free; the third unsuccessful look, 15 ms later, frees it.
    int post();
    // The same, and marks the request slot idle: for answers that nobody else is asked for.
    int answer();

  private:
    // Meant: four bytes more than the segment was asked for. The longest vendor properties reach
    // there; the kernel maps whole pages, to the clients as to us.
    std::array<uint8_t, slots::resp::kVendProp + slots::resp::kMaxVendProp> bytes_{};
    size_t end_ = slots::kRespSize;  // of what is written
};

// Writes an answer that is only a return code, and marks the request slot idle. kOk.
int respRetCode(int32_t pid, uint16_t servId, int retCode);
