/* The client side of the service channel of vm1905: asks the daemon of this device for what it
 * knows of the mesh, and gives it orders.
 *
 * Every call returns
 *   0    done;
 *   > 0  the code by which the daemon, or the device that an order went to, refused (enum
 *        vm1905_code; any number up to 255 may come);
 *   < 0  what went wrong on the way (enum vm1905_error).
 * vm1905_strerror has words for all of them. Output arguments are untouched unless a call says
 * otherwise or returns 0.
 *
 * MAC addresses are 6 bytes in wire order, numbers are in host byte order, texts end with a zero
 * byte and hold at most as many bytes as the call says; a longer one is VM1905_BAD_ARGUMENT, and so
 * is a null pointer where none is allowed. An index counts from 0; VM1905_BAD_INDEX and
 * VM1905_EMPTY end a walk.
 *
 * A handle is for one thread at a time. A process may have several: their requests go one after the
 * other, but while one waits for a neighbor the others go on. Only a second request for the same
 * service waits until the first is done, since answers name nothing but process and service. A
 * handle does not survive a fork. The client must see the daemon's process ids: it lives in the
 * same PID and IPC namespaces.
 *
 * Nothing waits without end: see vm1905_set_timeouts. */
#ifndef VM1905_CLIENT_H
#define VM1905_CLIENT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined __GNUC__
#define VM1905_API __attribute__((visibility("default")))
#else
#define VM1905_API
#endif

enum vm1905_error {
    VM1905_NO_DAEMON = -1,    /* none runs here */
    VM1905_RESTARTED = -2,    /* it ended or restarted while the request was under way */
    VM1905_TIMEOUT = -3,      /* no answer in time; the request may have been carried out */
    VM1905_BUSY = -4,         /* other clients held the channel too long; nothing was asked */
    VM1905_BAD_ARGUMENT = -5, /* nothing was asked */
    VM1905_BAD_ANSWER = -6,   /* an answer that makes no sense */
    VM1905_SYSTEM = -7,       /* a system call failed; errno tells why */
    VM1905_CANCELLED = -8     /* the progress function said so */
};

enum vm1905_code {
    VM1905_OK = 0,
    VM1905_NO_INTF = 1,       /* the device has no such interface */
    VM1905_NO_PWR_STATE = 2,  /* the interface does not know that power state */
    VM1905_NO_NEIGHBOR = 7,   /* the device is no neighbor, or the order was not meant for it */
    VM1905_FAILED = 16,       /* refused or failed */
    VM1905_NO_TABLE = 17,     /* the daemon has no such table */
    VM1905_WRONG_STATE = 18,  /* not now */
    VM1905_NO_ITEM = 32,      /* no option of this number */
    VM1905_OUT_OF_RANGE = 33, /* a value that the option does not take */
    VM1905_UNCHANGED = 34,    /* the value is set already; or 0 as the length of the change log */
    VM1905_NO_SERVICE = 48,   /* no service of this number */
    VM1905_BAD_TYPE = 64,     /* a message type that is not sent for clients */
    VM1905_BAD_INDEX = 80,    /* past the end of the table */
    VM1905_EMPTY = 81,        /* the table is empty */
    VM1905_NO_OWN_INTF = 82,  /* no own interface with this MAC and media type */
    VM1905_NO_DEVICE = 87,    /* no device with this AL MAC */
    VM1905_NO_TOPOLOGY = 98   /* the daemon has not seen the network yet */
};

/* ---- The channel ----------------------------------------------------------------------------- */

typedef struct vm1905_client vm1905_client;

/* Makes a handle on the daemon's channel; the channel itself is the daemon's to make. *client is
 * NULL unless the result is 0. VM1905_NO_DAEMON, VM1905_SYSTEM. A daemon that restarts later is
 * found again by the next request of its own accord. */
VM1905_API int vm1905_open(vm1905_client** client);

/* Gives up what is under way and frees the handle; NULL is fine. */
VM1905_API void vm1905_close(vm1905_client* client);

