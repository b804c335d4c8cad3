#include "segment.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <cerrno>
#include <cstring>

#include "base/own_folder.h"

namespace {

// EIDRM, EINVAL: the segment was removed after shmget found it.
int failure() {
    return errno == EIDRM || errno == EINVAL ? VM1905_NO_DAEMON : VM1905_SYSTEM;
}

}  // namespace

SlotHead headOf(const uint8_t* record) {
    SlotHead head{};
    std::memcpy(&head.pid, record + slots::kPid.at, sizeof head.pid);
    std::memcpy(&head.servId, record + slots::kServId.at, sizeof head.servId);
    return head;
}

void putHead(uint8_t* record, const SlotHead& head) {
    std::memcpy(record + slots::kPid.at, &head.pid, sizeof head.pid);
    std::memcpy(record + slots::kServId.at, &head.servId, sizeof head.servId);
}

int Segment::attach() {
    const int found = shmget(key_, size_, 0);
    if (found < 0) {
        detach();
        return errno == ENOENT ? VM1905_NO_DAEMON : VM1905_SYSTEM;
    }
    shmid_ds info{};
    if (!statSegment(found, info)) {
        detach();
        return failure();
    }
    if (!mayMakeChannel(info.shm_perm.cuid)) {
        detach();
        errno = EPERM;
        return VM1905_FOREIGN;
    }
    if (found != id_ || memory_ == nullptr) {
        detach();
        void* const memory = shmat(found, nullptr, 0);
        if (memory == reinterpret_cast<void*>(-1)) return failure();
        id_ = found;
        memory_ = static_cast<uint8_t*>(memory);
    }
    return isAlive() ? 0 : VM1905_NO_DAEMON;
}

bool Segment::isAlive() const {
    shmid_ds info{};
    if (memory_ == nullptr || shmctl(id_, IPC_STAT, &info) != 0) return false;
    // A daemon that ends removes the segment. One that crashes leaves it, with nobody attached but
    // this client.
    return (info.shm_perm.mode & SHM_DEST) == 0 && info.shm_nattch > 1;
}

uint8_t Segment::flag() const {
    return std::atomic_ref<uint8_t>(memory_[slots::kFlag.at]).load(std::memory_order_acquire);
}

void Segment::setFlag(uint8_t flag) const {
    std::atomic_ref<uint8_t>(memory_[slots::kFlag.at]).store(flag, std::memory_order_release);
}

void Segment::detach() {
    if (memory_ != nullptr) shmdt(memory_);
    memory_ = nullptr;
    id_ = -1;
}
