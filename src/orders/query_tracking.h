// Vendor queries, and the memory of those that wait for their answers.
//
// Queries of a configuration or of power states are sent again when no answer comes within 5
// seconds, twice at most; a Wi-Fi state query is forgotten then.
#pragma once

#include <array>
#include <cstdint>

#include "base/clock.h"
#include "base/mac_addr.h"

struct VendQueryTable {
    static constexpr uint16_t kFree = 0xFFFF;

    MacAddr alMac{};
    uint16_t msgId = kFree;
    uint16_t vendMsgType = 0;
    uint8_t retry = 0;
    Seconds time = 0;

    // Meant: an identifier of 32768 or above counts as none, so that such a query is neither
    // matched nor sent again.
    bool isActive() const { return static_cast<int16_t>(msgId) >= 0; }
};

struct VendQueries {
    std::array<VendQueryTable, 64> queries;
};

// Forgets all pending queries. kOk.
int initVendQueries();

// Send a query to a device and remember it. retry tells how often it was sent before. kOk, or
// kFailure when it could not be sent (and is not remembered).
int requestSendConfQueryMsg(const MacAddr& alMac, uint8_t retry);
int requestSendIntfPwrStateQueryMsg(const MacAddr& alMac, uint8_t retry);
int requestSendWIFIstateQueryMsg(const MacAddr& alMac, uint8_t retry);
// The same for the second form of the configuration, which is never remembered.
int requestSendConfQueryMsg2(const MacAddr& alMac, uint8_t retry);

// Remembers a query that was sent under this identifier. A full memory gives up its oldest entry.
void registerVendQueryMsg(const MacAddr& alMac, uint16_t msgId, uint16_t vendMsgType,
                          uint8_t retry);
// Forgets the query of this type that the device has answered; none is no error.
void ReportVendRespMsg(const MacAddr& alMac, uint16_t msgId, uint16_t vendMsgType);

// Resends or drops overdue queries. Called on every pass of the main loop. kOk.
int checkVendRespMsgReceived();
