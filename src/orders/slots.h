// The request slot and the response slot in shared memory. All access of the daemon to them goes
// through this header.
//
// Any local process may write to either slot at any time. The daemon therefore copies a request
// before it looks at it, and never reads the same field twice from the slot itself.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "base/bytes.h"
#include "base/claimed_name.h"
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
    bool taken = false;  // a request was taken and not yet marked idle
};

// The process of another daemon that uses the segments; 0 if there is none. A segment or process of
// a user who may not make the channel (base/own_folder.h) is no sign of a daemon: strangers must
// not be able to keep this one from starting.
[[nodiscard]] pid_t findOtherDaemon(const Owner& owner);
// Makes both segments for the daemon's user, with the group and mode of the options. Segments of
// others, or of another kind, are removed. Those that clients of an earlier daemon still use are
// kept if they are alike. kOk, or kFailure if somebody else's cannot be removed or is made again
// for a second, or the system refuses.
[[nodiscard]] int claimSlots(const Owner& owner);

// Create a segment, or attach to the existing one, and clear it. kOk, or kFailure if the system
// refuses.
[[nodiscard]] int initServReqShm();
[[nodiscard]] int initServRespShm();
// The attached memory, nullptr if there is none.
uint8_t* getServReqShm();
uint8_t* getServRespShm();
// Detach and remove a segment. kOk, or kFailure if there is none or the system refuses.
int destroyServReqShm();
int destroyServRespShm();

// A copy of a request. Offsets and fields are those of slot_layout.h.
class ServReq {
  public:
    // Copies slots::kReqSize bytes from slot.
    explicit ServReq(const uint8_t* slot);

    int32_t pid() const { return static_cast<int32_t>(number(slots::kPid)); }
    uint16_t servId() const { return static_cast<uint16_t>(number(slots::kServId)); }
    // A number of 1, 2 or 4 bytes.
    uint32_t number(slots::Field field) const;
    MacAddr mac(slots::Field field) const { return macAt(field.at); }
    MacAddr macAt(size_t at) const;
    // The field up to its first zero byte.
    std::string_view text(slots::Field field) const;
    // width bytes, fewer at the end of the slot.
    Bytes bytes(size_t at, size_t width) const;
    bool operator==(const ServReq&) const = default;

  private:
    std::array<uint8_t, slots::kReqSize> bytes_;
};

// True if a request waits in the request slot.
bool requestIsWaiting();
// Copies the request that waits; only if there is one.
ServReq takeRequest();
// True while the slot still holds the taken request.
bool requestIsHeld(const ServReq& request);
// Frees the request slot for the next client. Only the first call after takeRequest has an effect:
// by the second, the slot may already hold the next request.
void markRequestIdle();
// The client itself has freed the slot: markRequestIdle does nothing any more.
void forgetRequest();
// Discards what the response slot holds.
void markResponseFree();

inline constexpr unsigned kSlotWait = 5000;  // microseconds between two looks at a slot
inline constexpr int kSlotLooks = 3;         // looks until a full response slot is freed by force

// Builds an answer and writes it into the response slot. Fields that are not set stay zero; bytes
// that do not fit are left out.
class ServResp {
  public:
    ServResp(int32_t pid, uint16_t servId);

    ServResp& number(slots::Field field, uint32_t value);
    ServResp& mac(slots::Field field, const MacAddr& value) { return bytes(field.at, value.b); }
    ServResp& bytes(size_t at, Bytes value);

    // Overwrites the response slot. kOk, also without a slot.
    int put();
    // Waits at most 15 ms for the client of the previous answer to free the slot, then as put().
    int post();
    // As post(), then frees the request slot. For answers that need no other device.
    int answer();

  private:
    // Meant: four bytes more than the size of the segment. The longest vendor properties reach that
    // far, which works because the kernel maps whole pages, for the clients too.
    std::array<uint8_t, slots::resp::kVendProp + slots::resp::kMaxVendProp> bytes_{};
    size_t end_ = slots::kRespSize;  // of the bytes to copy
};

// Answers request servId of the client pid with a return code only, and frees the request slot.
// kOk.
int respRetCode(int32_t pid, uint16_t servId, int retCode);