/* How long each of the calls below takes at most, in milliseconds: those that the daemon answers
 * itself (3,000 at first) and those that a neighbor answers (8,000 at first). A daemon that is busy
 * may need more than a second. */
VM1905_API void vm1905_set_timeouts(vm1905_client* client, unsigned local_ms, unsigned neighbor_ms);

/* Is called about ten times a second while a call waits, with the milliseconds since it began. Any
 * other result than 0 ends the call with VM1905_CANCELLED. */
typedef int (*vm1905_progress)(void* argument, unsigned waited_ms);

/* NULL: no progress is told. */
VM1905_API void vm1905_set_progress(vm1905_client* client, vm1905_progress progress,
                                    void* argument);

/* A few words for a person, in English, without a full stop. Never NULL; numbers without a meaning
 * have words as well. The text is constant, but for the words of such a number those stand in a
 * buffer of the thread until its next call. */
VM1905_API const char* vm1905_strerror(int result);

/* ---- Any service, by its number -------------------------------------------------------------- */

enum {
    VM1905_MAX_PAYLOAD = 249, /* bytes of a request behind its head */
    VM1905_MAX_ANSWER = 629,
    VM1905_ANSWER_CODE = 254 /* id of an answer that is only a code */
};

typedef struct vm1905_answer {
    uint16_t id; /* request + 1, or VM1905_ANSWER_CODE: payload is then {number of the request or of
                    its answer, code} */
    uint8_t payload[VM1905_MAX_ANSWER]; /* what stands behind the head, to the end of the slot */
} vm1905_answer;

/* Asks for a service with these bytes as its payload (length up to VM1905_MAX_PAYLOAD, the rest is
 * zero; NULL with a length of 0) and hands back the answer as it came. 0: an answer came, whatever
 * it says. Services that never answer (140; 161 and 214 to the all-zero address) are done when the
 * daemon has taken the request, with the id 0 in *answer. An unknown service is not answered
 * either, but ends in VM1905_TIMEOUT. timeout_ms bounds the whole call.
 *
 * Any negative result. */
VM1905_API int vm1905_call(vm1905_client* client, uint16_t service, const void* payload,
                           size_t length, unsigned timeout_ms, vm1905_answer* answer);

/* The same in two steps. vm1905_post returns 0 when the daemon has taken the request, at most
 * timeout_ms later. vm1905_wait hands over the answer; after VM1905_TIMEOUT it may be called again,
 * as often as the caller likes (with 0 ms: a look). The next request by this handle gives up the
 * one that was posted, and so does any other result of vm1905_wait.
 *
 * An answer that comes after its request was given up is dropped. But the same service, asked for
 * again, may find the late answer of the first time: a neighbor may be that late for about 6 s. */
VM1905_API int vm1905_post(vm1905_client* client, uint16_t service, const void* payload,
                           size_t length, unsigned timeout_ms);
VM1905_API int vm1905_wait(vm1905_client* client, unsigned timeout_ms, vm1905_answer* answer);
/* Gives up a posted request; without one nothing happens. */
VM1905_API void vm1905_cancel(vm1905_client* client);

/* 1 when a neighbor answers this service (seconds), 0 when the daemon does or nobody. */
VM1905_API int vm1905_is_for_neighbor(uint16_t service);

/* ---- This device ----------------------------------------------------------------------------- */

typedef struct vm1905_mac {
    uint8_t b[6];
} vm1905_mac;

typedef struct vm1905_al {
    vm1905_mac al_mac;
    uint8_t status; /* 0 up; this daemon tells nothing else */
    uint32_t age;   /* seconds since its last change */
    uint8_t intf_num;
} vm1905_al;

typedef struct vm1905_intf {
    vm1905_mac mac;
    uint8_t status; /* 0 up, 1 down, 3 dormant, 4 not present, 5 lower layer down, 6 error */
    uint32_t age;
    uint16_t media_type;
    uint8_t pwr_state; /* 0 on, 1 power save, 2 off, 3 unsupported */
} vm1905_intf;

typedef struct vm1905_vend_prop {
    uint8_t oui[3];
    uint16_t length; /* the answer carries none: up to the last byte that is not zero */
    uint8_t data[626];
} vm1905_vend_prop;

