// The key of the mesh (option MESH_KEY): every message is sent with an integrity TLV, and only
// messages with a right one may give orders. Without the option nothing here has an effect.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "base/bytes.h"
#include "base/clock.h"
#include "base/once_a_second.h"
#include "net/counter_store.h"
#include "wire/frame.h"
#include "wire/integrity_tlv.h"
#include "wire/tlv.h"

struct MeshKey {
    std::array<uint8_t, 32> bytes{};
    uint64_t tag = 0;    // identifies the key without revealing it
    uint8_t id = 0;      // the upper two bits of the tag, sent as a hint
    uint64_t start = 0;  // the last start number under this key, 0 if there is none
};

// So far behind the highest counter of its sender, a message may be: links reorder.
inline constexpr size_t kCounterWindow = 64;

// The counters that were received from a sender.
struct CounterWindow {
    uint64_t highest = 0;
    std::bitset<kCounterWindow + 1> seen{};  // i: highest - i was received
    uint64_t order = 0;                      // the highest of an order, stored
    uint64_t refused = 0;  // up to this one none is accepted: it was used before a restart
    bool isHeard = false;  // since the start of the daemon
};

struct MessageIntegrity {
    std::vector<MeshKey> keys;  // the first one signs
    uint64_t nextCounter = 0;   // 0: this device cannot sign
    Seconds lastComplaint = 0;  // about that
    std::map<KeyedSender, CounterWindow> senders;
    uint32_t refusals = 0;
    OnceASecond reported;
};

// Up to this many senders are remembered.
inline constexpr size_t kMaxKeyedSenders = 256;

// Reads the keys that the options name, and stores a new start number. kOk, also without the
// option, or kFailure (logged) if a key cannot be used: the daemon must not start.
[[nodiscard]] int initMessageIntegrity();

// True if there is a key.
[[nodiscard]] bool meshKeyIsUsed();
// True if this device may sign messages: its start number was stored.
[[nodiscard]] bool meshKeyCanSign();

// True for the types besides vendor messages that a device obeys only with a right integrity TLV.
[[nodiscard]] bool needsProof(uint16_t msgType);

// The counter of the next message, 0 if this device cannot sign. A message that leaves more than
// once, by several ports or to several interfaces of a device, has the same counter each time, so
// that only one of its copies can give the order.
[[nodiscard]] uint64_t takeMessageCounter();

// Signs a message with these headers: adds the integrity TLV to the others, unless there is no key
// or this device cannot sign. False if the message must then not be sent.
[[nodiscard]] bool signMessage(const FrameHdr& hdr, uint64_t counter, TlvArea& tlvs);

// What the integrity TLV of a received message proves.
enum class Trust {
    kUnchecked,  // there is no key
    kNone,       // nothing
    kCopy,       // sent by a device of the mesh, and received before
    kFresh,      // sent by a device of the mesh
};
struct Proof {
    Trust trust = Trust::kUnchecked;
    const char* flaw = "";  // why it is kNone
    KeyedSender sender{};
    uint64_t counter = 0;
};

// Checks a message and notes its counter; areas are the TLV areas of its fragments in order.
[[nodiscard]] Proof checkIntegrity(const FrameHdr& hdr, std::span<const Bytes> areas);

// Stores the counter of a message before it is obeyed, so that it cannot be sent again after a
// restart. False (logged) if that fails: it must not be obeyed.
[[nodiscard]] bool storeOrder(const Proof& proof);

// The message was not obeyed, since no answer could be sent. A copy that comes by another way may
// be.
void forgetCounter(const Proof& proof);

// Counts a message that was refused, with a log line at most once a second for each source.
// vendMsgType is that of a vendor message.
void reportRefusal(const MacAddr& srcMac, uint16_t msgType, std::optional<uint16_t> vendMsgType,
                   const char* reason);
// The number of messages refused since the start.
[[nodiscard]] uint32_t refusedMessages();

// True if the device with this AL MAC has sent a message with the key since the start.
[[nodiscard]] bool speaksWithKey(const MacAddr& alMac);
