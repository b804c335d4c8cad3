/* Descriptions of the device: abstraction layer, interfaces, bridges, security, link metrics.
 *
 * Every function fills a record of the caller and returns 0 on success, another value on failure;
 * on failure the record refers to nothing that must be freed. Buffers and list entries in a record
 * must come from malloc(); the caller frees them with free(). The functions must not block. MAC
 * addresses are 6 bytes in wire order, numbers are in host byte order. */
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
    uint8_t* vendInfo;    /* NULL if vendInfoLen is 0 */
} AlDesc;

/* A local interface. The daemon keeps the order of the list. */
typedef struct IntfDesc {
    struct IntfDesc* next;
    char name[PLATFORM_INTF_NAME_LEN]; /* NUL-padded */
    uint8_t mac[PLATFORM_MAC_LEN];
    uint32_t pwrState;    /* PLATFORM_PWR_... */
    uint32_t operStatus;  /* PLATFORM_OPER_... */
    uint32_t mediaType;   /* IEEE 1905.1 media-type code */
    uint8_t mediaInfoLen; /* bytes at mediaInfo */
    uint8_t* mediaInfo;   /* media-specific information, NULL if mediaInfoLen is 0 */
    uint8_t oui[3];       /* of the vendor information, in wire order */
    uint32_t vendInfoLen; /* bytes at vendInfo */
    uint8_t* vendInfo;    /* NULL if vendInfoLen is 0 */
    uint16_t nbrNum;      /* MACs at nbrMacs */
    uint8_t* nbrMacs;     /* packed MACs of neighbor interfaces, NULL if nbrNum is 0 */
} IntfDesc;

typedef struct IntfDescList {
    uint8_t intfNum; /* entries at head */
    IntfDesc* head;
} IntfDescList;

/* A bridging tuple: the interfaces that one bridge connects. */
typedef struct BrdgDesc {
    struct BrdgDesc* next;
    uint32_t macNum; /* interface MACs at macs */
    uint8_t* macs;   /* packed MACs, NULL if macNum is 0 */
} BrdgDesc;

typedef struct BrdgDescList {
    uint8_t tupleNum; /* entries at head */
    BrdgDesc* head;
} BrdgDescList;

typedef struct SecurityDesc {
    uint32_t mode;  /* 0 user-configured pass phrase, 1 push button, 2 near field */
    uint16_t len;   /* bytes at value */
    uint8_t* value; /* the key, NULL if len is 0 */
} SecurityDesc;

/* Link metrics towards one neighbor interface. Errors and packets are counts. */
typedef struct LinkDesc {
    struct LinkDesc* next;
    uint8_t nbrIntfMac[PLATFORM_MAC_LEN];
    uint32_t txErrors;
    uint32_t txPackets;
    uint32_t rxErrors;
    uint32_t rxPackets;
    uint16_t throughput;   /* MAC throughput capacity, Mb/s */
    uint16_t availability; /* percent of the time that the link is idle */
    uint16_t phyRate;      /* Mb/s */
    uint16_t rssi;         /* dB, 0 on wired links */
} LinkDesc;

typedef struct LinkDescList {
    uint16_t linkNum; /* entries at head */
    LinkDesc* head;
} LinkDescList;

/* The AL MAC address and vendor information of this device. */
int getAlDesc(AlDesc* desc);

/* All participating local interfaces, with the neighbor interfaces known on each. */
int getIntfDesc(IntfDescList* list);

/* The number of local interfaces that the daemon knows of: from getIntfDesc and the interface
 * events since then, including the event that is being reported. */
int getIntfmatchNum(uint8_t* num);

/* The bridging tuples. During an event, as of that event. */
int getBrdgCapability(BrdgDescList* list);

/* The security setting of the network. */
int getSecurityConfig(SecurityDesc* desc);

/* The links of the interface with this MAC address and media type. */
int getLinkMetricList(const uint8_t* intfMac, uint32_t mediaType, LinkDescList* list);

/* 0 if the interface with this NUL-terminated name takes part in IEEE 1905.1 traffic, non-zero if
 * it is excluded. During an event, as of that event. Called for every frame, so it must be cheap.
 */
int getDeviceSendMsgEnable(const char* intfName);

/* Identity of the device. Each text is NUL-terminated within its size; an unknown one is empty. The
 * daemon calls these functions before initNetCtrl (lifecycle.h). */
int getFirmwareVersion(char text[128]);
int getHostname(char text[128]);
int getBuildNumber(char text[32]);
int getDeviceMode(char text[32]);
/* The MAC address that is shown as that of the LAN. */
int getDeviceLANMac(uint8_t mac[PLATFORM_MAC_LEN]);

#ifdef __cplusplus
}
#endif
#endif
