// Sends vendor queries and keeps track of those that wait for an answer.
//
// Configuration and power-state queries that are not answered within 5 seconds are sent again, at
// most twice. A Wi-Fi state query is forgotten instead.
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

    // Meant: identifiers from 32768 on count as free. Such a query is neither matched with its
    // answer nor sent again.
    bool isActive() const { return static_cast<int16_t>(msgId) >= 0; }
};

struct VendQueries {
    std::array<VendQueryTable, 64> queries;
};

// Forgets all pending queries. kOk.
int initVendQueries();

// Send a query to a device and remember it. retry is the number of times that it was sent before.
// kOk, or kFailure if it cannot be sent; it is not remembered then.
int requestSendConfQueryMsg(const MacAddr& alMac, uint8_t retry);
int requestSendIntfPwrStateQueryMsg(const MacAddr& alMac, uint8_t retry);
int requestSendWIFIstateQueryMsg(const MacAddr& alMac, uint8_t retry);
// The same for the second form of the configuration query, which is never remembered.
int requestSendConfQueryMsg2(const MacAddr& alMac, uint8_t retry);

// Remembers a query of the type vendMsgType that was sent under msgId. If the table is full, the
// query replaces the oldest one.
void registerVendQueryMsg(const MacAddr& alMac, uint16_t msgId, uint16_t vendMsgType,
                          uint8_t retry);
// Forgets the query of this type and identifier that the device has answered, if there is one.
void ReportVendRespMsg(const MacAddr& alMac, uint16_t msgId, uint16_t vendMsgType);

// Sends overdue queries again, or drops them. Called on every pass of the main loop. kOk.
int checkVendRespMsgReceived();
