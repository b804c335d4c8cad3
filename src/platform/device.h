/* Device actions: what a management process or another device of the mesh orders this device to
 * do, and the figures that go with it.
 *
 * Unless told otherwise a function returns 0 on success and a failure code otherwise: 1 no such
 * interface, 2 unsupported power state, 16 the action failed or this device cannot do it. Each
 * call returns within 100 ms; work that takes longer goes on after the call, which then tells 0 for
 * accepted. MAC addresses are 6 bytes in wire order, numbers are in host byte order, texts are
 * NUL-terminated, never NULL inside a record, and come unchecked from other devices: the library
 * treats them as data. */
#ifndef VM1905_PLATFORM_DEVICE_H
#define VM1905_PLATFORM_DEVICE_H

#include <stdint.h>

#include "platform/descriptions.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Power state of interfaces ------------------------------------------------------------ */

/* Sets every local interface of a media type to a power state (PLATFORM_PWR_ON or
 * PLATFORM_PWR_OFF). 0 done, 1 no interface of that type, 2 unsupported state, 16 failure. */
int setIntfPwrStateByType(uint32_t mediaType, uint32_t state);

/* The same for the one interface with this MAC and media type. */
int setIntfPwrStateById(const uint8_t* mac, uint32_t mediaType, uint32_t state);

/* ---- System, LED, network ------------------------------------------------------------------ */

/* Restores the factory settings; normally ends in a restart of the device. */
int resetToDefault(void);

/* LEDOption and SystemOption as received, 0..255. After a change of the LED the library reports
 * the new LED status text with NET_STATUS_LED. */
int setLEDvalue(uint8_t ledOption);
int setSystemvalue(uint8_t systemOption);

/* NetworkOption and its command text (at most 128 bytes). */
int setNetworkCtrl(uint16_t networkOption, const char* command);

/* Country code text, at most 16 bytes. */
int setWIFICountryCode(const char* countryCode);

/* ---- Firmware ------------------------------------------------------------------------------ */

enum { PLATFORM_FW_URL_LEN = 1024, PLATFORM_FW_FILE_NAME_LEN = 512, PLATFORM_FW_TEXT_LEN = 128 };

/* States of the firmware upgrade. */
enum {
    PLATFORM_FW_FAILED = 0,
    PLATFORM_FW_IDLE = 1,
    PLATFORM_FW_BUSY = 2,
    PLATFORM_FW_UPGRADE = 3,
    PLATFORM_FW_UPGRADE_EX = 4,
    PLATFORM_FW_REBOOT = 5
};

/* A firmware order. fileName is empty in the form that carries only a URL; fwOption and
 * fwTopoOption are 0 when the order carries none. */
typedef struct FwCtrl {
    uint8_t fwOption;
    uint8_t fwTopoOption;
    char url[PLATFORM_FW_URL_LEN];
    char fileName[PLATFORM_FW_FILE_NAME_LEN];
} FwCtrl;

/* Carries out a firmware order: 0 accepted (a download goes on in the background). */
int FWCtrl(const FwCtrl* ctrl);

/* The present state of the own firmware upgrade, PLATFORM_FW_...; the two values are whatever
 * the caller was given and are not needed to answer. */
int getfirmwareStatus(int32_t value1, int32_t value2, uint32_t* status);

/* A management process tells the state of the upgrade by its label ("Failed", "Idle", "Busy",
 * "Upgrade", "Upgrade_EX" or "Reboot") or decimal number; a change is reported with
 * NET_STATUS_FW_UPGRADE. 16 for any other text. */
int setFWState(const char* state);

/* A management process tells the result of the search for a new firmware: 1 found, anything
 * else not; reported with NET_STATUS_NEW_FIRMWARE. */
int setFWresult(int32_t result);

/* Version and date text of the new firmware of this device. */
int getNewFWversion(char text[PLATFORM_FW_TEXT_LEN]);
int getNewFWdate(char text[PLATFORM_FW_TEXT_LEN]);

/* Version text of the newest firmware for a device of the mesh, by the host names of this device
 * and of that one. */
int getNewFWVersionByPlatform(const char* ownHostname, const char* hostname,
                              char version[PLATFORM_FW_TEXT_LEN]);

/* Where that device can fetch it: URL and, possibly empty, file name. */
int getDownloanURL(const char* ownHostname, const char* hostname, char url[PLATFORM_FW_URL_LEN],
                   char fileName[PLATFORM_FW_FILE_NAME_LEN]);

/* Called every 20 seconds. 0 when a firmware file that was left on this device has been taken up
 * since the last call, else 16. The library may look for one in here or at a time of its own. */
int checkLocalFW(void);

/* Starts (1) or stops (0) the FTP service from which the devices fetch their firmware. */
int set_vsftpd_StartStop(int32_t start);

/* ---- Wi-Fi stations ------------------------------------------------------------------------ */

enum { PLATFORM_WIFI_TX_LEN = 32, PLATFORM_WIFI_RX_LEN = 38, PLATFORM_WIFI_CONN_TYPE_LEN = 32 };

/* One station associated with an access point of this device. Texts may fill their field whole,
 * then without a terminator. */
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
    uint16_t count;
    WifiStation* head; /* each entry comes from malloc() and becomes the caller's */
} WifiStationList;

/* The stations known at present; success with count 0 when none is known. */
int getWIFIConfig(WifiStationList* list);

/* ---- Wi-Fi state and channel synchronisation ------------------------------------------------ */

/* The texts that a Registrar hands to its Enrollees and their answers. The content is the
 * platform's and opaque to the daemon. */
enum { PLATFORM_SYNC_DATA_LEN = 1400 };

