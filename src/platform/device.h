/* Device actions: what a management process or another device of the mesh orders this device to do,
 * and the data that belongs to it.
 *
 * Unless a function states otherwise, it returns 0 on success and a failure code otherwise: 1 no
 * such interface, 2 unsupported power state, 16 the action failed or is not supported. Every
 * function must return within 100 ms. It may continue longer work in the background and return 0
 * for accepted. MAC addresses are 6 bytes in wire order, numbers are in host byte order. Texts are
 * NUL-terminated and not NULL; they come unchecked from other devices, so the library must treat
 * them as mere data. */
#ifndef VM1905_PLATFORM_DEVICE_H
#define VM1905_PLATFORM_DEVICE_H

#include <stdint.h>

#include "platform/descriptions.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Power state of interfaces ------------------------------------------------------------ */

/* Sets every local interface of a media type (IEEE 1905.1 code) to a power state (PLATFORM_PWR_ON
 * or PLATFORM_PWR_OFF). 0 done, 1 no interface of that type, 2 unsupported state, 16 failure. */
int setIntfPwrStateByType(uint32_t mediaType, uint32_t state);

/* The same for the one interface with this MAC and media type. */
int setIntfPwrStateById(const uint8_t* mac, uint32_t mediaType, uint32_t state);

/* ---- System, LED, network ------------------------------------------------------------------ */

/* Restores the factory settings, which normally ends in a restart of the device. */
int resetToDefault(void);

/* Sets the LED; ledOption is the LEDOption as received. After a change the library reports the new
 * LED status text by NET_STATUS_LED. */
int setLEDvalue(uint8_t ledOption);
/* Carries out a system order; systemOption is the SystemOption as received. */
int setSystemvalue(uint8_t systemOption);

/* Carries out a network order: the NetworkOption as received and its command, at most 128 bytes. */
int setNetworkCtrl(uint16_t networkOption, const char* command);

/* Sets the country code of the radios, at most 16 bytes. */
int setWIFICountryCode(const char* countryCode);

/* ---- Firmware ------------------------------------------------------------------------------ */

enum { PLATFORM_FW_URL_LEN = 1024, PLATFORM_FW_FILE_NAME_LEN = 512, PLATFORM_FW_TEXT_LEN = 128 };

/* States of the firmware upgrade of a device. */
enum {
    PLATFORM_FW_FAILED = 0,
    PLATFORM_FW_IDLE = 1,
    PLATFORM_FW_BUSY = 2,
    PLATFORM_FW_UPGRADE = 3,
    PLATFORM_FW_UPGRADE_EX = 4,
    PLATFORM_FW_REBOOT = 5
};

/* A firmware order. Both texts may be empty; fwOption and fwTopoOption are 0 if the order contains
 * none. */
typedef struct FwCtrl {
    uint8_t fwOption;
    uint8_t fwTopoOption;
    char url[PLATFORM_FW_URL_LEN];
    char fileName[PLATFORM_FW_FILE_NAME_LEN];
} FwCtrl;

/* Carries out a firmware order. 0 if it is accepted; a download runs in the background. */
int FWCtrl(const FwCtrl* ctrl);

/* Stores the state of this device's own firmware upgrade, PLATFORM_FW_.... The two values are
 * passed on from the request and may be ignored. */
int getfirmwareStatus(int32_t value1, int32_t value2, uint32_t* status);

/* Sets the state of the upgrade for a management process: a label ("Failed", "Idle", "Busy",
 * "Upgrade", "Upgrade_EX" or "Reboot") or a decimal number. The library reports a change by
 * NET_STATUS_FW_UPGRADE. 16 for any other text. */
int setFWState(const char* state);

/* A management process has searched for new firmware: 1 found, any other value not. The library
 * reports the value by NET_STATUS_NEW_FIRMWARE. */
int setFWresult(int32_t result);

/* The version and the date of the new firmware for this device, as texts. */
int getNewFWversion(char text[PLATFORM_FW_TEXT_LEN]);
int getNewFWdate(char text[PLATFORM_FW_TEXT_LEN]);

/* The version of the newest firmware for another device, given the host names of this device and of
 * that one. 16 if there is none. */
