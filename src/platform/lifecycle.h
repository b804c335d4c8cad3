/* Lifecycle of the platform library and the callbacks it reports through. */
#ifndef VM1905_PLATFORM_LIFECYCLE_H
#define VM1905_PLATFORM_LIFECYCLE_H

#include <stdint.h>

#include "platform/descriptions.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Prepares the library. Only the identity functions (descriptions.h), outputlogData,
 * setNetCtrlDebugLevel, claimPlatformFiles and setExcludeDefaultRoute may be called before. 0 on
 * success, else the daemon exits. */
int initNetCtrl(void);

/* Removes what other users have put under the names of the library's files, and makes them anew for
 * the user and group that the daemon will run as. Called once, before initNetCtrl. Optional: a
 * library may lack it. */
void claimPlatformFiles(uint32_t user, uint32_t group);

/* Not 0: an interface outside every bridge takes no part while it holds the default route
 * (EXCLUDE_DEFAULT_ROUTE of vm1905.conf). Called before initNetCtrl, only if the key is set.
 * Optional: with a library that lacks it, the daemon refuses to start if the key is set. */
void setExcludeDefaultRoute(int exclude);

/* Starts the library; the daemon's records and ports exist by now. 0 on success. */
int startNetCtrl(void);

/* Called from the daemon's main loop every 5 seconds, not more often. Must return within 100 ms,
 * since nothing else runs meanwhile. The library reports network-status events from inside this
 * call. A non-zero result stops the daemon. */
int runNetCtrl(void);

/* Releases everything. 0 on success. */
int destroyNetCtrl(void);

/* The running debug level has changed; 0 critical to 5 verbose. 0 on success. */
int setNetCtrlDebugLevel(uint8_t level);

/* Writes a NUL-terminated line to the platform log, which belongs to the product. 0 on success. */
int outputlogData(const char* line);

/* Network-status events, by which the library reports changes of this device, and their records. */
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
    NET_STATUS_BRDG_CAP = 9,         /* any record, ignored */
    NET_STATUS_WPS_CONFIG = 10,      /* any record, ignored */
    NET_STATUS_NEW_FIRMWARE = 11,    /* uint32_t: 1 found, else not */
    NET_STATUS_FW_UPGRADE = 12,      /* uint32_t: PLATFORM_FW_... */
    NET_STATUS_LED = 13              /* NUL-terminated text */
};

/* Event records. They belong to the library and must be valid during the call only. MAC addresses
 * are 6 bytes in wire order, numbers are in host byte order. */
typedef struct AlMacEvent {
    uint8_t oldMac[PLATFORM_MAC_LEN]; /* ignored */
    uint8_t newMac[PLATFORM_MAC_LEN];
} AlMacEvent;

typedef struct IntfMacEvent {
    char name[PLATFORM_INTF_NAME_LEN]; /* NUL-padded */
    uint8_t mac[PLATFORM_MAC_LEN];     /* the former one */
    uint32_t mediaType;
    uint8_t newMac[PLATFORM_MAC_LEN];
} IntfMacEvent;

typedef struct IntfListEvent {
    uint8_t intfNum; /* entries at head */
    const IntfDesc* head;
} IntfListEvent;

typedef struct IntfStateEvent {
    char name[PLATFORM_INTF_NAME_LEN]; /* NUL-padded */
    uint8_t mac[PLATFORM_MAC_LEN];
    uint32_t mediaType;
    uint32_t reserved;
    uint32_t newState; /* PLATFORM_PWR_... or PLATFORM_OPER_... */
} IntfStateEvent;

typedef struct IntfMediaTypeEvent {
    uint8_t mac[PLATFORM_MAC_LEN];
    uint32_t oldMediaType;
    uint32_t newMediaType;
    uint8_t mediaInfoLen; /* bytes at mediaInfo */
    const uint8_t* mediaInfo;
} IntfMediaTypeEvent;

typedef struct IntfNbrEvent {
    char name[PLATFORM_INTF_NAME_LEN]; /* NUL-padded */
    uint8_t mac[PLATFORM_MAC_LEN];
    uint32_t mediaType;
    uint16_t macNum;     /* MACs at macs */
    const uint8_t* macs; /* packed */
} IntfNbrEvent;

/* The daemon's event callback. *result becomes 0, or 16 if info is NULL. The library must call it
 * on the daemon's thread, from inside runNetCtrl or an action (device.h, autoconfig.h), but never
 * from inside a function of descriptions.h: the daemon is then using what the event would change.
 */
typedef void (*NetStatusEventCallback)(uint32_t eventId, const void* info, uint32_t* result);
/* Registers the callback. 0 on success. */
int setNetStatusEventCallbackFunc(NetStatusEventCallback callback);

/* Service requests, by which the library asks the daemon to send standard messages, and their
 * records (autoconfig.h). */
enum {
    SERV_REQ_AP_AUTOCONF_SEARCH = 0, /* ApAutoConfSrch */
    SERV_REQ_AP_AUTOCONF_RESP = 1,   /* ApAutoConfRespReq */
    SERV_REQ_AP_AUTOCONF_WSC = 2,    /* ApAutoConfWscReq */
    SERV_REQ_AP_AUTOCONF_RENEW = 3,  /* ApAutoConfRenewReq */
    SERV_REQ_PB_EVENT = 4,           /* PbEventReq; receives the message id */
    SERV_REQ_PB_JOIN = 5,            /* PbJoinReq */
    SERV_REQ_AP_AUTOCONF_ACK = 6     /* ApAutoConfAckReq */
};

/* The daemon's callback for service requests. *retCode becomes 0 or the failure code of the send.
 * To be called on the daemon's thread. */
typedef void (*ServReqCallback)(uint32_t servId, void* info, uint32_t* retCode);
/* Registers the callback. 0 on success. */
int setServReqCallbackFunc(ServReqCallback callback);

#ifdef __cplusplus
}
#endif
#endif
