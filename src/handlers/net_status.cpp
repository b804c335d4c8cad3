#include "handlers/net_status.h"

#include <cstddef>

#include "base/bytes.h"
#include "base/log.h"
#include "base/result.h"
#include "db/database.h"
#include "db/local_tables.h"
#include "db/own_state.h"
#include "net/ports.h"
#include "platform/lifecycle.h"

// The layout that the platform library relies on.
static_assert(offsetof(AlMacEvent, newMac) == 6);
static_assert(offsetof(IntfMacEvent, mac) == 16 && offsetof(IntfMacEvent, newMac) == 28);
static_assert(offsetof(IntfStateEvent, mediaType) == 24 &&
              offsetof(IntfStateEvent, newState) == 32);
static_assert(offsetof(IntfMediaTypeEvent, oldMediaType) == 8 &&
              offsetof(IntfMediaTypeEvent, newMediaType) == 12 &&
              offsetof(IntfMediaTypeEvent, mediaInfoLen) == 16);
static_assert(offsetof(IntfNbrEvent, macNum) == 28 && offsetof(IntfNbrEvent, macs) == 32);

namespace {

int intfMacChanged(const IntfMacEvent& event) {
    return updateIntfMac(fieldText(event.name), MacAddr(event.mac), event.mediaType,
                         MacAddr(event.newMac));
}

int intfsAdded(const IntfListEvent& event) {
    const int result = addIntf(event.head);
    getIntfNum();  // reads the number from the platform
    (void)reinitIntfPorts();
    return result;
}

int intfsRemoved(const IntfListEvent& event) {
    const int result = removeIntf(event.head);
    getIntfNum();
    if (result == kChanged) (void)reinitIntfPorts();
    return result;
}

int pwrStateChanged(const IntfStateEvent& event) {
    const int result = updateIntfPwrState(fieldText(event.name), MacAddr(event.mac),
                                          event.mediaType, event.newState);
    if (event.newState == PLATFORM_PWR_ON) (void)reinitIntfPorts();
    return result;
}

int operStatusChanged(const IntfStateEvent& event) {
    return updateIntfOperStatus(fieldText(event.name), MacAddr(event.mac), event.mediaType,
                                event.newState);
}

int mediaTypeChanged(const IntfMediaTypeEvent& event) {
    MediaInfo info;
    if (event.mediaInfo != nullptr) {
        info.assign(event.mediaInfo, event.mediaInfo + event.mediaInfoLen);
    }
    const int result =
        updateIntfMediaType(MacAddr(event.mac), event.oldMediaType, event.newMediaType, info);
    updatePortMediaTypes();
    return result;
}

int nbrsAdded(const IntfNbrEvent& event) {
    return addIntfNbrIntf(fieldText(event.name), MacAddr(event.mac), event.mediaType,
                          unpackMacs(event.macs, event.macNum));
}

int nbrsRemoved(const IntfNbrEvent& event) {
    return removeIntfNbrIntf(fieldText(event.name), MacAddr(event.mac), event.mediaType,
                             unpackMacs(event.macs, event.macNum));
}

int bridgesChanged() {
    const int result = requestUpdateBrdgCap();
    rebindIntfPorts();
    return result;
}

template <typename Record>
const Record& as(const void* info) {
    return *static_cast<const Record*>(info);
}

int apply(uint32_t eventId, const void* info) {
    switch (eventId) {
        case NET_STATUS_AL_MAC:
            return updateAlMac(MacAddr(as<AlMacEvent>(info).newMac));
        case NET_STATUS_INTF_MAC:
            return intfMacChanged(as<IntfMacEvent>(info));
        case NET_STATUS_INTF_ADDED:
            return intfsAdded(as<IntfListEvent>(info));
        case NET_STATUS_INTF_REMOVED:
            return intfsRemoved(as<IntfListEvent>(info));
        case NET_STATUS_INTF_PWR_STATE:
            return pwrStateChanged(as<IntfStateEvent>(info));
        case NET_STATUS_INTF_OPER_STATUS:
            return operStatusChanged(as<IntfStateEvent>(info));
        case NET_STATUS_INTF_MEDIA_TYPE:
            return mediaTypeChanged(as<IntfMediaTypeEvent>(info));
        case NET_STATUS_INTF_NBR_ADDED:
            return nbrsAdded(as<IntfNbrEvent>(info));
        case NET_STATUS_INTF_NBR_REMOVED:
            return nbrsRemoved(as<IntfNbrEvent>(info));
        case NET_STATUS_BRDG_CAP:
            return bridgesChanged();
        case NET_STATUS_WPS_CONFIG:
            return updateWPSConfig();
        case NET_STATUS_NEW_FIRMWARE:
            return updateFWNewfirmware(as<uint32_t>(info));
        case NET_STATUS_FW_UPGRADE:
            return updateNewFWUpgradeStatus(as<uint32_t>(info));
        case NET_STATUS_LED:
            return updateLEDStatus(static_cast<const char*>(info));
        default:
            LOG(2, "network status event (ID = %d) isn't supported\r\n", static_cast<int>(eventId));
            return kFailure;
    }
}

}  // namespace

void netStatusEventCallback(uint32_t eventId, const void* info, uint32_t* result) {
    LOG(4, "eventId = %d\r\n", static_cast<int>(eventId));
    if (info == nullptr) {
        LOG_PUTS(2, "info is NULL\r");
        if (result != nullptr) *result = kFailure;
        return;
    }
    (void)apply(eventId, info);
    // Meant: the platform gets kOk even if the event could not be applied.
    if (result != nullptr) *result = kOk;
}
