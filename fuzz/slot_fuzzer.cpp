// Feeds requests of local processes to runServiceMonitor. A step is the content of a request slot,
// or with kFrame a frame, which may announce a neighbor to give orders to, or be its answer.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <span>

#include "fuzz_device.h"
#include "orders/slots.h"
#include "service/service_monitor.h"
#include "service/wake_fifo.h"

namespace {

constexpr uint8_t kFrame = 0x20;
// Options of a request.
constexpr uint8_t kOwnPid = 0x01;  // from a process that exists
constexpr uint8_t kMarksIdle =
    0x02;                          // the client frees the request slot, for which service 2 waits
constexpr uint8_t kLeaves = 0x08;  // the client does not collect its answer

constexpr uint8_t kRawSend = 200;
constexpr uint8_t kGetIntf = 2;

// The own process id as a slot holds it.
std::array<uint8_t, sizeof(pid_t)> ownPid() {
    return std::bit_cast<std::array<uint8_t, sizeof(pid_t)>>(getpid());
}

unsigned servId(const uint8_t* slot) {
    uint16_t id = 0;
    std::memcpy(&id, slot + slots::kServId.at, sizeof id);
    return id;
}

uint8_t takeFlag(uint8_t* slot, uint8_t next) {
    return std::atomic_ref(slot[slots::kFlag.at]).exchange(next);
}

void start() {
    if (initServiceMonitor() != 0 || startServiceMonitor() != 0) abort();
}

void post(Bytes bytes, uint8_t options) {
    uint8_t* const slot = getServReqShm();
    std::fill_n(slot, slots::kReqSize, uint8_t{0});
    std::copy_n(bytes.begin(), std::min(bytes.size(), slots::kReqSize), slot);
    if ((options & kOwnPid) != 0) std::ranges::copy(ownPid(), slot);
    slot[slots::kFlag.at] = slots::kFull;
    takeSent(true);
    if (runServiceMonitor() != 0) abort();
    const bool waits = slot[slots::kFlag.at] != slots::kIdle;
    if (waits && servId(slot) != kGetIntf) abort();
    // Otherwise the next request overwrites it.
    if (waits && (options & kMarksIdle) != 0) {
        (void)takeFlag(slot, slots::kIdle);
        if (runServiceMonitor() != 0 || slot[slots::kFlag.at] != slots::kIdle) abort();
    }
    // Messages that a client has built itself are sent unchecked.
    takeSent(servId(slot) != kRawSend);
    if ((options & kLeaves) == 0) (void)takeFlag(getServRespShm(), slots::kIdle);
}

void step(Bytes bytes, uint8_t options) {
    (options & kFrame) != 0 ? receiveFrame(bytes, options) : post(bytes, options);
}

// The next client must be served, whatever the input was.
void stop() {
    post({}, kOwnPid | kLeaves);  // service 0
    const uint8_t* const answer = getServRespShm();
    if (answer[slots::kFlag.at] != slots::kFull || servId(answer) != 1 ||
        !std::ranges::equal(ownPid(), std::span(answer, sizeof(pid_t)))) {
        abort();
    }
    (void)destroyServiceMonitor();
}

}  // namespace

// The daemon sleeps only while it waits for an answer to be collected.
extern "C" int usleep(useconds_t) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzDevice({data, size}, {start, step, stop});
    return 0;
}
