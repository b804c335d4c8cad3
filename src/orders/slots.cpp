#include "orders/slots.h"

#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>

#include "base/clock.h"
#include "base/log.h"
#include "base/own_folder.h"
#include "base/result.h"
#include "base/state.h"
#include "base/text.h"
#include "db/options.h"
#include "orders/service_ids.h"

namespace {

SlotsState& state() {
    return stateOf<SlotsState>();
}

// In host byte order, at any alignment.
void putNumber(uint8_t* at, size_t width, uint32_t value) {
    const auto half = static_cast<uint16_t>(value);
    const auto byte = static_cast<uint8_t>(value);
    switch (width) {
        case 4:
            std::memcpy(at, &value, sizeof value);
            break;
        case 2:
            std::memcpy(at, &half, sizeof half);
            break;
        default:
            *at = byte;
    }
}

// The flags are the only synchronization with the clients: written last, read first.
void setFlag(uint8_t* slot, uint8_t flag) {
    std::atomic_thread_fence(std::memory_order_release);
    std::atomic_ref<uint8_t>(slot[slots::kFlag.at]).store(flag, std::memory_order_release);
}

uint8_t flagOf(uint8_t* slot) {
    return std::atomic_ref<uint8_t>(slot[slots::kFlag.at]).load(std::memory_order_acquire);
}

int initSegment(SlotSegment& segment) {
    segment.id = shmget(segment.key, segment.size, slots::kShmFlags);
    if (segment.id < 0) {
        LOG_PUTS(1, "shmget() failed\r");
        return kFailure;
    }
    void* const memory = shmat(segment.id, nullptr, 0);
    if (memory == reinterpret_cast<void*>(-1)) {
        LOG_PUTS(1, "shmat() failed\r");
        return kFailure;
    }
    segment.memory.reset(static_cast<uint8_t*>(memory));
    // Clients take a segment that nobody else is attached to for that of a crashed daemon, so
    // processes that outlive the daemon must not be.
    (void)madvise(memory, segment.size, MADV_DONTFORK);
    // Nobody can remove a private segment later: it disappears when the process ends.
    if (segment.key == IPC_PRIVATE) (void)shmctl(segment.id, IPC_RMID, nullptr);
    uint8_t* const slot = segment.memory.get();
    std::memset(slot, 0, segment.size);
    putNumber(slot + slots::kServId.at, slots::kServId.width, kServNone);
    setFlag(slot, slots::kIdle);
    return kOk;
}

struct ProcessInfo {
    std::string name;  // empty if there is none that runs, or if it is a zombie
    uid_t user = 0;    // that started it, whatever rights it has gained since
};

ProcessInfo processInfo(pid_t pid) {
    ProcessInfo found;
    FILE* file = fopen(("/proc/" + std::to_string(pid) + "/status").c_str(), "re");
    if (file == nullptr) return found;
    bool runs = false;
    for (char text[256]; fgets(text, sizeof text, file) != nullptr;) {
        const std::string_view line = text;
        if (line.starts_with("Name:\t")) found.name = line.substr(6, line.size() - 7);
        if (line.starts_with("State:\t")) runs = line[7] != 'Z' && line[7] != 'X';
        if (line.starts_with("Uid:\t")) found.user = static_cast<uid_t>(atoll(text + 5));
    }
    (void)fclose(file);
    return runs ? found : ProcessInfo{};
}

bool isTrusted(uid_t user, const Owner& owner) {
    return user == owner.user || mayMakeChannel(user);
}

// The process that made the segment, if it is a daemon like this one and still uses it.
pid_t daemonOf(const SlotSegment& segment, const Owner& owner) {
    shmid_ds info{};
    const int id = segment.key == IPC_PRIVATE ? -1 : shmget(segment.key, 0, 0);
    if (id < 0 || !statSegment(id, info) || info.shm_nattch == 0) return 0;
    const pid_t pid = info.shm_cpid;
    if (!isTrusted(info.shm_perm.cuid, owner) || pid <= 0 || pid == getpid()) return 0;
    // A client of root may have made it, too, and after a crash anybody may have its number.
    const ProcessInfo process = processInfo(pid);
    const bool isDaemon = !process.name.empty() && process.name == processInfo(getpid()).name &&
                          isTrusted(process.user, owner);
    return isDaemon ? pid : 0;
}

constexpr int64_t kClaimTime = 1000;  // ms; another user may make the segment again and again

// 0 or an error number.
int giveSegment(int id, const Owner& owner, gid_t group, mode_t mode) {
    shmid_ds info{};
    if (shmctl(id, IPC_STAT, &info) != 0) return errno;
    info.shm_perm.uid = owner.user;
    info.shm_perm.gid = group;
    info.shm_perm.mode = static_cast<decltype(info.shm_perm.mode)>(mode);
    return shmctl(id, IPC_SET, &info) == 0 ? 0 : errno;
}

// Who has the most segments, and what helps; empty if that is unknown.
std::string segmentHolder() {
    std::map<uid_t, unsigned> counts;
    unsigned all = 0;
    FILE* file = fopen("/proc/sysvipc/shm", "re");
    if (file == nullptr) return "";
    for (char line[512]; fgets(line, sizeof line, file) != nullptr;) {
        uid_t creator = 0;
        if (sscanf(line, "%*s %*s %*s %*s %*s %*s %*s %*s %*s %u", &creator) != 1) continue;
        counts[creator]++;
        all++;
    }
    (void)fclose(file);
    if (all == 0) return "";
    const auto most = std::ranges::max_element(counts, {}, [](const auto& c) { return c.second; });
    return ": user " + std::to_string(most->first) + " has " + std::to_string(most->second) +
           " of " + std::to_string(all) +
           " segments. Remove them with ipcrm, or raise kernel.shmmni and kernel.shmall";
}

int claimSegment(const SlotSegment& segment, const Owner& owner) {
    const gid_t group = getChannelGroupOption().value_or(owner.group);
    const mode_t mode = getChannelModeOption();
    if (segment.key == IPC_PRIVATE) return kOk;
    shmid_ds info{}, removed{};
    int error = EEXIST;
    for (const auto end = uptimeMs() + kClaimTime; error == EEXIST && uptimeMs() < end;) {
        const int made = shmget(segment.key, segment.size, IPC_CREAT | IPC_EXCL | 0600);
        error = made < 0 ? errno : giveSegment(made, owner, group, mode);
        if (error != EEXIST) break;
        const int found = shmget(segment.key, 0, 0);
        if (found < 0 || !statSegment(found, info)) continue;
        const ipc_perm& has = info.shm_perm;
        if (isTrusted(has.cuid, owner) && has.uid == owner.user && has.gid == group &&
            (has.mode & 0777U) == mode && info.shm_segsz == segment.size && info.shm_nattch > 0) {
            return kOk;
        }
        // No log line before it is made again: that would give others time to do so.
        if (shmctl(found, IPC_RMID, nullptr) == 0) {
            removed = info;
        } else if (errno != EINVAL && errno != EIDRM) {
            LOG(1, "can't remove segment %d, which belongs to user %u: %s\r\n", segment.key,
                has.cuid, strerror(errno));
            return kFailure;
        }
    }
    const uid_t last = removed.shm_perm.cuid;
    if (removed.shm_segsz != 0 && (!isTrusted(last, owner) || removed.shm_segsz != segment.size)) {
        LOG(1, "removed segment %d of %zu bytes, which belonged to user %u\r\n", segment.key,
            static_cast<size_t>(removed.shm_segsz), last);
    }
    if (error == 0) return kOk;
    if (error == EEXIST && removed.shm_segsz != 0) {
        LOG(1, "can't make segment %d: user %u makes it again whenever it is removed\r\n",
            segment.key, last);
    } else {
        LOG(1, "can't make segment %d: %s%s\r\n", segment.key, strerror(error),
            error == ENOSPC ? segmentHolder().c_str() : "");
    }
    return kFailure;
}

int destroySegment(SlotSegment& segment) {
    if (!segment.memory) return kFailure;
    segment.memory.reset();
    if (segment.key != IPC_PRIVATE && shmctl(segment.id, IPC_RMID, nullptr) != 0) return kFailure;
    segment.id = -1;
    return kOk;
}

}  // namespace

