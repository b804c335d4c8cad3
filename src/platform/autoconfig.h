/* WPS, AP auto-configuration, push button and the approval of mesh devices.
 *
 * Unless told otherwise a function returns 0 on success and a failure code otherwise. MAC
 * addresses are 6 bytes in wire order, numbers are in host byte order. */
#ifndef VM1905_PLATFORM_AUTOCONFIG_H
#define VM1905_PLATFORM_AUTOCONFIG_H

#include <stdint.h>

#include "platform/descriptions.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Roles, the values of searchedRole, supportedRole and deviceType below: a Registrar configures the
 * networks of the mesh, an Enrollee takes its configuration over. */
enum { PLATFORM_REGISTRAR = 0, PLATFORM_ENROLLEE = 1 };

/* Parsed messages that the daemon hands over; valid during the call only. */
typedef struct ApAutoConfSrch {
    uint8_t searchedRole;
    uint8_t freqBand;
    uint8_t alMac[PLATFORM_MAC_LEN];
    uint16_t msgId;
} ApAutoConfSrch;

typedef struct ApAutoConfInfo { /* response and renew */
    uint8_t supportedRole;
    uint8_t freqBand;
    uint8_t alMac[PLATFORM_MAC_LEN];
    uint16_t msgId;
} ApAutoConfInfo;

enum { PLATFORM_WSC_UPDATE_TIME_LEN = 32 };

typedef struct ApAutoConfWsc {
    uint8_t alMac[PLATFORM_MAC_LEN];
    uint8_t srcMac[PLATFORM_MAC_LEN];
    uint16_t frameLen;
    const uint8_t* frame;
    char updateTime[PLATFORM_WSC_UPDATE_TIME_LEN]; /* NUL-terminated, empty when not carried */
} ApAutoConfWsc;

typedef struct PbMediaType {
    uint16_t mediaType;
    uint8_t infoLen;
    const uint8_t* info;
} PbMediaType;

typedef struct PbEvent {
    uint8_t alMac[PLATFORM_MAC_LEN];
    uint16_t msgId;
    uint8_t mediaTypeNum;
    const PbMediaType* mediaTypes;
} PbEvent;

typedef struct PbJoin {
    uint8_t alMac[PLATFORM_MAC_LEN]; /* of the device whose event is answered */
    uint16_t msgId;                  /* of that event */
    uint8_t txIntfMac[PLATFORM_MAC_LEN];
    uint8_t newDevIntfMac[PLATFORM_MAC_LEN];
} PbJoin;

/* Such a message has arrived. What it means for this device is the library's to decide; what it has
 * to send in return it asks for by a service request (lifecycle.h), from inside the call or later.
 * A message that came more than once is handed over once. On failure the daemon writes a line to
 * its log.
 *
 * A search: a device of the searched role answers by SERV_REQ_AP_AUTOCONF_RESP under msgId. A
 * response is handed over only when it answers a search of ours. */
int notifyApAutoConfSrchMsgReceived(const ApAutoConfSrch* msg);
int notifyApAutoConfRespMsgReceived(const ApAutoConfInfo* msg);
/* A WSC frame, to be answered, if at all, by SERV_REQ_AP_AUTOCONF_WSC to srcMac. */
int notifyApAutoConfWscMsgReceived(const ApAutoConfWsc* msg);
/* The networks of the band are to be configured anew. When this returns 0 on an Enrollee, the
 * daemon tells the sender that it is done. */
int notifyApAutoConfRenewMsgReceived(const ApAutoConfInfo* msg);
/* Somebody has pressed the button of another device; a device has joined through one. */
int notifyPBEventMsgReceived(const PbEvent* msg);
int notifyPBJoinMsgReceived(const PbJoin* msg);

/* The three WPS configuration values. */
typedef struct WpsConfig {
    uint8_t deviceType;   /* PLATFORM_REGISTRAR or PLATFORM_ENROLLEE */
    uint8_t sendSearch;   /* SendSearchMsg */
    uint8_t sendResponse; /* SendResponseMsg */
} WpsConfig;

/* Puts the values in force, the latter two in their low 8 bits. They come from the daemon's command
 * line, from a client or from another device, and the daemon checks none of them. */
int setWPSConfig(int32_t deviceType, int32_t sendSearch, int32_t sendResponse);
/* The values in force. The daemon keeps a copy of them, all 0 at first. It is renewed when a setter
 * was called for the command line or for a client, and whenever the library reports
 * NET_STATUS_WPS_CONFIG, as it must when they change otherwise or are not 0 at its start. With them
 * the copies of the settings below are renewed: by band, sync lists, auto-configuration, reload. */
int getWPSConfig(WpsConfig* config);

/* The same as setWPSConfig, but on trial: unless a setWPSConfig confirms or replaces the values
 * within that many seconds, the earlier ones come back. A time-out of 0 is no trial. */
int setWPSConfigChangetimeout(int32_t deviceType, int32_t sendSearch, int32_t sendResponse,
                              int32_t timeout);

/* band is "All" or the decimal band code 0, 1, 32 or 33. */
int setWPSConfByBand(const char* band, int32_t sendSearch, int32_t sendResponse);

