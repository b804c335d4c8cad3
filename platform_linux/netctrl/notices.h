// Reports to the daemon that wait for the next runNetCtrl, because that is where callbacks are
// made.
#pragma once

#include <string>

#include "api.h"

void noteWpsChange();                         // NET_STATUS_WPS_CONFIG
void noteNewFirmware(uint32_t result);        // NET_STATUS_NEW_FIRMWARE
void noteFirmwareState(uint32_t state);       // NET_STATUS_FW_UPGRADE
void noteLedStatus(const std::string& text);  // NET_STATUS_LED

// Makes the waiting reports; without a callback they go on waiting.
void reportNotices(NetStatusEventCallback callback);
void dropNotices();

// Asks the daemon to send a standard message (SERV_REQ_...). The result of the send, 16 while the
// daemon has registered no callback.
int requestService(uint32_t servId, void* info);
