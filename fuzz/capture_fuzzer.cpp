// Feeds whole captures: many frames on both ports, with the periodic checks each second between
// them. Half of all devices have the key of the mesh (bytes 0 to 31).
#include "base/state.h"
#include "fuzz_device.h"
#include "net/message_integrity.h"

namespace {

bool hasObeyed = false;

// storeOrder notes the counter of a fresh message only if it gave an order.
void stop() {
    for (const auto& [sender, window] : stateOf<MessageIntegrity>().senders) {
        hasObeyed = hasObeyed || window.order != 0;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzDevice({data, size}, {.start = [] {},
                              .step = receiveFrame,
                              .stop = stop,
                              .mostSteps = 256,
                              .mostPasses = 240,
                              .mayHaveKey = true});
    return 0;
}

// The corpus must contain orders with a right MIC.
bool corpusIsComplete() {
    return hasObeyed;
}