typedef struct vm1905_link {
    vm1905_mac neighbor_mac; /* of its interface */
    vm1905_mac local_mac;
    uint8_t bridge; /* 1: a bridge is on the way */
    uint32_t tx_errors, tx_packets, rx_errors, rx_packets;
    uint16_t throughput;   /* Mb/s */
    uint16_t availability; /* percent */
    uint16_t phy_rate;     /* Mb/s */
    uint8_t rssi;          /* dB */
} vm1905_link;

typedef struct vm1905_fwd_rule {
    uint16_t id;
    uint8_t mac_num;
} vm1905_fwd_rule;

typedef struct vm1905_security {
    uint8_t mode; /* 0 pass phrase, 1 push button, 2 near field */
    uint16_t length;
    uint8_t value[622]; /* as stored */
} vm1905_security;

/* The device itself. 17. (Service 0) */
VM1905_API int vm1905_get_al(vm1905_client* client, vm1905_al* al);
/* An own interface. 16 for every failure: this one ends a walk. The daemon stands still for about
 * 20 ms. (2) */
VM1905_API int vm1905_get_intf(vm1905_client* client, uint8_t index, vm1905_intf* intf);
/* Vendor properties and power state of the own interface with this MAC and media type. 17, 82.
 * (4, 6) */
VM1905_API int vm1905_get_intf_vend_prop(vm1905_client* client, const vm1905_mac* mac,
                                         uint16_t media_type, vm1905_vend_prop* prop);
VM1905_API int vm1905_get_intf_pwr(vm1905_client* client, const vm1905_mac* mac,
                                   uint16_t media_type, uint8_t* state);
/* state as in vm1905_intf. What the platform answers. (8) */
VM1905_API int vm1905_set_intf_pwr(vm1905_client* client, const vm1905_mac* mac,
                                   uint16_t media_type, uint8_t state);
/* The links of an own interface: how many, and each. 16, 17, 82; 80, 81. (10, 12) */
VM1905_API int vm1905_get_link_num(vm1905_client* client, const vm1905_mac* mac,
                                   uint16_t media_type, uint16_t* num);
VM1905_API int vm1905_get_link(vm1905_client* client, const vm1905_mac* mac, uint16_t media_type,
                               uint8_t index, vm1905_link* link);
/* Forwarding rules. The number comes in the place of a code, so that 17 is also the answer of a
 * daemon that has no table; only its low 8 bits come. (18, 20) */
VM1905_API int vm1905_get_fwd_rule_num(vm1905_client* client, uint8_t* num);
VM1905_API int vm1905_get_fwd_rule(vm1905_client* client, uint8_t index, vm1905_fwd_rule* rule);
/* rule is the payload of the request as the daemon wants it, length bytes. This daemon does neither
 * and answers 16. (22, 24) */
VM1905_API int vm1905_add_fwd_rule(vm1905_client* client, const void* rule, size_t length);
VM1905_API int vm1905_modify_fwd_rule(vm1905_client* client, const void* rule, size_t length);
/* 16: no such rule. (26) */
VM1905_API int vm1905_remove_fwd_rule(vm1905_client* client, uint16_t id);
/* 17. (44) */
VM1905_API int vm1905_get_security(vm1905_client* client, vm1905_security* security);
/* setting is the payload of the request, length bytes. This daemon answers 16. (46) */
VM1905_API int vm1905_set_security(vm1905_client* client, const void* setting, size_t length);

enum {
    VM1905_OPTION_REBOOT = 0,  /* neighbors may reboot this device */
    VM1905_OPTION_INTF_PWR = 1 /* neighbors may set the power states of its interfaces */
};
/* item is one of these. 32. Setting: also 34 when it is so already; the value is not checked.
 * (128, 130) */
VM1905_API int vm1905_get_option(vm1905_client* client, uint8_t item, uint8_t* value);
VM1905_API int vm1905_set_option(vm1905_client* client, uint8_t item, uint8_t value);

/* ---- The network ----------------------------------------------------------------------------- */

