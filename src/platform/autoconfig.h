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

int notifyApAutoConfSrchMsgReceived(const ApAutoConfSrch* msg);
int notifyApAutoConfRespMsgReceived(const ApAutoConfInfo* msg);
int notifyApAutoConfWscMsgReceived(const ApAutoConfWsc* msg);
int notifyApAutoConfRenewMsgReceived(const ApAutoConfInfo* msg);
int notifyPBEventMsgReceived(const PbEvent* msg);
int notifyPBJoinMsgReceived(const PbJoin* msg);

/* The three WPS configuration values. */
typedef struct WpsConfig {
    uint8_t deviceType;   /* PLATFORM_REGISTRAR or PLATFORM_ENROLLEE */
    uint8_t sendSearch;   /* SendSearchMsg */
    uint8_t sendResponse; /* SendResponseMsg */
} WpsConfig;

int setWPSConfig(int32_t deviceType, int32_t sendSearch, int32_t sendResponse);
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

int getAPautoconfig(uint8_t* setting);
int setAPautoconfig(uint8_t setting);
/* A device acknowledged the auto-configuration of one band. */
int setAPautoconfigFlag(const uint8_t* alMac, uint8_t band);

int setWiFiReloadFlag(int32_t deviceType, int32_t reload);
int getWiFiReload(uint8_t* reload);

/* Mesh admission. */
int setApproveFlag_flag(int32_t approve);
int getApproveFlag(int32_t* approve);
/* 0 when the device is admitted. hostname may be empty. */
int checkMACisApprove(const uint8_t* alMac, const char* hostname);

int sendWPSRenew(uint8_t band);
int sendWPSSearch(uint8_t band);
int vmNetCtrl_WPS_sendRenewMsg(uint8_t band);
int sendPBEvent(void);
int start_and_stop_Renew(int32_t start);
int wifi_flag_init(void);

/* Renew and device-mode change in progress: 1 while the matching check is to be called. */
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
