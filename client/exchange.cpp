#include "exchange.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <optional>

#include "services.h"
#include "turn.h"
#include "wake.h"

namespace {

using Stage = vm1905_client::Stage;

// The limit when the FIFO has no reader: the daemon then polls the slot once a second.
constexpr unsigned kNoReaderMs = 1500;
// How long the daemon's own answer may take after the daemon has taken the request. For
// kServGetIntf it looks at least every 5 ms, and must find the request slot still idle.
constexpr unsigned kLostMs = 100;
constexpr unsigned kLostIntfMs = 1000;
// The pause after withdrawing a request, kWithdrawnMs for kServGetIntf. The daemon may be handling
// the request and marks the slot idle when it is done, which would lose the next client's request.
constexpr unsigned kWithdrawnMs = 50;
constexpr unsigned kSettleMs = 5;
// The daemon overwrites an answer that is not collected within 15 ms.
constexpr unsigned kUncollectedMs = 25;

// All handles of this process: an answer names only the process, so it may belong to any of them.
std::mutex exchangeLock;
vm1905_client* firstClient = nullptr;

uint32_t ownPid() {
    return static_cast<uint32_t>(getpid());
}

bool isRunning(uint32_t pid) {
    const auto number = static_cast<int32_t>(pid);
    return number > 0 && (kill(number, 0) == 0 || errno == EPERM);
}

bool answers(const SlotCopy& record, uint16_t service) {
    const uint16_t id = headOf(record.data()).servId;
    if (id != kServRetCode) return id == service + 1U;
    // A return code names the request or its answer, depending on the service.
    const uint8_t number = record[slots::resp::kReqId.at];
    return number == static_cast<uint8_t>(service) || number == static_cast<uint8_t>(service + 1U);
}

// The record in the response slot; empty if the slot is free or being written.
std::optional<SlotCopy> copyResponse(const Segment& response) {
    SlotCopy first, second;
    if (response.flag() != slots::kFull) return {};
    std::memcpy(first.data(), response.memory(), first.size());
    if (response.flag() != slots::kFull) return {};
    std::memcpy(second.data(), response.memory(), second.size());
    std::atomic_thread_fence(std::memory_order_acquire);
    if (response.flag() != slots::kFull || first != second) return {};
    return first;
}

// Hands the record to the request that it answers. False if the record must stay in the slot.
bool deliver(const SlotCopy& record) {
    const SlotHead head = headOf(record.data());
    if (head.servId == kServNone) return false;  // a decoy, see putDecoy
    for (vm1905_client* client = firstClient; client != nullptr; client = client->next) {
        if (!answers(record, client->service)) continue;
        if (client->stage == Stage::kPosted) return false;
        if (client->stage != Stage::kTaken) continue;
        client->answer.id = head.servId;
        std::copy(record.begin() + slots::kPayload, record.end(), client->answer.payload);
        client->stage = Stage::kAnswered;
        break;
    }
    return true;
}

// Frees the response slot if it holds an answer for this process or for one that has ended.
void collect(const Segment& response) {
    const std::lock_guard guard(exchangeLock);
    const auto record = copyResponse(response);
    if (!record) return;
    const uint32_t pid = headOf(record->data()).pid;
    const bool done = pid == ownPid() ? deliver(*record) : !isRunning(pid);
    if (done) response.setFlag(slots::kIdle);
}

Stage stageOf(const vm1905_client& client) {
    const std::lock_guard guard(exchangeLock);
    return client.stage;
}

void setStage(vm1905_client& client, Stage stage) {
    const std::lock_guard guard(exchangeLock);
    client.stage = stage;
}

// False while another handle of this process has a request for the same service under way.
bool enter(vm1905_client& client, uint16_t service) {
    const std::lock_guard guard(exchangeLock);
    for (const vm1905_client* other = firstClient; other != nullptr; other = other->next) {
        if (other->stage != Stage::kNone && other->service == service) return false;
    }
    client.service = service;
    client.stage = Stage::kTurn;
    return true;
}

// Whether the daemon is still the one that took the request.
bool daemonIsSame(const vm1905_client& client) {
    if (!client.request.isAlive()) return false;
    return client.request.flag() != slots::kIdle || client.request.head() != kInitialHead;
}

// Puts one request into the request slot. The client must hold the turn.
class Posting {
  public:
    Posting(vm1905_client& client, Payload payload, Wait& wait)
        : client_(client),
          request_(client.request),
          response_(client.response),
          payload_(payload),
          wait_(wait),
          head_{ownPid(), client.service} {}