typedef struct WpsBandConfig {
    uint8_t sendSearch;
    uint8_t sendResponse;
} WpsBandConfig;

/* band is 0, 1, 32 or 33. */
int getWPSConfByBand(uint8_t band, WpsBandConfig* config);

/* A Wi-Fi sync list record. Byte layout: selector, MAC, two values. */
typedef struct WpsSyncRecord {
    uint8_t selector; /* by band: 0 or 1, set by the caller */
    uint8_t mac[PLATFORM_MAC_LEN];
    uint8_t value[2];
} WpsSyncRecord;

/* The caller sets mac to an AL MAC; 0 when that device is in the Wi-Fi sync list. */
int getWPSSyncListByMac(WpsSyncRecord* record);
/* The caller sets selector; mac is filled, all zero when the list is empty. */
int getWPSSyncListByBand(WpsSyncRecord* record);

/* Whether this device lets itself be configured by AP auto-configuration: 1 yes, 0 no. Set by
 * another device, kept by the library. */
int getAPautoconfig(uint8_t* setting);
int setAPautoconfig(uint8_t setting);
/* The device with this AL MAC acknowledged that it has taken up the configuration of one band (0,
 * 1, 32 or 33). A failure, such as that no renew waits for it, goes into the log only. */
int setAPautoconfigFlag(const uint8_t* alMac, uint8_t band);

/* The Wi-Fi reload flag, as a client or the command line sets it together with the role; the low 8
 * bits of reload are what getWiFiReload tells and an Enrollee shows in its data model. */
int setWiFiReloadFlag(int32_t deviceType, int32_t reload);
int getWiFiReload(uint8_t* reload);

/* Mesh admission: 1 admits every device, 0 those alone that the owner has approved of. Shown in the
 * data model. */
int setApproveFlag_flag(int32_t approve);
int getApproveFlag(int32_t* approve);
/* 0 when the device is admitted. hostname may be empty. */
int checkMACisApprove(const uint8_t* alMac, const char* hostname);

/* A client wants the message sent: compose it and hand it to the daemon by a service request
 * (lifecycle.h), whose result is this one's. band is 0, 1, 32 or 33, not checked.
 *
 * A renew, by SERV_REQ_AP_AUTOCONF_RENEW; a search for a Registrar, by SERV_REQ_AP_AUTOCONF_SEARCH;
 * and the renew of each band when the Wi-Fi of the whole mesh is brought into step. */
int sendWPSRenew(uint8_t band);
int sendWPSSearch(uint8_t band);
int vmNetCtrl_WPS_sendRenewMsg(uint8_t band);
/* The button of this device, pressed by a client: SERV_REQ_PB_EVENT with the media types of the
 * interfaces to which a device may be added. */
int sendPBEvent(void);

/* start 1: the daemon sends a renew, and acknowledgements (setAPautoconfigFlag) are waited for from
 * now on, also if they were already. 0: they no longer are. */
int start_and_stop_Renew(int32_t start);
/* Forgets what is still waited for, before the Wi-Fi of the whole mesh is brought into step. */
int wifi_flag_init(void);

/* 1 while a renew waits for acknowledgements, or new values for their confirmation
 * (setWPSConfigChangetimeout). The matching check is then called on every pass of the main loop, at
 * least once a second, and ends the state when its time is over; its result is not read. */
int getSendRenew_flag(void);
int check_Renew_timeout(void);
int getChangetomeout_flag(void);
int check_ChangeDeviceMode_timeout(void);
/* Called every second: repeat renews that the sync list still waits for. */
int reSendRenewbySynclist(void);

/* Records of the service requests that send standard messages (see lifecycle.h). */
typedef struct ApAutoConfRespReq {
    uint8_t dstMac[PLATFORM_MAC_LEN];
    uint8_t dstAlMac[PLATFORM_MAC_LEN];
    uint16_t msgId; /* of the search that is answered */
    uint8_t supportedRole;
    uint8_t freqBand;
} ApAutoConfRespReq;

typedef struct ApAutoConfWscReq {
    uint8_t dstMac[PLATFORM_MAC_LEN];
    uint16_t frameLen;
    const uint8_t* frame;
    char updateTime[PLATFORM_WSC_UPDATE_TIME_LEN]; /* "" or "0000000000": not sent */
} ApAutoConfWscReq;

typedef struct ApAutoConfRenewReq {
    uint8_t supportedRole;
    uint8_t freqBand;
    uint8_t reserved[4];
    uint8_t dstMac[PLATFORM_MAC_LEN]; /* byte 6 */
    uint8_t reserved2[4];
    uint32_t unicast; /* byte 16: non-zero sends to dstMac only */
} ApAutoConfRenewReq;

typedef struct PbEventReq {
    uint16_t msgId; /* receives the id under which the event was sent */
    uint8_t mediaTypeNum;
    const PbMediaType* mediaTypes;
} PbEventReq;

/* The same four fields as a received one. */
typedef PbJoin PbJoinReq;

#ifdef __cplusplus
}
#endif
#endif
