// A client of the service channel in the process of the daemon: fills the request slot and empties
// the response slot.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <string>

#include "orders/slots.h"
#include "support/frames.h"

// Numbers as clients write them, in the byte order of the (little-endian) machine.
inline Frame num16(unsigned value) {
    return {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)};
}
inline Frame num32(unsigned value) {
    return num16(value) + num16(value >> 16);
}
inline Frame zeros(size_t n) {
    return Frame(n, 0);
}

// An answer in the form that takeAnswer returns: without zeros at its end.
inline std::string answer(unsigned servId, Frame payload) {
    while (!payload.empty() && payload.back() == 0) payload.pop_back();
    return std::to_string(servId) + ":" + print(payload);
}
inline std::string code(uint8_t of, uint8_t value) {
    return answer(254, {of, value});
}

inline std::atomic_ref<uint8_t> flagOf(uint8_t* slot) {
    return std::atomic_ref(slot[6]);
}
inline void postRequest(unsigned servId, const Frame& payload, int pid = getpid()) {
    uint8_t* const slot = getServReqShm();
    const Frame head = num32(static_cast<unsigned>(pid)) + num16(servId);
    std::copy(head.begin(), head.end(), slot);
    std::fill(slot + 7, slot + 256, uint8_t{0});
    std::copy(payload.begin(), payload.end(), slot + 7);
    flagOf(slot) = 0;
}
// Takes the answer for this process from the response slot; "" if there is none.
inline std::string takeAnswer() {
    uint8_t* const slot = getServRespShm();
    if (flagOf(slot) != 0) return "";
    EXPECT_EQ(Frame(slot, slot + 4), num32(static_cast<unsigned>(getpid())));
    flagOf(slot) = 1;
    unsigned servId = 0;
    while (Frame(slot + 4, slot + 6) != num16(servId)) servId++;
    // Vendor properties extend beyond the slot.
    return answer(servId, Frame(slot + 7, slot + (servId == 5 ? 636 : 632)));
}
