/* Lifecycle of the platform library and the callbacks it reports through. */
#ifndef VM1905_PLATFORM_LIFECYCLE_H
#define VM1905_PLATFORM_LIFECYCLE_H

#include <stdint.h>

#include "platform/descriptions.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Prepare the library. Only identity, log and debug level are asked for earlier. 0 on success, else
 * the daemon exits. */
int initNetCtrl(void);

/* Begin to work; the daemon's records and ports exist by now. 0 on success. */
int startNetCtrl(void);

/* Called from the daemon's main loop, at most every 5 seconds. Must return promptly: nothing
 * else runs meanwhile. Network-status events are reported from inside this call. A non-zero
 * result stops the daemon. */
int runNetCtrl(void);

/* Release everything. 0 on success. */
int destroyNetCtrl(void);

/* The running debug level changed (0 critical ... 5 verbose). 0 on success. */
int setNetCtrlDebugLevel(uint8_t level);

/* One line of text, NUL-terminated, for the platform log (the product's own). 0 on success. */
int outputlogData(const char* line);

/* Network-status events: what the library reports about this device. */
enum {
    NET_STATUS_AL_MAC = 0,           /* AlMacEvent */
    NET_STATUS_INTF_MAC = 1,         /* IntfMacEvent */
    NET_STATUS_INTF_ADDED = 2,       /* IntfListEvent */
    NET_STATUS_INTF_REMOVED = 3,     /* IntfListEvent */
    NET_STATUS_INTF_PWR_STATE = 4,   /* IntfStateEvent */
    NET_STATUS_INTF_OPER_STATUS = 5, /* IntfStateEvent */
    NET_STATUS_INTF_MEDIA_TYPE = 6,  /* IntfMediaTypeEvent */
    NET_STATUS_INTF_NBR_ADDED = 7,   /* IntfNbrEvent */
    NET_STATUS_INTF_NBR_REMOVED = 8, /* IntfNbrEvent */
    NET_STATUS_BRDG_CAP = 9,         /* any record, not read */
    NET_STATUS_WPS_CONFIG = 10,      /* any record, not read */
    NET_STATUS_NEW_FIRMWARE = 11,    /* uint32_t result */
    NET_STATUS_FW_UPGRADE = 12,      /* uint32_t status */
    NET_STATUS_LED = 13              /* NUL-terminated text */
};

/* Event records. Everything in them stays the library's and need only live during the call. */
typedef struct AlMacEvent {
    uint8_t oldMac[PLATFORM_MAC_LEN]; /* not read */
    uint8_t newMac[PLATFORM_MAC_LEN];
} AlMacEvent;

typedef struct IntfMacEvent {
    char name[PLATFORM_INTF_NAME_LEN]; /* NUL-padded */
    uint8_t mac[PLATFORM_MAC_LEN];
    uint32_t mediaType;
    uint8_t newMac[PLATFORM_MAC_LEN];
} IntfMacEvent;

typedef struct IntfListEvent {
    uint8_t intfNum;
    const IntfDesc* head;
} IntfListEvent;

typedef struct IntfStateEvent {
    char name[PLATFORM_INTF_NAME_LEN]; /* NUL-padded */
    uint8_t mac[PLATFORM_MAC_LEN];
    uint32_t mediaType;
    uint32_t reserved;
    uint32_t newState;
} IntfStateEvent;

typedef struct IntfMediaTypeEvent {
    uint8_t mac[PLATFORM_MAC_LEN];
    uint32_t oldMediaType;
    uint32_t newMediaType;
    uint8_t mediaInfoLen;
    const uint8_t* mediaInfo;
} IntfMediaTypeEvent;

typedef struct IntfNbrEvent {
    char name[PLATFORM_INTF_NAME_LEN]; /* NUL-padded */
    uint8_t mac[PLATFORM_MAC_LEN];
    uint32_t mediaType;
    uint16_t macNum;
    const uint8_t* macs; /* macNum packed MACs */
} IntfNbrEvent;

/* result receives 0, or 16 when info is NULL. Called on the daemon's thread from inside runNetCtrl
 * or an action (device.h, autoconfig.h), never from inside a question (descriptions.h): the daemon
 * is then at work with what the event would change. */
typedef void (*NetStatusEventCallback)(uint32_t eventId, const void* info, uint32_t* result);
int setNetStatusEventCallbackFunc(NetStatusEventCallback callback);

/* Service requests: standard messages that the library asks the daemon to send. */
enum {
    SERV_REQ_AP_AUTOCONF_SEARCH = 0, /* ApAutoConfSrch */
    SERV_REQ_AP_AUTOCONF_RESP = 1,   /* ApAutoConfRespReq */
    SERV_REQ_AP_AUTOCONF_WSC = 2,    /* ApAutoConfWscReq */
    SERV_REQ_AP_AUTOCONF_RENEW = 3,  /* ApAutoConfRenewReq */
    SERV_REQ_PB_EVENT = 4,           /* PbEventReq; receives the message id */
    SERV_REQ_PB_JOIN = 5             /* PbJoinReq */
};

/* retCode receives 0 or the failure code of the send. */
typedef void (*ServReqCallback)(uint32_t servId, void* info, uint32_t* retCode);
int setServReqCallbackFunc(ServReqCallback callback);

#ifdef __cplusplus
}
#endif
#endif
