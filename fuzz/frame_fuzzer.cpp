// Feeds frames to recv1905Msg. Every step is a frame.
#include "fuzz_device.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzDevice({data, size}, {[] {}, receiveFrame, [] {}});
    return 0;
}