/* This device's Wi-Fi state / channel setting, to be sent to the Enrollees. */
int getWIFIStateSync(char data[PLATFORM_SYNC_DATA_LEN]);
int getWIFIChannelSync(char data[PLATFORM_SYNC_DATA_LEN]);

/* Takes over what the Registrar with this AL MAC sent. */
int parseWIFIStateSyncdata(const uint8_t* alMac, const char* data);
int parseWIFIChannelSyncData(const uint8_t* alMac, const char* data);

/* Notes how the device with this AL MAC stands in the synchronisation: the result text of its
 * acknowledgement. */
int setWIFIStateSyncList(const uint8_t* alMac, const char* result);
int setWIFIChannelSyncList(const uint8_t* alMac, const char* result);

/* ---- Configuration of the extenders ---------------------------------------------------------- */

/* The configuration that this device hands to the extenders; 16 when it has none for them. The
 * content is the platform's and opaque to the daemon. */
int getExtenderConfig(char data[PLATFORM_SYNC_DATA_LEN]);

/* Takes over the one that the device with this AL MAC sent. */
int setExtenderConfig(const uint8_t* alMac, const char* data);

/* ---- Security exchange --------------------------------------------------------------------- */

/* First and second message of the exchange, len bytes of data from the device with this AL MAC. */
int SecurityCtrl_parseM1(const uint8_t* alMac, uint16_t len, const uint8_t* data);
int SecurityCtrl_parseM2(const uint8_t* alMac, uint16_t len, const uint8_t* data);

/* Called every few seconds: forget exchanges that were never finished. */
int SecurityCtrl_cleanDataToList(void);

/* ---- Speed test ---------------------------------------------------------------------------- */

typedef struct SpeedTestCtrl {
    uint8_t enable; /* 1 start, 0 stop */
    uint8_t action;
    char url[1024];
    uint32_t startTime; /* seconds since the epoch, 0 at once */
    uint32_t runtime;   /* seconds */
    uint8_t lanMac[PLATFORM_MAC_LEN];
} SpeedTestCtrl;

/* Starts or stops the test on this device. While one runs, getSpeedTestState() is 0. */
int setSpeedTestStartStop(const SpeedTestCtrl* ctrl);

/* What the test on this device has to tell since the last call, one line: asked once a second while
 * it runs, and sent to the device that started it. 16 when there is nothing to tell. */
int getSpeedTestData(char data[PLATFORM_SYNC_DATA_LEN]);

/* One line of result text of the device with this AL MAC, for whoever shows it. */
int outputSpeedTestData(const uint8_t* alMac, const char* data);

/* Forgets the figures of the last test; no test runs afterwards. */
int initSpeedTestData(void);

/* 0 while a test runs whose data is to be sent, else 16. Mind that setSpeedTestState takes the
 * plain meaning: 1 running, 0 not running. */
int getSpeedTestState(void);
int setSpeedTestState(int32_t running);

/* How long the running test may last, in seconds. */
int getSpeedTestTimeout(void);

/* 0 while a start or stop order still waits for its acknowledgement and is to be repeated,
 * 1 (also at first) when none does. */
int getSpeedTestSendCtrlflag(void);
int setSpeedTestSendCtrlflag(int32_t flag);

/* ---- Log file ------------------------------------------------------------------------------ */

typedef struct LogFileRef {
    char fileName[256];
    char ftpUrl[1024];
} LogFileRef;

/* The device with this AL MAC asks for our log file: publishes it and tells where it is. */
int getResponseLogFile(const uint8_t* alMac, LogFileRef* file);

/* Fetches the log file that another device published. */
int DownloadLogFile(const char* fileName, const char* ftpUrl);

/* The device with this AL MAC has fetched our log file (result 0) or failed to. */
int getAckDownloadLogFile(const uint8_t* alMac, int32_t result);

/* ---- Steering ------------------------------------------------------------------------------ */

/* Switches the AP steering of this device, Option as received. */
int setAPSteering(int32_t option);

/* Asks a station for an IEEE 802.11k beacon report. */
typedef struct BcnRptReq {
    uint8_t staMac[PLATFORM_MAC_LEN];
    uint8_t bssid[PLATFORM_MAC_LEN]; /* all 0xFF for any */
    uint8_t operatingClass;
    uint8_t channel;
    uint8_t mode;      /* 0 passive, 1 active, 2 table */
    uint16_t duration; /* time units */
    char ssid[33];     /* empty for any */
} BcnRptReq;

int sendBcnRptReq(const BcnRptReq* req);

enum { PLATFORM_BCN_RPT_LEN = 600 };

/* The last beacon report of a station, as the driver gave it. */
typedef struct BcnRpt {
    uint8_t staMac[PLATFORM_MAC_LEN]; /* set by the caller */
    uint16_t len;
    uint8_t data[PLATFORM_BCN_RPT_LEN];
} BcnRpt;

int getBcnRptReq(BcnRpt* report);

/* Asks a station to move to another BSS (IEEE 802.11v). */
typedef struct BtmReq {
    uint8_t staMac[PLATFORM_MAC_LEN];
    uint8_t bssid[PLATFORM_MAC_LEN]; /* where it should go */
    uint8_t operatingClass;
    uint8_t channel;
    uint8_t disassocImminent; /* 1: it is disassociated when disassocTimer has run out */
    uint16_t disassocTimer;   /* beacon intervals */
} BtmReq;

int sendBTMReq(const BtmReq* req);

/* Keeps a station away from the access points of this device, or lets it in again. */
int addToBlacklist(const uint8_t* staMac);
int delFromBlacklist(const uint8_t* staMac);

#ifdef __cplusplus
}
#endif
#endif
