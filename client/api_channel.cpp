// The calls of vm1905_client.h that work for any service: open, post, wait and so on.
#include <new>

#include "exchange.h"

namespace {

bool isUsable(const vm1905_client* client, const void* payload, size_t length) {
    return client != nullptr && length <= VM1905_MAX_PAYLOAD && (payload != nullptr || length == 0);
}

Payload asPayload(const void* payload, size_t length) {
    return {static_cast<const uint8_t*>(payload), length};
}

}  // namespace

extern "C" {

int vm1905_open(vm1905_client** client) {
    if (client == nullptr) return VM1905_BAD_ARGUMENT;
    *client = nullptr;
    auto* const made = new (std::nothrow) vm1905_client;
    if (made == nullptr) return VM1905_SYSTEM;
    const int result = attach(*made);
    if (result == 0) {
        giveUp(*made);
        *client = made;
    } else {
        delete made;
    }
    return result;
}

void vm1905_close(vm1905_client* client) {
    delete client;
}

void vm1905_set_timeouts(vm1905_client* client, unsigned local_ms, unsigned neighbor_ms) {
    if (client == nullptr) return;
    client->localMs = local_ms;
    client->neighborMs = neighbor_ms;
}

void vm1905_set_progress(vm1905_client* client, vm1905_progress progress, void* argument) {
    if (client != nullptr) client->progress = {progress, argument};
}

int vm1905_call(vm1905_client* client, uint16_t service, const void* payload, size_t length,
                unsigned timeout_ms, vm1905_answer* answer) {
    if (!isUsable(client, payload, length) || answer == nullptr) return VM1905_BAD_ARGUMENT;
    Wait wait(timeout_ms, client->progress);
    int result = postRequest(*client, service, asPayload(payload, length), wait);
    if (result == 0) result = awaitAnswer(*client, wait, *answer);
    giveUp(*client);
    return result;
}

int vm1905_post(vm1905_client* client, uint16_t service, const void* payload, size_t length,
                unsigned timeout_ms) {
    if (!isUsable(client, payload, length)) return VM1905_BAD_ARGUMENT;
    Wait wait(timeout_ms, client->progress);
    return postRequest(*client, service, asPayload(payload, length), wait);
}

int vm1905_wait(vm1905_client* client, unsigned timeout_ms, vm1905_answer* answer) {
    if (client == nullptr || answer == nullptr) return VM1905_BAD_ARGUMENT;
    Wait wait(timeout_ms, client->progress);
    return awaitAnswer(*client, wait, *answer);
}

void vm1905_cancel(vm1905_client* client) {
    if (client != nullptr) giveUp(*client);
}

}  // extern "C"
