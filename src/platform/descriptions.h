/* Descriptions of the device: abstraction layer, interfaces, bridges, security, link metrics.
 *
 * Every function fills a record that the caller owns and returns 0 on success, another value on
 * failure; on failure the record holds nothing that must be freed. Buffers and list entries that
 * a function hangs into a record come from malloc() and become the caller's, which frees them
 * with free(). MAC addresses are 6 bytes in wire order, numbers are in host byte order. */
#ifndef VM1905_PLATFORM_DESCRIPTIONS_H
#define VM1905_PLATFORM_DESCRIPTIONS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { PLATFORM_INTF_NAME_LEN = 16, PLATFORM_MAC_LEN = 6 };

/* Power states of an interface. */
enum {
    PLATFORM_PWR_ON = 0,
    PLATFORM_PWR_SAVE = 1,
    PLATFORM_PWR_OFF = 2,
    PLATFORM_PWR_UNSUPPORTED = 3
};

/* Operational status of an interface or of the AL. */
enum {
    PLATFORM_OPER_UP = 0,
    PLATFORM_OPER_DOWN = 1,
    PLATFORM_OPER_DORMANT = 3,
    PLATFORM_OPER_NOT_PRESENT = 4,
    PLATFORM_OPER_LOWER_LAYER_DOWN = 5,
    PLATFORM_OPER_ERROR = 6
};

typedef struct AlDesc {
    uint8_t alMac[PLATFORM_MAC_LEN];
    uint32_t vendInfoLen; /* bytes at vendInfo */
    uint8_t* vendInfo;    /* NULL when vendInfoLen is 0 */
} AlDesc;

/* One local interface. Lists of these keep the platform's order. */
typedef struct IntfDesc {
    struct IntfDesc* next;
    char name[PLATFORM_INTF_NAME_LEN]; /* NUL-padded */
    uint8_t mac[PLATFORM_MAC_LEN];
    uint32_t pwrState;    /* PLATFORM_PWR_... */
    uint32_t operStatus;  /* PLATFORM_OPER_... */
    uint32_t mediaType;   /* IEEE 1905.1 media-type code */
    uint8_t mediaInfoLen; /* bytes at mediaInfo */
    uint8_t* mediaInfo;   /* media-specific information, NULL when mediaInfoLen is 0 */
    uint8_t oui[3];
    uint32_t vendInfoLen; /* bytes at vendInfo */
    uint8_t* vendInfo;    /* NULL when vendInfoLen is 0 */
    uint16_t nbrNum;      /* neighbour MACs at nbrMacs */
    uint8_t* nbrMacs;     /* nbrNum packed MACs of neighbour interfaces, NULL when nbrNum is 0 */
} IntfDesc;

typedef struct IntfDescList {
    uint8_t intfNum;
    IntfDesc* head;
} IntfDescList;

/* One bridging tuple: the interfaces that one bridge connects. */
typedef struct BrdgDesc {
    struct BrdgDesc* next;
    uint32_t macNum; /* interface MACs at macs */
    uint8_t* macs;   /* macNum packed MACs, NULL when macNum is 0 */
} BrdgDesc;

typedef struct BrdgDescList {
    uint8_t tupleNum;
    BrdgDesc* head;
} BrdgDescList;

typedef struct SecurityDesc {
    uint32_t mode; /* 0 user-configured pass phrase, 1 push button, 2 near field */
    uint16_t len;  /* bytes at value */
    uint8_t* value;
} SecurityDesc;

/* Link metrics towards one neighbour interface. */
typedef struct LinkDesc {
    struct LinkDesc* next;
    uint8_t nbrIntfMac[PLATFORM_MAC_LEN];
    uint32_t txErrors;
    uint32_t txPackets;
    uint32_t rxErrors;
    uint32_t rxPackets;
    uint16_t throughput;   /* MAC throughput capacity, Mb/s */
    uint16_t availability; /* percent of the time the link is idle */
    uint16_t phyRate;      /* Mb/s */
    uint16_t rssi;         /* dB, 0 on wired links */
} LinkDesc;

typedef struct LinkDescList {
    uint16_t linkNum;
    LinkDesc* head;
} LinkDescList;

/* The AL MAC address and vendor information of this device. */
int getAlDesc(AlDesc* desc);

/* All local interfaces that take part, with the neighbour interfaces known on each. */
int getIntfDesc(IntfDescList* list);

/* Number of local interfaces as getIntfDesc and the interface events since then told it, so that
 * it always agrees with what the daemon has been told. */
int getIntfmatchNum(uint8_t* num);

/* The bridging tuples. */
int getBrdgCapability(BrdgDescList* list);

/* The security setting of the network. */
int getSecurityConfig(SecurityDesc* desc);

/* The links of the interface with this MAC (6 bytes) and media type. */
int getLinkMetricList(const uint8_t* intfMac, uint32_t mediaType, LinkDescList* list);

/* 0 when the interface takes part in IEEE 1905.1 traffic, non-zero when it is excluded. */
int getDeviceSendMsgEnable(const char* intfName);

/* Identity of the device. Each text is NUL-terminated within the stated size. */
int getFirmwareVersion(char text[128]);
int getHostname(char text[128]);
int getBuildNumber(char text[32]);
int getDeviceMode(char text[32]);
int getDeviceLANMac(uint8_t mac[PLATFORM_MAC_LEN]);

#ifdef __cplusplus
}
#endif
#endif