    // Returns once the daemon has taken the request: 0 or an error.
    [[nodiscard]] int run() {
        int stop = waitForSlot();
        if (stop != 0) return stop;
        if (head_.servId == kServGetIntf) putDecoy();
        collect(response_);
        write();
        notePoke(pokeDaemon());
        stop = head_.servId == kServGetIntf ? waitUntilDecoyIsGone() : waitUntilTaken();
        if (stop != 0) {
            withdraw();
            return stop;
        }
        if (!daemonIsSame(client_)) return VM1905_RESTARTED;
        setStage(client_, Stage::kTaken);
        collect(response_);
        return 0;
    }

  private:
    // Sleeps while holding the turn, so that other clients wait.
    static void rest(unsigned ms) {
        Wait wait(ms, {});
        while (wait.pause() == 0) {
        }
    }

    // A FIFO without a reader most likely means no daemon. In case it is only out of sight, the
    // daemon still gets the time of one poll.
    void notePoke(Poke poke) {
        if (poke != Poke::kNoReader || hasNoReader_) return;
        hasNoReader_ = true;
        wait_.limit(kNoReaderMs);
    }

    // The error to report for a wait that ended with stop.
    int reason(int stop, int timeout) const {
        if (stop != VM1905_TIMEOUT) return stop;
        return hasNoReader_ ? VM1905_NO_DAEMON : timeout;
    }

    int waitForSlot() {
        // A request here is from a client that was killed or that does not take turns.
        if (request_.flag() != slots::kIdle) notePoke(pokeDaemon());
        while (request_.flag() != slots::kIdle) {
            collect(response_);
            if (!request_.isAlive()) return VM1905_RESTARTED;
            if (const int stop = wait_.pause()) return reason(stop, VM1905_BUSY);
        }
        return 0;
    }

    void write() {
        std::array<uint8_t, slots::kReqSize> record{};
        putHead(record.data(), head_);
        std::ranges::copy(payload_, record.begin() + slots::kPayload);
        setStage(client_, Stage::kPosted);
        std::memcpy(request_.memory(), record.data(), slots::kFlag.at);
        std::memcpy(request_.memory() + slots::kPayload, record.data() + slots::kPayload,
                    record.size() - slots::kPayload);
        request_.setFlag(slots::kFull);
    }

    int waitUntilTaken() {
        while (request_.flag() != slots::kIdle) {
            collect(response_);
            if (!request_.isAlive()) return VM1905_RESTARTED;
            if (const int stop = wait_.pause()) return reason(stop, VM1905_TIMEOUT);
        }
        return 0;
    }

    // The daemon answers kServGetIntf only after the client has marked the request slot idle, which
    // the client must not do before the daemon has seen the request. The daemon frees the response
    // slot while it waits, so a decoy that nobody collects shows when that is.
    void putDecoy() {
        Wait free(std::min(kUncollectedMs, wait_.left()), {});
        while (response_.flag() != slots::kIdle && free.pause() == 0) collect(response_);
        putHead(response_.memory(), decoy_);
        response_.setFlag(slots::kFull);
    }

    bool decoyIsThere() const {
        return response_.flag() == slots::kFull && response_.head() == decoy_;
    }