void DetachSlot::operator()(uint8_t* memory) const {
    (void)shmdt(memory);
}

pid_t findOtherDaemon(const Owner& owner) {
    const pid_t found = daemonOf(state().request, owner);
    return found != 0 ? found : daemonOf(state().response, owner);
}

int claimSlots(const Owner& owner) {
    const int request = claimSegment(state().request, owner);
    const int response = claimSegment(state().response, owner);
    return request == kOk && response == kOk ? kOk : kFailure;
}

int initServReqShm() {
    return initSegment(state().request);
}
int initServRespShm() {
    return initSegment(state().response);
}
uint8_t* getServReqShm() {
    return state().request.memory.get();
}
uint8_t* getServRespShm() {
    return state().response.memory.get();
}
int destroyServReqShm() {
    return destroySegment(state().request);
}
int destroyServRespShm() {
    return destroySegment(state().response);
}

ServReq::ServReq(const uint8_t* slot) {
    std::memcpy(bytes_.data(), slot, bytes_.size());
}

uint32_t ServReq::number(slots::Field field) const {
    const Bytes raw = bytes(field.at, field.width);
    uint32_t word = 0;
    uint16_t half = 0;
    switch (raw.size()) {
        case 4:
            std::memcpy(&word, raw.data(), sizeof word);
            return word;
        case 2:
            std::memcpy(&half, raw.data(), sizeof half);
            return half;
        default:
            return raw.empty() ? 0 : raw[0];
    }
}

