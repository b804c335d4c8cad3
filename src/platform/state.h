/* State of the device: what it shows of itself to the other devices of the mesh and to whoever
 * reads the data model.
 *
 * Every function fills what the caller owns and returns 0 on success. On failure it returns 16 and
 * leaves the record alone. Texts are NUL-terminated within the stated size, longer ones are cut; a
 * text that is unknown is empty, and that is no failure. None of the functions blocks: they are
 * called every few seconds on the daemon's only thread. They may be called once initNetCtrl has
 * succeeded. */
#ifndef VM1905_PLATFORM_STATE_H
#define VM1905_PLATFORM_STATE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Addresses ----------------------------------------------------------------------------- */

/* The IPv4 address under which the LAN knows this device, dotted decimal without a prefix length:
 * of the bridge whose MAC address is the AL MAC address, else of the first participating interface
 * that has one. */
int getDeviceIP(char text[32]);

enum { PLATFORM_IPV6_MAX = 32, PLATFORM_IPV6_LEN = 46 };

typedef struct IPv6Info {
    uint8_t num; /* addresses that follow */
    char address[PLATFORM_IPV6_MAX][PLATFORM_IPV6_LEN];
} IPv6Info;

/* The IPv6 addresses in use, without prefix lengths: of the LAN bridge or, on a device without
 * one, of the participating interfaces. Link-local ones come last. */
int getIPv6Info(IPv6Info* info);

/* ---- System -------------------------------------------------------------------------------- */

/* Seconds since the device was started, decimal. */
int getDeviceUptime(char text[32]);

/* Both texts in the product's words. */
typedef struct LedState {
    char status[32];
    char brightness[32];
} LedState;

int getLEDState(LedState* state);

typedef struct SecurityState {
    char ssh[32];    /* "on" or "off": whether logging in that way is possible */
    char telnet[32]; /* likewise */
} SecurityState;

int getSecurityState(SecurityState* state);

/* 1 when the owner has configured this device, 2 when not. 16 when that is unknown. */
int getConfigureState(uint8_t* configure);

/* ---- Network ------------------------------------------------------------------------------- */

/* The setting for devices that are chained one behind the other, in the product's words. */
int getDaisychainOption(char text[32]);

typedef struct NetworkState {
    int32_t dnsmasq;      /* 1 while a process of that name runs, else 0 */
    int32_t intfInBridge; /* participating interfaces that are ports of a bridge */
} NetworkState;

int getNetworkState(NetworkState* state);

/* The participating Ethernet interfaces in the order of getIntfDesc, as the items of a JSON list
 * without its brackets: quoted strings with commas between them, each the name, a colon and the
 * speed in Mb/s; "up" instead of a speed that is unknown, "down" without a link. Example:
 * "eth0:1000","eth1:down". The text holds as many whole items as fit and is written into JSON as
 * it is. */
int getEthernetPortState(char text[128]);

/* "Ethernet" or "WiFi", or the product's word, for what connects this device to the mesh. */
int getBackhaulType(char text[32]);

/* ---- Wi-Fi --------------------------------------------------------------------------------- */

/* Country code of the device, and the one that its radios are set to. */
int getCountryCode(char text[16]);
int getWIFICountryCode(char text[16]);

/* Channel numbers in decimal, empty for a band without a radio that is on a channel. */
typedef struct WifiChannels {
    char band24[32];    /* 2.4 GHz */
    char band5[32];     /* 5 GHz; of two radios the one on the lower channel */
    char band5High[32]; /* the other one */
} WifiChannels;

int getWIFIChannelInfo(WifiChannels* channels);

enum { PLATFORM_AUTOCONF_TIMES = 12, PLATFORM_AUTOCONF_TIME_LEN = 32 };

/* When each Wi-Fi network was last configured, in the product's words, empty for never or unknown:
 * main, guest and visitor network (2.4 GHz, then 5 GHz of each), then access point and station of
 * the 2.4 GHz, the 5 GHz and the second 5 GHz backhaul. */
typedef struct AutoConfTimes {
    char time[PLATFORM_AUTOCONF_TIMES][PLATFORM_AUTOCONF_TIME_LEN];
} AutoConfTimes;

int getAPautoconfigTimes(AutoConfTimes* times);

#ifdef __cplusplus
}
#endif
#endif