    // Another client's answer may overwrite the decoy. The request is then withdrawn too early, and
    // repeated when no answer comes.
    int waitUntilDecoyIsGone() {
        while (decoyIsThere()) {
            if (!request_.isAlive()) return VM1905_RESTARTED;
            if (const int stop = wait_.pause()) return reason(stop, VM1905_TIMEOUT);
        }
        if (request_.flag() == slots::kFull) request_.setFlag(slots::kIdle);
        return 0;
    }

    // The daemon must neither find the request later nor wait for us. If it waits already, it must
    // see the withdrawal before the next client's request.
    void withdraw() {
        if (request_.flag() == slots::kFull && request_.head() == head_) {
            request_.setFlag(slots::kIdle);
        }
        if (decoyIsThere()) response_.setFlag(slots::kIdle);
        rest(head_.servId == kServGetIntf ? kWithdrawnMs : kSettleMs);
    }

    vm1905_client& client_;
    const Segment& request_;
    const Segment& response_;
    const Payload payload_;
    Wait& wait_;
    const SlotHead head_;
    const SlotHead decoy_{ownPid(), kServNone};
    bool hasNoReader_ = false;
};

int waitForAnswer(vm1905_client& client, Wait& wait) {
    for (;;) {
        collect(client.response);
        if (stageOf(client) == Stage::kAnswered) return 0;
        if (!daemonIsSame(client)) return VM1905_RESTARTED;
        if (const int stop = wait.pause()) return stop;
    }
}

int postInTurn(vm1905_client& client, Payload payload, Wait& wait) {
    Turn turn;
    if (const int stop = turn.take(wait)) return stop;
    // Only now: the daemon may have started or ended while we waited.
    if (const int stop = attach(client)) return stop;
    for (;;) {
        if (const int stop = Posting(client, payload, wait).run()) return stop;
        // The daemon's own answer is in the slot by now unless it was lost: overwritten by a
        // neighbor's answer before we collected it, or withdrawn with a decoy. It is safe to repeat
        // a read.
        if (!isRead(client.service)) return 0;
        const unsigned lostMs = client.service == kServGetIntf ? kLostIntfMs : kLostMs;
        Wait lost(std::min(lostMs, wait.left()), {});
        const int stop = waitForAnswer(client, lost);
        if (stop != VM1905_TIMEOUT) return stop;
        if (const int end = wait.pause()) return end;
    }
}

}  // namespace

int postRequest(vm1905_client& client, uint16_t service, Payload payload, Wait& wait) {
    giveUp(client);
    while (!enter(client, service)) {
        if (const int stop = wait.pause()) return stop == VM1905_TIMEOUT ? VM1905_BUSY : stop;
    }
    client.isAnswered = isAnswered(service, payload);
    const int result = postInTurn(client, payload, wait);
    if (result != 0) giveUp(client);
    return result;
}

int awaitAnswer(vm1905_client& client, Wait& wait, vm1905_answer& answer) {
    if (stageOf(client) == Stage::kNone) return VM1905_BAD_ARGUMENT;
    const int result = client.isAnswered ? waitForAnswer(client, wait) : 0;
    if (result == VM1905_TIMEOUT) return result;
    if (result == 0) answer = client.isAnswered ? client.answer : vm1905_answer{};
    giveUp(client);
    return result;
}

void giveUp(vm1905_client& client) {
    setStage(client, Stage::kNone);
    client.request.detach();
    client.response.detach();
}

int attach(vm1905_client& client) {
    const int result = client.request.attach();
    return result == 0 ? client.response.attach() : result;
}

vm1905_client::vm1905_client() {
    const std::lock_guard guard(exchangeLock);
    next = firstClient;
    firstClient = this;
}

vm1905_client::~vm1905_client() {
    const std::lock_guard guard(exchangeLock);
    vm1905_client** link = &firstClient;
    while (*link != this) link = &(*link)->next;
    *link = next;
}