int getNewFWVersionByPlatform(const char* ownHostname, const char* hostname,
                              char version[PLATFORM_FW_TEXT_LEN]);

/* Where that device can fetch it: the URL, and a file name that may be empty. */
int getDownloanURL(const char* ownHostname, const char* hostname, char url[PLATFORM_FW_URL_LEN],
                   char fileName[PLATFORM_FW_FILE_NAME_LEN]);

/* Called every 20 seconds. 0 if the library has taken up a firmware file from this device's storage
 * since the last call, else 16. It may look for one during the call or at another time. */
int checkLocalFW(void);

/* Starts (1) or stops (0) the FTP service from which the devices fetch their firmware. */
int set_vsftpd_StartStop(int32_t start);

/* ---- Wi-Fi stations ------------------------------------------------------------------------ */

enum { PLATFORM_WIFI_TX_LEN = 32, PLATFORM_WIFI_RX_LEN = 38, PLATFORM_WIFI_CONN_TYPE_LEN = 32 };

/* A station associated with an access point of this device. A text that fills its field has no
 * terminator. */
typedef struct WifiStation {
    struct WifiStation* next;
    uint8_t mac[PLATFORM_MAC_LEN];
    uint32_t mediaType;   /* IEEE 1905.1 media-type code */
    uint16_t rate;        /* Mb/s */
    uint16_t rssi;        /* dB above a noise floor of -95 dBm */
    uint16_t signalLevel; /* percent: 0 at -100 dBm, 100 at -50 dBm */
    char tx[PLATFORM_WIFI_TX_LEN];
    char rx[PLATFORM_WIFI_RX_LEN];
    char connType[PLATFORM_WIFI_CONN_TYPE_LEN]; /* "Main_5GH", "Guest_5GH", "Mesh_5G", ... */
} WifiStation;

typedef struct WifiStationList {
    uint16_t count;    /* entries at head */
    WifiStation* head; /* entries from malloc(), freed by the caller */
} WifiStationList;

/* The stations at present; 0 with count 0 if there are none. Called every 2 seconds. */
int getWIFIConfig(WifiStationList* list);

/* ---- Wi-Fi state and channel synchronization ------------------------------------------------ */

/* The texts that a Registrar sends to its Enrollees. Only the platform knows their content. */
enum { PLATFORM_SYNC_DATA_LEN = 1400 };

/* The Wi-Fi state and channel settings of this device for the Enrollees. 16 if there are none. */
int getWIFIStateSync(char data[PLATFORM_SYNC_DATA_LEN]);
int getWIFIChannelSync(char data[PLATFORM_SYNC_DATA_LEN]);

/* Applies the text that the Registrar with this AL MAC has sent. */
int parseWIFIStateSyncdata(const uint8_t* alMac, const char* data);
int parseWIFIChannelSyncData(const uint8_t* alMac, const char* data);

/* The device with this AL MAC has acknowledged the text, with this result text. */
int setWIFIStateSyncList(const uint8_t* alMac, const char* result);
int setWIFIChannelSyncList(const uint8_t* alMac, const char* result);

/* ---- Configuration of the extenders ---------------------------------------------------------- */

/* The configuration for the extenders; 16 if there is none. Only the platform knows its content. */
int getExtenderConfig(char data[PLATFORM_SYNC_DATA_LEN]);

/* Applies the configuration that the device with this AL MAC has sent. */
int setExtenderConfig(const uint8_t* alMac, const char* data);

/* ---- Security exchange --------------------------------------------------------------------- */

/* The first and the second message of an exchange have arrived: len bytes of data from the device
 * with this AL MAC. The library starts and continues an exchange with sendSecurityCtrlMsg
 * (exports.h), during the call or later. */
int SecurityCtrl_parseM1(const uint8_t* alMac, uint16_t len, const uint8_t* data);
int SecurityCtrl_parseM2(const uint8_t* alMac, uint16_t len, const uint8_t* data);

/* Called every few seconds: forgets exchanges that were never finished, and may start new ones. */
int SecurityCtrl_cleanDataToList(void);

/* ---- Speed test ---------------------------------------------------------------------------- */

