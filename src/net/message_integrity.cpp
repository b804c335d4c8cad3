#include "net/message_integrity.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "base/fd.h"
#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/database.h"
#include "db/options.h"
#include "platform/integrity.h"
#include "wire/standard_tlv.h"
#include "wire/vend_msg.h"

// The platform library may lack it.
extern "C" decltype(computeHmacSha256) computeHmacSha256 __attribute__((weak));

namespace {

constexpr unsigned kSequenceBits = 24;  // of a counter; the bits above are the start number
constexpr uint64_t kMaxStart = (1U << 24) - 1;
constexpr Seconds kComplaintPeriod = 60;
constexpr size_t kVendTypeAt = 11;  // in a vendor-specific TLV

MessageIntegrity& module() {
    return stateOf<MessageIntegrity>();
}

bool computeMic(const MeshKey& key, Bytes input, Mic& mic) {
    return computeHmacSha256(key.bytes.data(), static_cast<uint32_t>(key.bytes.size()),
                             input.data(), static_cast<uint32_t>(input.size()), mic.data()) == 0;
}

// Takes the same time wherever they differ.
bool isSame(const Mic& a, const Mic& b) {
    volatile unsigned difference = 0;
    for (size_t i = 0; i < a.size(); i++) difference = difference | (a[i] ^ b[i]);
    return difference == 0;
}

std::optional<MeshKey> readKey(const char* path) {
    const Fd file(open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file) {
        LOG(1, "MESH_KEY: %s cannot be read: %s\r\n", path, strerror(errno));
        return std::nullopt;
    }
    struct stat info {};
    MeshKey key;
    if (fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode) ||
        (info.st_uid != 0 && info.st_uid != geteuid()) || (info.st_mode & 077) != 0 ||
        info.st_size != static_cast<off_t>(key.bytes.size()) ||
        read(file.get(), key.bytes.data(), key.bytes.size()) !=
            static_cast<ssize_t>(key.bytes.size())) {
        LOG(1,
            "MESH_KEY: %s is not a file of 32 bytes that belongs to root or the daemon's user and "
            "is closed to all others\r\n",
            path);
        return std::nullopt;
    }
    constexpr std::string_view kLabel = "vm1905 mesh key";
    Mic mic;
    if (!computeMic(key, {reinterpret_cast<const uint8_t*>(kLabel.data()), kLabel.size()}, mic)) {
        LOG_PUTS(1, "MESH_KEY: the platform library cannot compute HMAC-SHA-256\r");
        return std::nullopt;
    }
    for (size_t i = 0; i < sizeof key.tag; i++) key.tag = key.tag << 8 | mic[i];
    key.id = static_cast<uint8_t>(key.tag >> 62);
    return key;
}

int save() {
    StoredCounters counters;
    for (const MeshKey& key : module().keys) {
        if (key.start != 0) counters[{key.tag, {}}] = key.start;
    }
    for (const auto& [sender, window] : module().senders) {
        if (window.order != 0) counters[sender] = window.order;
    }
    return saveCounters(counters);
}

// Stores the next start number. Without it this device cannot sign.
void takeStart() {
    module().nextCounter = 0;
    MeshKey& key = module().keys[0];
    const auto used = keyWasUsed(key.tag);
    if (used == true && key.start == 0) {
        LOG_PUTS(1,
                 "the counter of MESH_KEY is lost: no orders are sent until there is a new key\r");
        return;
    }
    if (key.start >= kMaxStart) {
        LOG_PUTS(1, "MESH_KEY is worn out: no orders are sent until there is a new key\r");
        return;
    }
    if (used) key.start++;
    if (!used || save() != kOk || (!*used && noteKeyUse(key.tag) != kOk)) {
        LOG_PUTS(1, "the counter of MESH_KEY cannot be stored: no orders are sent\r");
        return;
    }
    module().nextCounter = key.start << kSequenceBits;
}

// True if the message may be sent only with an integrity TLV.
bool isOrder(uint16_t msgType, Bytes tlvs) {
    if (msgType != kMsgVendSpec) return needsProof(msgType);
    bool found = false;
    (void)walkTlvs(tlvs, [&](Bytes tlv) {
        const size_t size = flatSize1905(tlv);
        ByteReader reader(tlv.first(size));
        reader.skip(k1905TlvHeaderLen + kVendTypeAt);
        if (tlv[0] == kTlvVendSpec && reader.u16() != VEND_MSG_TYPE_VEND_DISC) found = true;
        return size;
    });
    return found;
}

const MeshKey* keyOf(const SignedMessage& message) {
    for (const MeshKey& key : module().keys) {
        Mic mic;
        if (key.id == message.integrity.keyId && computeMic(key, message.covered, mic) &&
            isSame(mic, message.integrity.mic)) {
            return &key;
        }
    }
    return nullptr;
}

// Notes the counter. std::nullopt if it is too old.
std::optional<Trust> note(CounterWindow& window, uint64_t counter) {
    if (counter <= window.refused) return std::nullopt;
    window.isHeard = true;
    if (counter > window.highest) {
        const uint64_t step = counter - window.highest;
        window.seen <<= static_cast<size_t>(std::min<uint64_t>(step, window.seen.size()));
        window.highest = counter;
    }
    const uint64_t behind = window.highest - counter;
    if (behind > kCounterWindow) return std::nullopt;
    const auto index = static_cast<size_t>(behind);
    const bool isSeen = window.seen.test(index);
    window.seen.set(index);
    return isSeen ? Trust::kCopy : Trust::kFresh;
}

