/* WPS, AP auto-configuration, push button and the approval of mesh devices.
 *
 * Unless a function states otherwise, it returns 0 on success and 16 or another code on failure. It
 * must not block. MAC addresses are 6 bytes in wire order, numbers are in host byte order. Bands
 * are 0, 1 and 3 for the main networks at 2.4, 5 and 6 GHz, 32 and 33 for the guest networks at 2.4
 * and 5 GHz. */
#ifndef VM1905_PLATFORM_AUTOCONFIG_H
#define VM1905_PLATFORM_AUTOCONFIG_H

#include <stdint.h>

#include "platform/descriptions.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Roles, the values of searchedRole, supportedRole and deviceType below. A Registrar configures the
 * networks of the mesh; an Enrollee applies the configuration of the Registrar. */
enum { PLATFORM_REGISTRAR = 0, PLATFORM_ENROLLEE = 1 };

/* Received messages, parsed. Valid only during the call. */
typedef struct ApAutoConfSrch {
    uint8_t searchedRole;            /* PLATFORM_REGISTRAR or PLATFORM_ENROLLEE */
    uint8_t freqBand;                /* band */
    uint8_t alMac[PLATFORM_MAC_LEN]; /* of the searching device */
    uint16_t msgId;
} ApAutoConfSrch;

typedef struct ApAutoConfInfo {      /* response and renew */
    uint8_t supportedRole;           /* PLATFORM_REGISTRAR or PLATFORM_ENROLLEE */
    uint8_t freqBand;                /* band */
    uint8_t alMac[PLATFORM_MAC_LEN]; /* of the sender */
    uint16_t msgId;
} ApAutoConfInfo;

enum { PLATFORM_WSC_UPDATE_TIME_LEN = 32 };

typedef struct ApAutoConfWsc {
    uint8_t alMac[PLATFORM_MAC_LEN];  /* of the sender */
    uint8_t srcMac[PLATFORM_MAC_LEN]; /* source address of the frame */
    uint16_t frameLen;                /* bytes at frame */
    const uint8_t* frame;
    char updateTime[PLATFORM_WSC_UPDATE_TIME_LEN]; /* NUL-terminated, empty if absent */
} ApAutoConfWsc;

typedef struct PbMediaType {
    uint16_t mediaType; /* IEEE 1905.1 media-type code */
    uint8_t infoLen;    /* bytes at info */
    const uint8_t* info;
} PbMediaType;

typedef struct PbEvent {
    uint8_t alMac[PLATFORM_MAC_LEN]; /* of the device whose button was pressed */
    uint16_t msgId;
    uint8_t mediaTypeNum; /* entries at mediaTypes */
    const PbMediaType* mediaTypes;
} PbEvent;

typedef struct PbJoin {
    uint8_t alMac[PLATFORM_MAC_LEN]; /* of the device whose button was pressed */
    uint16_t msgId;                  /* of its push-button event */
    uint8_t txIntfMac[PLATFORM_MAC_LEN];
    uint8_t newDevIntfMac[PLATFORM_MAC_LEN];
} PbJoin;

/* A message has arrived. The library decides what it means for this device, and sends its answer by
 * a service request (lifecycle.h), during the call or later. Duplicates are passed on once. A
 * failure is logged by the daemon.
 *
 * Search: a device of the searched role answers by SERV_REQ_AP_AUTOCONF_RESP with the same msgId.
 * Response: passed on only if it answers our search.
 * An Enrollee gets responses, WSC frames and renews only of one Registrar at a time: the one that
 * was heard first, until that was silent for 130 seconds. */
int notifyApAutoConfSrchMsgReceived(const ApAutoConfSrch* msg);
int notifyApAutoConfRespMsgReceived(const ApAutoConfInfo* msg);
/* WSC frame: an answer, if there is one, goes to srcMac by SERV_REQ_AP_AUTOCONF_WSC. */
int notifyApAutoConfWscMsgReceived(const ApAutoConfWsc* msg);
/* Renew: the networks of the band must be configured again. If an Enrollee returns 0, the daemon
 * acknowledges the renew to the sender. A library that has only asked for the settings returns
 * PLATFORM_RENEW_STARTED and requests the acknowledgement by SERV_REQ_AP_AUTOCONF_ACK when they
 * are set. */