/* Only the low byte of the three numbers comes. 0 as log_max is 256; 0 as log_num is an empty log,
 * or a full one of 256 when vm1905_get_log_entry has an entry 0. Walk vm1905_get_dev to count more
 * than 255 devices. */
typedef struct vm1905_topology {
    uint32_t enable; /* 0: switched off */
    uint8_t status;  /* 0 incomplete, 1 available, 2 misconfigured */
    uint8_t log_max;
    uint8_t dev_num; /* other devices */
    uint8_t log_num;
} vm1905_topology;

typedef struct vm1905_log_entry {
    uint32_t time; /* seconds since the epoch */
    uint8_t event; /* 0 new neighbor, 1 lost neighbor */
    vm1905_mac al_mac;
    vm1905_mac intf_mac;
    uint8_t neighbor_type; /* 0 a device, 1 a host that is none */
    vm1905_mac neighbor_mac;
} vm1905_log_entry;

typedef struct vm1905_dev {
    vm1905_mac al_mac;
    uint8_t status; /* 0: this daemon tells nothing else */
    uint8_t intf_num;
    uint8_t non1905_num;
    uint8_t ieee1905_num;
    uint8_t tuple_num;
} vm1905_dev;

typedef struct vm1905_dev_intf {
    vm1905_mac mac;
    uint8_t media_type; /* the low byte of it, which is all that the answer carries */
    uint8_t media_length;
    uint8_t media_info[255]; /* media-specific information */
    uint8_t pwr_state;       /* as in vm1905_intf; 255 unknown */
} vm1905_dev_intf;

typedef struct vm1905_non1905_nbrs {
    vm1905_mac local_mac;
    uint8_t num;
    vm1905_mac macs[103];
} vm1905_non1905_nbrs;

typedef struct vm1905_nbr {
    vm1905_mac al_mac;
    uint8_t bridge; /* 1: a bridge is on the way */
} vm1905_nbr;

typedef struct vm1905_1905_nbrs {
    vm1905_mac local_mac;
    uint8_t num;
    vm1905_nbr nbrs[88];
} vm1905_1905_nbrs;

typedef struct vm1905_tuple {
    uint8_t num;
    vm1905_mac macs[104];
} vm1905_tuple;

/* 17. (28) */
VM1905_API int vm1905_get_topology(vm1905_client* client, vm1905_topology* topology);
/* The change log and its greatest length. 17, 80, 81; 34. (30, 32) */
VM1905_API int vm1905_get_log_entry(vm1905_client* client, uint8_t index, vm1905_log_entry* entry);
VM1905_API int vm1905_set_log_max(vm1905_client* client, uint8_t max);
/* A device of the network. 17, 80, 81. (34) */
VM1905_API int vm1905_get_dev(vm1905_client* client, uint8_t index, vm1905_dev* dev);
/* What it consists of. 17, 80, 81, 87. (36, 38, 40, 42) */
VM1905_API int vm1905_get_dev_intf(vm1905_client* client, const vm1905_mac* al_mac, uint8_t index,
                                   vm1905_dev_intf* intf);
VM1905_API int vm1905_get_dev_non1905_nbrs(vm1905_client* client, const vm1905_mac* al_mac,
                                           uint8_t index, vm1905_non1905_nbrs* nbrs);
VM1905_API int vm1905_get_dev_1905_nbrs(vm1905_client* client, const vm1905_mac* al_mac,
                                        uint8_t index, vm1905_1905_nbrs* nbrs);
VM1905_API int vm1905_get_dev_tuple(vm1905_client* client, const vm1905_mac* al_mac, uint8_t index,
                                    vm1905_tuple* tuple);
/* item as in vm1905_get_option. 17, 32, 87. (132) */
VM1905_API int vm1905_get_dev_option(vm1905_client* client, const vm1905_mac* al_mac, uint8_t item,
                                     uint8_t* value);