MacAddr ServReq::macAt(size_t at) const {
    return ByteReader(bytes(at, 6)).mac();
}

std::string_view ServReq::text(slots::Field field) const {
    const Bytes raw = bytes(field.at, field.width);
    return upToNul({reinterpret_cast<const char*>(raw.data()), raw.size()});
}

Bytes ServReq::bytes(size_t at, size_t width) const {
    const size_t begin = std::min(at, bytes_.size());
    return Bytes(bytes_).subspan(begin, std::min(width, bytes_.size() - begin));
}

bool requestIsWaiting() {
    return state().request.memory && flagOf(state().request.memory.get()) == slots::kFull;
}

ServReq takeRequest() {
    state().taken = true;
    return ServReq(state().request.memory.get());
}

bool requestIsHeld(const ServReq& request) {
    return requestIsWaiting() && ServReq(state().request.memory.get()) == request;
}

void markRequestIdle() {
    if (state().taken && state().request.memory) {
        setFlag(state().request.memory.get(), slots::kIdle);
    }
    state().taken = false;
}

void forgetRequest() {
    state().taken = false;
}

void markResponseFree() {
    if (state().response.memory) setFlag(state().response.memory.get(), slots::kIdle);
}

ServResp::ServResp(int32_t pid, uint16_t servId) {
    number(slots::kPid, static_cast<uint32_t>(pid)).number(slots::kServId, servId);
}

ServResp& ServResp::number(slots::Field field, uint32_t value) {
    if (field.at + field.width <= bytes_.size()) {
        putNumber(bytes_.data() + field.at, field.width, value);
    }
    return *this;
}

ServResp& ServResp::bytes(size_t at, Bytes value) {
    if (at < bytes_.size()) {
        const size_t size = std::min(value.size(), bytes_.size() - at);
        std::copy_n(value.begin(), size, bytes_.data() + at);
        end_ = std::max(end_, at + size);
    }
    return *this;
}

int ServResp::put() {
    uint8_t* const slot = state().response.memory.get();
    if (slot == nullptr) return kOk;
    std::memcpy(slot, bytes_.data(), slots::kFlag.at);
    std::memcpy(slot + slots::kPayload, bytes_.data() + slots::kPayload, end_ - slots::kPayload);
    setFlag(slot, slots::kFull);
    return kOk;
}

int ServResp::post() {
    uint8_t* const slot = state().response.memory.get();
    for (int look = 0; slot != nullptr && look < kSlotLooks; look++) {
        if (flagOf(slot) == slots::kIdle) break;
        sleepMicroseconds(kSlotWait);
        if (look + 1 == kSlotLooks) markResponseFree();
    }
    return put();
}

int ServResp::answer() {
    const int result = post();
    markRequestIdle();
    return result;
}

int respRetCode(int32_t pid, uint16_t servId, int retCode) {
    return ServResp(pid, kServRetCode)
        .number(slots::resp::kReqId, servId)
        .number(slots::resp::kRetCode, resultByte(retCode))
        .answer();
}