typedef struct SpeedTestCtrl {
    uint8_t enable; /* 1 start, 0 stop */
    uint8_t action; /* as received */
    char url[1024];
    uint32_t startTime; /* seconds since the epoch, 0 for at once */
    uint32_t runtime;   /* seconds */
    uint8_t lanMac[PLATFORM_MAC_LEN];
} SpeedTestCtrl;

/* Starts or stops the test on this device. While it runs, getSpeedTestState() returns 0. */
int setSpeedTestStartStop(const SpeedTestCtrl* ctrl);

/* One line of results since the last call, for the device that started the test. Called once a
 * second while the test runs. 16 if there are no results. */
int getSpeedTestData(char data[PLATFORM_SYNC_DATA_LEN]);

/* Displays or logs a line of results from the device with this AL MAC. */
int outputSpeedTestData(const uint8_t* alMac, const char* data);

/* Ends any test and forgets its results. */
int initSpeedTestData(void);

/* 0 while a test runs that has started and whose results must be sent, else 16. Note that
 * setSpeedTestState, in contrast, takes 1 for running and 0 for not running. */
int getSpeedTestState(void);
int setSpeedTestState(int32_t running);

/* The time limit of the running test, in seconds. */
int getSpeedTestTimeout(void);

/* Keeps a flag for the daemon: 0 while a start or stop order waits for its acknowledgement and must
 * be repeated, else 1. Initially 1. */
int getSpeedTestSendCtrlflag(void);
int setSpeedTestSendCtrlflag(int32_t flag);

/* ---- Log file ------------------------------------------------------------------------------ */

typedef struct LogFileRef {
    char fileName[256];
    char ftpUrl[1024];
} LogFileRef;

/* The device with this AL MAC requests our log file: publishes it and stores where it is. */
int getResponseLogFile(const uint8_t* alMac, LogFileRef* file);

/* Fetches the log file that another device has published. */
int DownloadLogFile(const char* fileName, const char* ftpUrl);
/* The same, and puts it into /tmp/vm1905 under the name `target`, as a whole. If this function is
 * missing, the other one is called, and vm1905ctl shows only where the device has published it. */
int DownloadLogFileAs(const char* fileName, const char* ftpUrl, const char* target);

/* The device with this AL MAC has fetched our log file (result 0) or has failed to. */
int getAckDownloadLogFile(const uint8_t* alMac, int32_t result);

/* ---- Steering ------------------------------------------------------------------------------ */

/* Switches the AP steering of this device; option is the Option as received. */
int setAPSteering(int32_t option);

/* A request to a station for an IEEE 802.11k beacon report. */
typedef struct BcnRptReq {
    uint8_t staMac[PLATFORM_MAC_LEN];
    uint8_t bssid[PLATFORM_MAC_LEN]; /* all 0xFF for any */
    uint8_t operatingClass;
    uint8_t channel;
    uint8_t mode;      /* 0 passive, 1 active, 2 table */
    uint16_t duration; /* time units */
    char ssid[33];     /* NUL-terminated, empty for any */
} BcnRptReq;

/* Sends the request; the report comes later (getBcnRptReq). */
int sendBcnRptReq(const BcnRptReq* req);

enum { PLATFORM_BCN_RPT_LEN = 600 };

/* A beacon report in the form in which the driver provides it. */
typedef struct BcnRpt {
    uint8_t staMac[PLATFORM_MAC_LEN]; /* set by the caller */
    uint16_t len;                     /* bytes at data */
    uint8_t data[PLATFORM_BCN_RPT_LEN];
} BcnRpt;

/* Stores the last report of a station. */
int getBcnRptReq(BcnRpt* report);

/* A request to a station to move to another BSS (IEEE 802.11v). */
typedef struct BtmReq {
    uint8_t staMac[PLATFORM_MAC_LEN];
    uint8_t bssid[PLATFORM_MAC_LEN]; /* of the target */
    uint8_t operatingClass;
    uint8_t channel;
    uint8_t disassocImminent; /* 1: the station will be disassociated after disassocTimer */
    uint16_t disassocTimer;   /* beacon intervals */
} BtmReq;

/* Sends the request. */
int sendBTMReq(const BtmReq* req);

/* Bars a station from the access points of this device, or admits it again. */
int addToBlacklist(const uint8_t* staMac);
int delFromBlacklist(const uint8_t* staMac);

#ifdef __cplusplus
}
#endif
#endif