/* Sends a topology and a vendor discovery at once. (185) */
VM1905_API int vm1905_send_discovery(vm1905_client* client);
/* Sends a standard message with these TLVs, up to 240 bytes (NULL with a length of 0: none), as
 * they are; 16 when they are not well-formed, or it cannot be sent. To target for the types 2, 4,
 * 5, 8, 9; to all (target may be NULL) for 0, 1, 7, 10, 11, 12; 64 for any other. (200) */
VM1905_API int vm1905_send_raw(vm1905_client* client, uint16_t type, const vm1905_mac* target,
                               const void* tlvs, size_t length);

/* ---- Orders for a neighbor, and its answer --------------------------------------------------- */

/* All of these: 7 and 98, what the neighbor answers, VM1905_TIMEOUT when it is silent. target is
 * its AL MAC. */

VM1905_API int vm1905_reboot(vm1905_client* client, const vm1905_mac* target);           /* 134 */
VM1905_API int vm1905_reset_to_default(vm1905_client* client, const vm1905_mac* target); /* 149 */

enum { VM1905_MAX_PWR_INTFS = 30 };

typedef struct vm1905_pwr_intf {
    vm1905_mac mac; /* all-zero: every interface of the media type */
    uint16_t media_type;
} vm1905_pwr_intf;

typedef struct vm1905_pwr_result {
    vm1905_mac mac;
    uint16_t media_type;
    uint8_t code; /* 0 done, 1 no interface of the type, 2, 7, 16 */
} vm1905_pwr_result;

typedef struct vm1905_pwr_results {
    uint8_t num;
    vm1905_pwr_result results[VM1905_MAX_PWR_INTFS];
} vm1905_pwr_results;

/* Sets the power state (0 on, 2 off) of num interfaces. results may be NULL; 0 also when an
 * interface was refused. (136) */
VM1905_API int vm1905_set_dev_intf_pwr(vm1905_client* client, const vm1905_mac* target,
                                       const vm1905_pwr_intf* intfs, size_t num, uint8_t state,
                                       vm1905_pwr_results* results);

/* The low 8 bits of value go out. The all-zero target: to all, without an answer. (161, 214) */
VM1905_API int vm1905_led_ctrl(vm1905_client* client, const vm1905_mac* target, int32_t value);
VM1905_API int vm1905_system_ctrl(vm1905_client* client, const vm1905_mac* target, int32_t value);
/* Option of the WPS order and of AP steering. (143, 145) */
VM1905_API int vm1905_wps_ctrl(vm1905_client* client, const vm1905_mac* target, uint8_t option);
VM1905_API int vm1905_ap_steering(vm1905_client* client, const vm1905_mac* target, uint8_t option);
/* url: up to 240 bytes. (147) */
VM1905_API int vm1905_fw_ctrl(vm1905_client* client, const vm1905_mac* target, uint8_t option,
                              uint8_t topo_option, const char* url);
/* Up to 240 bytes. (159) */
VM1905_API int vm1905_send_command(vm1905_client* client, const vm1905_mac* target,
                                   const char* command);

typedef struct vm1905_beacon_request {
    vm1905_mac station;
    vm1905_mac bssid;
    uint8_t operating_class;
    uint8_t channel;
    uint8_t mode;      /* 0 passive, 1 active, 2 table */
    uint16_t duration; /* time units */
    char ssid[33];     /* zero-terminated */
} vm1905_beacon_request;

typedef struct vm1905_beacon_report {
    vm1905_mac station;
    uint16_t length;
    uint8_t data[600]; /* as the station reported it */
} vm1905_beacon_report;

/* Has a station of the neighbor measured, and fetches its last report. (202, 204) */
VM1905_API int vm1905_request_beacon(vm1905_client* client, const vm1905_mac* target,
                                     const vm1905_beacon_request* request);
VM1905_API int vm1905_get_beacon(vm1905_client* client, const vm1905_mac* target,
                                 const vm1905_beacon_request* request,
                                 vm1905_beacon_report* report);

typedef struct vm1905_btm {
    vm1905_mac station;
    vm1905_mac bssid; /* where it is to go */
    uint8_t operating_class;
    uint8_t channel;
    uint8_t disassoc_imminent;
    uint16_t disassoc_timer; /* beacon intervals */
} vm1905_btm;