enum { PLATFORM_RENEW_STARTED = 256 };
int notifyApAutoConfRenewMsgReceived(const ApAutoConfInfo* msg);
/* Push-button event: the button of another device was pressed. The library lets devices join; once
 * one has, it sends SERV_REQ_PB_JOIN with alMac and msgId of the event. */
int notifyPBEventMsgReceived(const PbEvent* msg);
/* Push-button join: a device has joined the mesh by push button. */
int notifyPBJoinMsgReceived(const PbJoin* msg);

/* The WPS configuration. */
typedef struct WpsConfig {
    uint8_t deviceType;   /* PLATFORM_REGISTRAR or PLATFORM_ENROLLEE */
    uint8_t sendSearch;   /* SendSearchMsg: non-zero to send searches */
    uint8_t sendResponse; /* SendResponseMsg: non-zero to answer searches */
} WpsConfig;

/* Sets the WPS configuration; of sendSearch and sendResponse only the low 8 bits count. The values
 * come unchecked from the command line, a client or another device, so the library must check
 * them. */
int setWPSConfig(int32_t deviceType, int32_t sendSearch, int32_t sendResponse);
/* Returns the WPS configuration. The daemon keeps a copy of it and of the settings below (by band,
 * sync lists, auto-configuration, reload), initially all 0. It refreshes the copy after it has
 * called a setter for the command line or a client, and when the library reports
 * NET_STATUS_WPS_CONFIG. The library must report that if a value changes otherwise or is not 0 at
 * the start. */
int getWPSConfig(WpsConfig* config);

/* The same as setWPSConfig, but on trial: the former values return after timeout seconds unless
 * setWPSConfig is called before that. A timeout of 0 means no trial. */
int setWPSConfigChangetimeout(int32_t deviceType, int32_t sendSearch, int32_t sendResponse,
                              int32_t timeout);

/* Sets the values of one band, or of all. band is "All" or the decimal code 0, 1, 3, 32 or 33. */
int setWPSConfByBand(const char* band, int32_t sendSearch, int32_t sendResponse);

typedef struct WpsBandConfig {
    uint8_t sendSearch;
    uint8_t sendResponse;
} WpsBandConfig;

/* Returns the values of the band 0, 1, 3, 32 or 33. */
int getWPSConfByBand(uint8_t band, WpsBandConfig* config);

/* An entry of the Wi-Fi sync list, 9 bytes without padding. The list holds the devices that a
 * renew still waits for. */
typedef struct WpsSyncRecord {
    uint8_t selector; /* by band: 0 or 1, set by the caller */
    uint8_t mac[PLATFORM_MAC_LEN];
    uint8_t value[2];
} WpsSyncRecord;

/* The caller sets mac to an AL MAC address. 0 if that device is in the list; value is then filled.
 */
int getWPSSyncListByMac(WpsSyncRecord* record);
/* The caller sets selector; mac is filled, all zero if the list is empty. */
int getWPSSyncListByBand(WpsSyncRecord* record);

/* Whether this device accepts configuration by AP auto-configuration: 1 yes, 0 no. Another device
 * sets it; the library keeps it. */
int getAPautoconfig(uint8_t* setting);
int setAPautoconfig(uint8_t setting);
/* The device with this AL MAC has acknowledged that it applied the configuration of a band (0, 1,
 * 3, 32 or 33). A failure, for example if no renew waits for it, is only logged. */
int setAPautoconfigFlag(const uint8_t* alMac, uint8_t band);

/* The Wi-Fi reload flag. A client or the command line sets it together with the role. getWiFiReload
 * returns the low 8 bits of reload, which an Enrollee shows in its data model. */
int setWiFiReloadFlag(int32_t deviceType, int32_t reload);
int getWiFiReload(uint8_t* reload);

