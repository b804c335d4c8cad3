// A client of the service channel in the process of the daemon: fills the request slot and empties
// the response slot.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <string>

#include "orders/slots.h"
#include "support/frames.h"

// Numbers as clients write them, in the byte order of the machine.
template <typename Number>
Frame hostOrder(Number value) {
    const auto bytes = std::bit_cast<std::array<uint8_t, sizeof value>>(value);
    return {bytes.begin(), bytes.end()};
}
inline Frame num16(unsigned value) {
    return hostOrder(static_cast<uint16_t>(value));
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
    const Frame head = hostOrder(pid) + num16(servId);
    std::copy(head.begin(), head.end(), slot);
    std::fill(slot + 7, slot + 256, uint8_t{0});
    std::copy(payload.begin(), payload.end(), slot + 7);
    flagOf(slot) = 0;
}
// Takes the answer for this process from the response slot; "" if there is none.
inline std::string takeAnswer() {
    uint8_t* const slot = getServRespShm();
    if (flagOf(slot) != 0) return "";
    EXPECT_EQ(Frame(slot, slot + 4), hostOrder(getpid()));
    flagOf(slot) = 1;
    unsigned servId = 0;
    while (Frame(slot + 4, slot + 6) != num16(servId)) servId++;
    // Vendor properties extend beyond the slot.
    return answer(servId, Frame(slot + 7, slot + (servId == 5 ? 636 : 632)));
}
