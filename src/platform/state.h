/* State of the device, which it shows to the other devices of the mesh and in the data model.
 *
 * Every function fills a record of the caller and returns 0 on success. On failure it returns 16
 * and leaves the record alone. Texts are NUL-terminated within their size and cut if necessary. An
 * unknown text is empty, which is not a failure. The functions must not block: they are called
 * every few seconds on the daemon's only thread, after initNetCtrl has succeeded. Numbers are in
 * host byte order. */
#ifndef VM1905_PLATFORM_STATE_H
#define VM1905_PLATFORM_STATE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Addresses ----------------------------------------------------------------------------- */

/* The LAN IPv4 address, dotted decimal without a prefix length: that of the bridge whose MAC
 * address is the AL MAC address, else of the first participating interface that has one. */
int getDeviceIP(char text[32]);

enum { PLATFORM_IPV6_MAX = 32, PLATFORM_IPV6_LEN = 46 };

typedef struct IPv6Info {
    uint8_t num; /* addresses that follow */
    char address[PLATFORM_IPV6_MAX][PLATFORM_IPV6_LEN];
} IPv6Info;

/* The IPv6 addresses in use, without prefix lengths: those of the LAN bridge or, on a device
 * without one, of the participating interfaces. Link-local addresses come last. */
int getIPv6Info(IPv6Info* info);

/* ---- System -------------------------------------------------------------------------------- */

/* Seconds since the start of the device, in decimal. */
int getDeviceUptime(char text[32]);

/* The product chooses both texts. */
typedef struct LedState {
    char status[32];
    char brightness[32];
} LedState;

/* The state of the LED. */
int getLEDState(LedState* state);

typedef struct SecurityState {
    char ssh[32];    /* "on" if login by ssh is possible, else "off" */
    char telnet[32]; /* the same for telnet */
} SecurityState;

/* The ways to log in. */
int getSecurityState(SecurityState* state);

/* 1 if the owner has configured this device, 2 if not. Returns 16 if that is unknown. */
int getConfigureState(uint8_t* configure);

/* ---- Network ------------------------------------------------------------------------------- */

/* The setting for daisy-chained devices. The product chooses the text. */
int getDaisychainOption(char text[32]);

typedef struct NetworkState {
    int32_t dnsmasq;      /* 1 while a process of that name runs, else 0 */
    int32_t intfInBridge; /* number of participating bridge ports */
} NetworkState;

/* Counters of the network state. */
int getNetworkState(NetworkState* state);

/* The participating Ethernet interfaces in the order of getIntfDesc, as a JSON list without
 * brackets. Each item is a string of the name, a colon and the speed in Mb/s; "up" if the speed is
 * unknown, "down" without a link. Example: "eth0:1000","eth1:down". The daemon writes the text into
 * JSON unchanged, so items that do not fit must be left out as a whole. */
int getEthernetPortState(char text[128]);

/* What connects this device to the mesh: "Ethernet", "WiFi" or a text of the product. */
int getBackhaulType(char text[32]);

/* ---- Wi-Fi --------------------------------------------------------------------------------- */

/* The country code of the device, and that of its radios. */
int getCountryCode(char text[16]);
int getWIFICountryCode(char text[16]);

/* Channel numbers in decimal, empty for bands in which no radio is on a channel. */
typedef struct WifiChannels {
    char band24[32];    /* 2.4 GHz */
    char band5[32];     /* 5 GHz; the lower channel of two radios */
    char band5High[32]; /* the higher one */
} WifiChannels;

/* The channels of the radios. */
int getWIFIChannelInfo(WifiChannels* channels);

enum { PLATFORM_AUTOCONF_TIMES = 12, PLATFORM_AUTOCONF_TIME_LEN = 32 };

/* When each Wi-Fi network was last configured. The product chooses the format; empty means never or
 * unknown. The order is: main, guest and visitor network (of each 2.4 GHz, then 5 GHz); then access
 * point and station of the 2.4 GHz, the 5 GHz and the second 5 GHz backhaul. */
typedef struct AutoConfTimes {
    char time[PLATFORM_AUTOCONF_TIMES][PLATFORM_AUTOCONF_TIME_LEN];
} AutoConfTimes;

/* The times of the last configuration. */
int getAPautoconfigTimes(AutoConfTimes* times);

#ifdef __cplusplus
}
#endif
#endif