/* Admission to the mesh: 1 admits every device, 0 only those that the owner has approved. Shown in
 * the data model. */
int setApproveFlag_flag(int32_t approve);
int getApproveFlag(int32_t* approve);
/* 0 if the device with this AL MAC is admitted. hostname is not NULL but may be empty. */
int checkMACisApprove(const uint8_t* alMac, const char* hostname);

/* The following functions send a message for a client: they compose it, pass it to the daemon by a
 * service request (lifecycle.h) and return the result of that. band is unchecked.
 *
 * A renew, by SERV_REQ_AP_AUTOCONF_RENEW. */
int sendWPSRenew(uint8_t band);
/* A search for a Registrar, by SERV_REQ_AP_AUTOCONF_SEARCH. */
int sendWPSSearch(uint8_t band);
/* The renew of one band while the Wi-Fi of the whole mesh is synchronized. */
int vmNetCtrl_WPS_sendRenewMsg(uint8_t band);
/* A press of the button of this device: SERV_REQ_PB_EVENT with the media types of the interfaces to
 * which a device may be added. */
int sendPBEvent(void);

/* start 1: the daemon sends a renew; the library starts, or starts again, to wait for
 * acknowledgements (setAPautoconfigFlag). 0: it stops waiting. */
int start_and_stop_Renew(int32_t start);
/* Stops waiting for acknowledgements, before the Wi-Fi of the whole mesh is synchronized. */
int wifi_flag_init(void);

/* getSendRenew_flag is 1 while a renew waits for acknowledgements, getChangetomeout_flag while new
 * values wait for their confirmation (setWPSConfigChangetimeout); else 0. While one is 1, the
 * daemon calls the matching check on every pass of its main loop, at least once a second. The check
 * ends the state when its time is over; its result is ignored. */
int getSendRenew_flag(void);
int check_Renew_timeout(void);
int getChangetomeout_flag(void);
int check_ChangeDeviceMode_timeout(void);
/* Called every second: repeats renews that were not acknowledged (getUnsyncedEnrollees in
 * exports.h). */
int reSendRenewbySynclist(void);

/* Records of the service requests (lifecycle.h). */
typedef struct ApAutoConfRespReq {
    uint8_t dstMac[PLATFORM_MAC_LEN];
    uint8_t dstAlMac[PLATFORM_MAC_LEN]; /* used if dstMac is no known neighbor */
    uint16_t msgId;                     /* of the search that is answered */
    uint8_t supportedRole;              /* PLATFORM_REGISTRAR or PLATFORM_ENROLLEE */
    uint8_t freqBand;                   /* band */
} ApAutoConfRespReq;

typedef struct ApAutoConfWscReq {
    uint8_t dstMac[PLATFORM_MAC_LEN];
    uint16_t frameLen; /* bytes at frame */
    const uint8_t* frame;
    char updateTime[PLATFORM_WSC_UPDATE_TIME_LEN]; /* "" or "0000000000": not sent */
} ApAutoConfWscReq;

typedef struct ApAutoConfRenewReq {
    uint8_t supportedRole;
    uint8_t freqBand;
    uint8_t reserved[4];
    uint8_t dstMac[PLATFORM_MAC_LEN]; /* at byte 6 */
    uint8_t reserved2[4];
    uint32_t unicast; /* at byte 16: non-zero sends to dstMac only, zero to all */
} ApAutoConfRenewReq;

typedef struct ApAutoConfAckReq {
    uint8_t alMac[PLATFORM_MAC_LEN]; /* of the Registrar that sent the renew */
    uint8_t freqBand;                /* band */
} ApAutoConfAckReq;

typedef struct PbEventReq {
    uint16_t msgId;       /* receives the message id of the event */
    uint8_t mediaTypeNum; /* entries at mediaTypes */
    const PbMediaType* mediaTypes;
} PbEventReq;

/* The same fields as a received join. */
typedef PbJoin PbJoinReq;

#ifdef __cplusplus
}
#endif
#endif