/* BSS transition of a station. (206) */
VM1905_API int vm1905_send_btm(vm1905_client* client, const vm1905_mac* target,
                               const vm1905_btm* btm);
/* (208, 210) */
VM1905_API int vm1905_add_blacklist(vm1905_client* client, const vm1905_mac* target,
                                    const vm1905_mac* station);
VM1905_API int vm1905_remove_blacklist(vm1905_client* client, const vm1905_mac* target,
                                       const vm1905_mac* station);

/* ---- Orders that are answered when they are sent --------------------------------------------- */

/* target is an AL MAC, the all-zero address stands for all devices. 16. */

typedef struct vm1905_speed_test {
    uint8_t enable; /* 1 start, 0 stop */
    uint8_t action;
    uint32_t start;   /* seconds since the epoch */
    uint32_t runtime; /* seconds */
    vm1905_mac lan_mac;
    char url[227]; /* zero-terminated */
} vm1905_speed_test;

VM1905_API int vm1905_speed_test_ctrl(vm1905_client* client, const vm1905_mac* target,
                                      const vm1905_speed_test* test);                     /* 179 */
VM1905_API int vm1905_wifi_state_search(vm1905_client* client, const vm1905_mac* target); /* 181 */
VM1905_API int vm1905_wifi_state_renew(vm1905_client* client, const vm1905_mac* target);  /* 183 */
VM1905_API int vm1905_request_log_file(vm1905_client* client, const vm1905_mac* target);  /* 187 */
/* command: up to 128 bytes. (197) */
VM1905_API int vm1905_network_ctrl(vm1905_client* client, const vm1905_mac* target, uint16_t option,
                                   const char* command);
/* To all extenders. (216) */
VM1905_API int vm1905_update_extenders(vm1905_client* client);

/* ---- WPS, Wi-Fi and the daemon itself -------------------------------------------------------- */

/* What the platform answers. (138) device_type: 0 Registrar, 1 Enrollee. */
VM1905_API int vm1905_set_wps(vm1905_client* client, int32_t device_type, int32_t send_search,
                              int32_t send_response);
/* Does nothing and is not answered: 0 when the daemon has taken it. (140) */
VM1905_API int vm1905_get_wps(vm1905_client* client);
/* The present values on trial for so many seconds. (163) */
VM1905_API int vm1905_set_wps_timeout(vm1905_client* client, int32_t seconds);
/* band: "All", or "0", "1", "32", "33"; up to 16 bytes. (189) */
VM1905_API int vm1905_set_wps_by_band(vm1905_client* client, const char* band, int32_t send_search,
                                      int32_t send_response);
/* band: 0, 1, 32, 33. (141, 169) */
VM1905_API int vm1905_send_wps_renew(vm1905_client* client, uint8_t band);
VM1905_API int vm1905_send_wps_search(vm1905_client* client, uint8_t band);
/* (165, 171, 191, 212) */
VM1905_API int vm1905_set_approve(vm1905_client* client, int32_t approve);
VM1905_API int vm1905_set_wifi_reload(vm1905_client* client, int32_t device_type, int32_t reload);
VM1905_API int vm1905_wifi_state_action(vm1905_client* client);
VM1905_API int vm1905_wifi_sync_all(vm1905_client* client);
/* Of the firmware upgrade; state: up to 240 bytes. (151, 177) */
VM1905_API int vm1905_set_fw_result(vm1905_client* client, int32_t result);
VM1905_API int vm1905_set_fw_state(vm1905_client* client, const char* state);
/* Push button; ports opened anew; vm1905_log.json. 0 whatever comes of it. (153, 155, 157) */
VM1905_API int vm1905_push_button(vm1905_client* client);
VM1905_API int vm1905_reopen_ports(vm1905_client* client);
VM1905_API int vm1905_write_log(vm1905_client* client);
/* 0 to 5; 6 has the daemon print its ports and its topology, and is no level. (167) */
VM1905_API int vm1905_set_debug_level(vm1905_client* client, uint32_t level);

#ifdef __cplusplus
}
#endif

#endif
