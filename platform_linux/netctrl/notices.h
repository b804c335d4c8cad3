// Reports to the daemon that wait for the next runNetCtrl, which may make callbacks.
#pragma once

#include <string>

#include "api.h"

void noteWpsChange();                         // NET_STATUS_WPS_CONFIG
void noteNewFirmware(uint32_t result);        // NET_STATUS_NEW_FIRMWARE
void noteFirmwareState(uint32_t state);       // NET_STATUS_FW_UPGRADE
void noteLedStatus(const std::string& text);  // NET_STATUS_LED

// Makes the waiting reports; without a callback they stay.
void reportNotices(NetStatusEventCallback callback);
void dropNotices();

// Asks the daemon to send a standard message (SERV_REQ_...). Returns the result of the send; 16 if
// the daemon has not registered a callback yet.
int requestService(uint32_t servId, void* info);