Proof flawed(const char* flaw) {
    return {.trust = Trust::kNone, .flaw = flaw};
}

}  // namespace

int initMessageIntegrity() {
    auto& m = module();
    m = {};
    if (*getMeshKeyOption() == '\0') {
        if (*getMeshKeyNextOption() == '\0') return kOk;
        LOG_PUTS(1, "MESH_KEY_NEXT is set without MESH_KEY\r");
        return kFailure;
    }
    if (computeHmacSha256 == nullptr) {
        LOG_PUTS(1, "MESH_KEY is set, but the platform library has no computeHmacSha256\r");
        return kFailure;
    }
    for (const char* path : {getMeshKeyOption(), getMeshKeyNextOption()}) {
        if (*path == '\0') continue;
        const auto key = readKey(path);
        if (!key) return kFailure;
        m.keys.push_back(*key);
    }
    for (const auto& [sender, counter] : loadCounters()) {
        const auto key = std::ranges::find(m.keys, sender.keyTag, &MeshKey::tag);
        if (key == m.keys.end()) continue;
        if (sender.alMac.isZero()) {
            key->start = counter;
        } else {
            m.senders[sender] = {.highest = counter, .order = counter, .refused = counter};
        }
    }
    takeStart();
    LOG_PUTS(3, "orders need the key of the mesh\r");
    return kOk;
}

bool meshKeyIsUsed() {
    return !module().keys.empty();
}

bool meshKeyCanSign() {
    return module().nextCounter != 0;
}

bool needsProof(uint16_t msgType) {
    return msgType == kMsgApAutoConfWsc || msgType == kMsgApAutoConfRenew ||
           msgType == kMsgPBEventNtf || msgType == kMsgPBJoinNtf;
}

uint64_t takeMessageCounter() {
    auto& m = module();
    if (m.nextCounter == 0) return 0;
    const uint64_t counter = m.nextCounter++;
    if (m.nextCounter >> kSequenceBits != m.keys[0].start) takeStart();
    return counter;
}

bool signMessage(const FrameHdr& hdr, uint64_t counter, TlvArea& tlvs) {
    auto& m = module();
    if (m.keys.empty()) return true;
    const MacAddr* alMac = getAlMac();
    if (counter != 0 && alMac != nullptr) {
        IntegrityTlv tlv{.keyId = m.keys[0].id, .counter = counter, .alMac = *alMac};
        std::vector<uint8_t> input = micInput(hdr, tlv);
        input.insert(input.end(), tlvs.bytes().begin(), tlvs.bytes().end());
        if (computeMic(m.keys[0], input, tlv.mic)) return genIntegrityTlv(tlvs, tlv);
    }
    if (!isOrder(hdr.msgType, tlvs.bytes())) return true;
    if (m.lastComplaint == 0 || now() - m.lastComplaint >= kComplaintPeriod) {
        m.lastComplaint = now();
        LOG_PUTS(1, "orders are not sent, because they cannot be signed with MESH_KEY\r");
    }
    return false;
}

Proof checkIntegrity(const FrameHdr& hdr, std::span<const Bytes> areas) {
    auto& m = module();
    if (m.keys.empty()) return {};
    const auto message = splitSignedMessage(hdr, areas);
    if (!message) return flawed("it has no integrity TLV");
    const MeshKey* key = keyOf(*message);
    if (key == nullptr) return flawed("its MIC is wrong");
    const IntegrityTlv& integrity = message->integrity;
    if (integrity.alMac.isZero() || isOwnAlMac(integrity.alMac)) {
        return flawed("its sender is this device, or none");
    }
    const KeyedSender sender{key->tag, integrity.alMac};
    if (m.senders.size() >= kMaxKeyedSenders && !m.senders.contains(sender)) {
        return flawed("there are too many senders");
    }
    const auto trust = note(m.senders[sender], integrity.counter);
    if (!trust) return flawed("its counter is old");
    return {.trust = *trust, .sender = sender, .counter = integrity.counter};
}

bool storeOrder(const Proof& proof) {
    if (proof.trust == Trust::kUnchecked) return true;
    CounterWindow& window = module().senders[proof.sender];
    if (proof.counter <= window.order) return true;
    const uint64_t before = std::exchange(window.order, proof.counter);
    if (save() == kOk) return true;
    window.order = before;
    LOG(1, "an order of (" MAC_FMT ") is refused: its counter cannot be stored\r\n",
        MAC_ARGS(proof.sender.alMac));
    return false;
}

void forgetCounter(const Proof& proof) {
    if (proof.trust == Trust::kUnchecked) return;
    CounterWindow& window = module().senders[proof.sender];
    if (window.highest - proof.counter <= kCounterWindow) {
        window.seen.reset(static_cast<size_t>(window.highest - proof.counter));
    }
}

void reportRefusal(const MacAddr& srcMac, uint16_t msgType, std::optional<uint16_t> vendMsgType,
                   const char* reason) {
    module().refusals++;
    if (!module().reported.isFirst(srcMac)) return;
    LOG(2, "refuse message (macSa = " MAC_FMT ", type = %d, vendor type = %d): %s\r\n",
        MAC_ARGS(srcMac), msgType, vendMsgType ? *vendMsgType : -1, reason);
}

uint32_t refusedMessages() {
    return module().refusals;
}

bool speaksWithKey(const MacAddr& alMac) {
    return std::ranges::any_of(module().senders, [&](const auto& entry) {
        return entry.first.alMac == alMac && entry.second.isHeard;
    });
}
