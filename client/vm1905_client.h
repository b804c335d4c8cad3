/* The client side of vm1905's service channel. A process on the device can read what the daemon
 * knows of the mesh, and give orders to this device and to others.
 *
 * Result codes. Every call that returns int returns
 *   0    success;
 *   > 0  a refusal by the daemon or by the neighbor the order went to: enum vm1905_code, or any
 *        other number up to 255;
 *   < 0  an error of the client: enum vm1905_error. Any call may return one, so the descriptions
 *        below do not list them unless there is something to add.
 * vm1905_strerror returns a text for each. Output arguments are written on success only, unless a
 * description says otherwise.
 *
 * Arguments. MAC addresses are 6 bytes in the order they have on the wire. Numbers are in host byte
 * order. Texts are zero-terminated; a text longer than the given number of bytes, not counting the
 * zero, is VM1905_BAD_ARGUMENT, and so is a null pointer unless a description allows it. Indexes
 * count from 0: to read a table, count up until VM1905_BAD_INDEX or VM1905_EMPTY.
 *
 * Threads and processes. One thread at a time may use a handle. A process may have several handles;
 * while one waits for a neighbor, the others go on. A second request for the same service waits for
 * the first, because an answer names only its process and service. A handle must not be used after
 * a fork. Client and daemon must share the PID and IPC namespaces.
 *
 * Every call has a time limit, see vm1905_set_timeouts.
 *
 * The number in parentheses after a description is that of the service, for vm1905_call. */
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
    VM1905_NO_DAEMON = -1,    /* no daemon runs here */
    VM1905_RESTARTED = -2,    /* the daemon ended or restarted before it answered */
    VM1905_TIMEOUT = -3,      /* no answer in time; an order may have been carried out */
    VM1905_BUSY = -4,         /* other clients held the channel too long; nothing was sent */
    VM1905_BAD_ARGUMENT = -5, /* an argument is invalid; nothing was sent */
    VM1905_BAD_ANSWER = -6,   /* the answer is malformed */
    VM1905_SYSTEM = -7,       /* a system call failed; errno says why */
    VM1905_CANCELLED = -8,    /* the progress function ended the call */
    VM1905_FOREIGN = -9       /* a user who is not the daemon's made the shared memory; errno is
                                 EPERM. Nothing was sent */
};

enum vm1905_code {
    VM1905_OK = 0,
    VM1905_NO_INTF = 1,       /* the device has no such interface */
    VM1905_NO_PWR_STATE = 2,  /* the interface does not support the power state */
    VM1905_NO_NEIGHBOR = 7,   /* the target is not a neighbor, or the order was not for it */
    VM1905_FAILED = 16,       /* refused or failed */
    VM1905_NO_TABLE = 17,     /* the daemon does not have this table (yet) */
    VM1905_WRONG_STATE = 18,  /* not possible in the present state */
    VM1905_NO_ITEM = 32,      /* no such option */
    VM1905_OUT_OF_RANGE = 33, /* the option does not allow the value */
    VM1905_UNCHANGED = 34,    /* the value is already set; or a change log of length 0 */
    VM1905_NO_SERVICE = 48,   /* no such service */
    VM1905_BAD_TYPE = 64,     /* messages of this type cannot be sent */
    VM1905_BAD_INDEX = 80,    /* the index is past the end of the table */
    VM1905_EMPTY = 81,        /* the table is empty */
    VM1905_NO_OWN_INTF = 82,  /* no own interface has this MAC and media type */
    VM1905_NO_DEVICE = 87,    /* no device has this AL MAC */
    VM1905_NO_TOPOLOGY = 98   /* the daemon has not discovered the network yet */
};

/* ---- The channel ----------------------------------------------------------------------------- */

typedef struct vm1905_client vm1905_client;

/* Makes a handle on the channel of the running daemon. *client is NULL unless the result is 0. The
 * handle stays valid when the daemon restarts: the next request finds the new one.
 *
 * The daemon's shared memory is made by root, by the user of this process, or by the owner of the
 * folder /var/run/vm1905, or the one that the environment variable VM1905_RUN names. That folder
 * does not count if users other than root and this one can write to the folder above it. Shared
 * memory of anybody else is refused, by this call and by every request. Errors: VM1905_NO_DAEMON,
 * VM1905_FOREIGN, VM1905_SYSTEM. */
VM1905_API int vm1905_open(vm1905_client** client);

/* Gives up the request under way, if any, and frees the handle. NULL is allowed. */
VM1905_API void vm1905_close(vm1905_client* client);

/* Sets the time limits of the calls below, in milliseconds: local_ms for those the daemon answers
 * (default 3000), neighbor_ms for those a neighbor answers (default 8000). A busy daemon may need
 * more than a second. */
VM1905_API void vm1905_set_timeouts(vm1905_client* client, unsigned local_ms, unsigned neighbor_ms);

/* A progress function: called about ten times a second while a call waits, with the milliseconds
 * since the call began. Unless it returns 0, the call ends with VM1905_CANCELLED. */
typedef int (*vm1905_progress)(void* argument, unsigned waited_ms);

/* Sets the progress function of a handle; NULL for none. argument is passed to it. */
VM1905_API void vm1905_set_progress(vm1905_client* client, vm1905_progress progress,
                                    void* argument);

/* Returns a short English text for a result, without a full stop. Never NULL. For a number without
 * a name, the text is in a buffer of the thread and valid until its next call. */
VM1905_API const char* vm1905_strerror(int result);

/* ---- Any service, by its number -------------------------------------------------------------- */

enum {
    VM1905_MAX_PAYLOAD = 249, /* bytes of a request after its head */
    VM1905_MAX_ANSWER = 629,  /* bytes of an answer after its head */
    VM1905_ANSWER_CODE = 254  /* id of an answer that is only a code */
};

typedef struct vm1905_answer {
    uint16_t id; /* service + 1; or VM1905_ANSWER_CODE: payload is then the number of the service or
                    of its answer (low byte), and the code */
    uint8_t payload[VM1905_MAX_ANSWER]; /* all bytes after the head, to the end of the slot */
} vm1905_answer;

/* Sends a request to a service and waits for its answer, at most timeout_ms in all. payload: length
 * bytes, up to VM1905_MAX_PAYLOAD, the rest of the slot is zero; NULL if length is 0.
 *
 * Returns 0 if an answer came, even one that is a refusal, or a negative error. Services that never
 * answer (140; 161 and 214 with the all-zero target) return 0 once the daemon has taken the
 * request, with answer->id 0. A service that does not exist ends in VM1905_TIMEOUT. */
VM1905_API int vm1905_call(vm1905_client* client, uint16_t service, const void* payload,
                           size_t length, unsigned timeout_ms, vm1905_answer* answer);

/* vm1905_call in two steps. vm1905_post returns 0 once the daemon has taken the request, within
 * timeout_ms. vm1905_wait returns 0 with the answer, or VM1905_TIMEOUT after timeout_ms (0 is
 * allowed); it may then be called again. Any other result ends the request, as do vm1905_cancel and
 * the next request of the handle. Without a posted request, vm1905_wait returns
 * VM1905_BAD_ARGUMENT.
 *
 * The answer to a request that was given up is dropped. If the same service is requested again, the
 * late answer may be taken for the new one; a neighbor's answer may be about 6 s late. */
VM1905_API int vm1905_post(vm1905_client* client, uint16_t service, const void* payload,
                           size_t length, unsigned timeout_ms);
VM1905_API int vm1905_wait(vm1905_client* client, unsigned timeout_ms, vm1905_answer* answer);

/* Gives up a posted request. Does nothing without one. */
VM1905_API void vm1905_cancel(vm1905_client* client);

/* Returns 1 if a neighbor answers this service, which can take seconds, else 0. */
VM1905_API int vm1905_is_for_neighbor(uint16_t service);

/* ---- This device ----------------------------------------------------------------------------- */

typedef struct vm1905_mac {
    uint8_t b[6];
} vm1905_mac;

typedef struct vm1905_al {
    vm1905_mac al_mac;
    uint8_t status; /* 0 up; this daemon reports nothing else */
    uint32_t age;   /* seconds since the last change */
    uint8_t intf_num;
    uint8_t no_port; /* 1: the daemon has no port open and hears nothing */
} vm1905_al;

typedef struct vm1905_intf {
    vm1905_mac mac;
    uint8_t status; /* 0 up, 1 down, 3 dormant, 4 not present, 5 lower layer down, 6 error */
    uint32_t age;   /* seconds since the last change */
    uint16_t media_type;
    uint8_t pwr_state; /* 0 on, 1 power save, 2 off, 3 unsupported */
} vm1905_intf;

typedef struct vm1905_vend_prop {
    uint8_t oui[3];
    uint16_t length; /* up to the last byte that is not zero: the answer has no length */
    uint8_t data[626];
} vm1905_vend_prop;

typedef struct vm1905_link {
    vm1905_mac neighbor_mac; /* of the neighbor's interface */
    vm1905_mac local_mac;    /* of the own interface */
    uint8_t bridge;          /* 1 if there is a bridge on the link */
    uint32_t tx_errors, tx_packets, rx_errors, rx_packets;
    uint16_t throughput;   /* Mb/s */
    uint16_t availability; /* percent */
    uint16_t phy_rate;     /* Mb/s */
    uint8_t rssi;          /* dB */
} vm1905_link;

enum { VM1905_MAX_RULE_MACS = 30 };

typedef struct vm1905_fwd_rule {
    uint16_t id;
    uint8_t mac_num;
    vm1905_mac macs[VM1905_MAX_RULE_MACS]; /* mac_num addresses */
    uint8_t match[26];                     /* classification fields, as they were added */
} vm1905_fwd_rule;

typedef struct vm1905_security {
    uint8_t mode; /* 0 pass phrase, 1 push button, 2 near field */
    uint16_t length;
    uint8_t value[622]; /* length bytes, as stored */
} vm1905_security;

/* Reads the record of this device. Codes: VM1905_NO_TABLE. (0) */
VM1905_API int vm1905_get_al(vm1905_client* client, vm1905_al* al);

typedef struct vm1905_mesh_key {
    uint8_t state;    /* 0 not used, 1 used, 2 used, but this device can send no orders */
    uint32_t refused; /* messages without a right MIC that were refused since the daemon's start */
} vm1905_mesh_key;

/* Reads whether orders need the key of the mesh. Codes: VM1905_NO_TABLE. (0) */
VM1905_API int vm1905_get_mesh_key(vm1905_client* client, vm1905_mesh_key* key);

typedef struct vm1905_identity {
    char lan_mac[19]; /* both as zero-terminated texts, empty if unknown */
    char firmware[129];
} vm1905_identity;

/* Reads what this device reports of itself to others. Codes: VM1905_NO_TABLE. (0) */
VM1905_API int vm1905_get_identity(vm1905_client* client, vm1905_identity* identity);

/* Reads an own interface. The only code is VM1905_FAILED, which also marks the end of the table.
 * Takes about 20 ms. (2) */
VM1905_API int vm1905_get_intf(vm1905_client* client, uint8_t index, vm1905_intf* intf);

/* Reads the vendor property of the own interface with this MAC and media type.
 * Codes: VM1905_NO_TABLE, VM1905_NO_OWN_INTF. (4) */
VM1905_API int vm1905_get_intf_vend_prop(vm1905_client* client, const vm1905_mac* mac,
                                         uint16_t media_type, vm1905_vend_prop* prop);

/* Reads the power state of an own interface, as in vm1905_intf.
 * Codes: VM1905_NO_TABLE, VM1905_NO_OWN_INTF. (6) */
VM1905_API int vm1905_get_intf_pwr(vm1905_client* client, const vm1905_mac* mac,
                                   uint16_t media_type, uint8_t* state);

/* Sets the power state of an own interface, as in vm1905_intf. Codes: those of the platform. (8) */
VM1905_API int vm1905_set_intf_pwr(vm1905_client* client, const vm1905_mac* mac,
                                   uint16_t media_type, uint8_t state);

/* Reads the number of links of an own interface.
 * Codes: VM1905_NO_TABLE, VM1905_NO_OWN_INTF, VM1905_FAILED if it has no link metrics. (10) */
VM1905_API int vm1905_get_link_num(vm1905_client* client, const vm1905_mac* mac,
                                   uint16_t media_type, uint16_t* num);

/* Reads one link of an own interface. Codes: those of vm1905_get_link_num, VM1905_BAD_INDEX,
 * VM1905_EMPTY. (12) */
VM1905_API int vm1905_get_link(vm1905_client* client, const vm1905_mac* mac, uint16_t media_type,
                               uint8_t index, vm1905_link* link);

/* Reads the low byte of the number of forwarding rules. The answer has it in place of a code, so 17
 * is also what a daemon without a table answers. (18) */
VM1905_API int vm1905_get_fwd_rule_num(vm1905_client* client, uint8_t* num);

/* Reads a forwarding rule. Codes: VM1905_NO_TABLE, VM1905_BAD_INDEX, VM1905_EMPTY. (20) */
VM1905_API int vm1905_get_fwd_rule(vm1905_client* client, uint8_t index, vm1905_fwd_rule* rule);

/* Add or change a forwarding rule: rule is the payload of the request, length bytes, with the
 * layout of answer 21 (docs/service-channel.md). A new rule with id 0 gets an unused id and is the
 * last one of the table. This daemon keeps the rules but does not enforce them. Codes:
 * VM1905_FAILED if a new rule has the id of another one, if there is none with the id to change, if
 * it has more than VM1905_MAX_RULE_MACS addresses, or if there are 255 rules. (22, 24) */
VM1905_API int vm1905_add_fwd_rule(vm1905_client* client, const void* rule, size_t length);
VM1905_API int vm1905_modify_fwd_rule(vm1905_client* client, const void* rule, size_t length);

/* Removes a forwarding rule. Codes: VM1905_FAILED if there is none with this id. (26) */
VM1905_API int vm1905_remove_fwd_rule(vm1905_client* client, uint16_t id);

/* Reads the security setting. Codes: VM1905_NO_TABLE. (44) */
VM1905_API int vm1905_get_security(vm1905_client* client, vm1905_security* security);

/* Changes the security setting: setting is the payload of the request, length bytes. This daemon
 * always answers VM1905_FAILED. (46) */
VM1905_API int vm1905_set_security(vm1905_client* client, const void* setting, size_t length);

enum {
    VM1905_OPTION_REBOOT = 0,  /* 1: neighbors may reboot this device */
    VM1905_OPTION_INTF_PWR = 1 /* 1: neighbors may set the power states of its interfaces */
};

/* Reads an option of this device; item is VM1905_OPTION_*. Codes: VM1905_NO_ITEM. (128) */
VM1905_API int vm1905_get_option(vm1905_client* client, uint8_t item, uint8_t* value);

/* Sets an option of this device. The daemon does not check the value.
 * Codes: VM1905_NO_ITEM, VM1905_UNCHANGED. (130) */
VM1905_API int vm1905_set_option(vm1905_client* client, uint8_t item, uint8_t value);

/* ---- The network ----------------------------------------------------------------------------- */

/* The answer has only the low byte of log_max, dev_num and log_num. A log_max of 0 is 256. A
 * log_num of 0 is an empty log, or a full one of 256 entries if vm1905_get_log_entry finds entry 0.
 * With more than 255 devices, count them with vm1905_get_dev. */
typedef struct vm1905_topology {
    uint32_t enable; /* 0 if topology discovery is off */
    uint8_t status;  /* 0 incomplete, 1 available, 2 misconfigured */
    uint8_t log_max; /* greatest number of entries in the change log */
    uint8_t dev_num; /* other devices */
    uint8_t log_num; /* entries in the change log */
} vm1905_topology;

typedef struct vm1905_log_entry {
    uint32_t time;         /* seconds since the epoch */
    uint8_t event;         /* 0 new neighbor, 1 lost neighbor */
    vm1905_mac al_mac;     /* of the device that saw it */
    vm1905_mac intf_mac;   /* of that device's interface */
    uint8_t neighbor_type; /* 0 IEEE 1905.1 device, 1 other host */
    vm1905_mac neighbor_mac;
} vm1905_log_entry;

typedef struct vm1905_dev {
    vm1905_mac al_mac;
    uint8_t status; /* 0 up; this daemon reports nothing else */
    uint8_t intf_num;
    uint8_t non1905_num;  /* neighbors that are not IEEE 1905.1 devices */
    uint8_t ieee1905_num; /* neighbors that are */
    uint8_t tuple_num;    /* bridges */
} vm1905_dev;

typedef struct vm1905_dev_intf {
    vm1905_mac mac;
    uint8_t media_type; /* low byte only: the answer has no more */
    uint8_t media_length;
    uint8_t media_info[255]; /* media_length bytes of media-specific information */
    uint8_t pwr_state;       /* as in vm1905_intf; 255 unknown */
} vm1905_dev_intf;

typedef struct vm1905_non1905_nbrs {
    vm1905_mac local_mac; /* interface on which the device hears them */
    uint8_t num;
    vm1905_mac macs[103];
} vm1905_non1905_nbrs;

typedef struct vm1905_nbr {
    vm1905_mac al_mac;
    uint8_t bridge; /* 1 if there is a bridge on the link */
} vm1905_nbr;

typedef struct vm1905_1905_nbrs {
    vm1905_mac local_mac; /* interface on which the device hears them */
    uint8_t num;
    vm1905_nbr nbrs[88];
} vm1905_1905_nbrs;

typedef struct vm1905_tuple {
    uint8_t num;
    vm1905_mac macs[104]; /* interfaces that form one bridge */
} vm1905_tuple;

/* Reads the state of the topology. Codes: VM1905_NO_TABLE. (28) */
VM1905_API int vm1905_get_topology(vm1905_client* client, vm1905_topology* topology);

/* Reads an entry of the change log, which is a ring: the entries are not in order of time.
 * Codes: VM1905_NO_TABLE, VM1905_BAD_INDEX, VM1905_EMPTY. (30) */
VM1905_API int vm1905_get_log_entry(vm1905_client* client, uint8_t index, vm1905_log_entry* entry);

/* Sets the greatest number of entries in the change log.
 * Codes: VM1905_UNCHANGED, also for a max of 0. (32) */
VM1905_API int vm1905_set_log_max(vm1905_client* client, uint8_t max);

/* Reads another device. Codes: VM1905_NO_TABLE, VM1905_BAD_INDEX, VM1905_EMPTY. (34) */
VM1905_API int vm1905_get_dev(vm1905_client* client, uint8_t index, vm1905_dev* dev);

typedef struct vm1905_dev_key {
    vm1905_mac al_mac;
    uint8_t state; /* 0 no key is used here, 1 not heard with the key, 2 heard with it */
} vm1905_dev_key;

/* Reads whether another device has sent with the key of the mesh since the daemon's start.
 * Codes: VM1905_NO_TABLE, VM1905_BAD_INDEX, VM1905_EMPTY. (34) */
VM1905_API int vm1905_get_dev_key(vm1905_client* client, uint8_t index, vm1905_dev_key* key);

typedef struct vm1905_dev_silence {
    vm1905_mac al_mac;
    uint8_t is_known; /* 0 if it is not heard itself, or by a daemon that does not say */
    uint32_t seconds; /* since its last topology discovery; devices send one each minute */
} vm1905_dev_silence;

/* Reads when another device was last heard.
 * Codes: VM1905_NO_TABLE, VM1905_BAD_INDEX, VM1905_EMPTY. (34) */
VM1905_API int vm1905_get_dev_silence(vm1905_client* client, uint8_t index,
                                      vm1905_dev_silence* silence);

/* Read one interface, the neighbors on one interface, or one bridge of the device with this AL MAC.
 * Codes: VM1905_NO_TABLE, VM1905_BAD_INDEX, VM1905_EMPTY, VM1905_NO_DEVICE. (36, 38, 40, 42) */
VM1905_API int vm1905_get_dev_intf(vm1905_client* client, const vm1905_mac* al_mac, uint8_t index,
                                   vm1905_dev_intf* intf);
VM1905_API int vm1905_get_dev_non1905_nbrs(vm1905_client* client, const vm1905_mac* al_mac,
                                           uint8_t index, vm1905_non1905_nbrs* nbrs);
VM1905_API int vm1905_get_dev_1905_nbrs(vm1905_client* client, const vm1905_mac* al_mac,
                                        uint8_t index, vm1905_1905_nbrs* nbrs);
VM1905_API int vm1905_get_dev_tuple(vm1905_client* client, const vm1905_mac* al_mac, uint8_t index,
                                    vm1905_tuple* tuple);

/* Reads an option of another device, as vm1905_get_option; 255 if the device has not reported it.
 * Codes: VM1905_NO_TABLE, VM1905_NO_ITEM, VM1905_NO_DEVICE. (132) */
VM1905_API int vm1905_get_dev_option(vm1905_client* client, const vm1905_mac* al_mac, uint8_t item,
                                     uint8_t* value);

/* Sends a topology discovery and a vendor discovery message now. Returns 0 even if sending fails.
 * (185) */
VM1905_API int vm1905_send_discovery(vm1905_client* client);

/* Sends an IEEE 1905.1 message with these TLVs as they are: length bytes, up to 240; NULL if length
 * is 0, in which case the daemon adds the TLVs of types 0, 1 and 2. Types 2, 4, 5, 8 and 9 go to
 * target; types 0, 1, 7, 10, 11 and 12 go to all devices, and target may be NULL. Codes:
 * VM1905_FAILED if the TLVs are malformed or sending fails, VM1905_BAD_TYPE for any other type.
 * (200) */
VM1905_API int vm1905_send_raw(vm1905_client* client, uint16_t type, const vm1905_mac* target,
                               const void* tlvs, size_t length);

/* ---- Orders that a neighbor answers ---------------------------------------------------------- */

/* target is the neighbor's AL MAC. All of these return VM1905_NO_NEIGHBOR, VM1905_NO_TOPOLOGY, the
 * code that the neighbor answers, or VM1905_TIMEOUT if it does not answer. */

/* Sends a topology query to the neighbor and returns when its response has arrived. (218) */
VM1905_API int vm1905_ping(vm1905_client* client, const vm1905_mac* target);

/* Reboots the neighbor. (134) */
VM1905_API int vm1905_reboot(vm1905_client* client, const vm1905_mac* target);

/* Resets the neighbor to its factory settings. (149) */
VM1905_API int vm1905_reset_to_default(vm1905_client* client, const vm1905_mac* target);

enum { VM1905_MAX_PWR_INTFS = 30 };

typedef struct vm1905_pwr_intf {
    vm1905_mac mac; /* all-zero for every interface of the media type */
    uint16_t media_type;
} vm1905_pwr_intf;

typedef struct vm1905_pwr_result {
    vm1905_mac mac;
    uint16_t media_type;
    uint8_t code; /* VM1905_OK, VM1905_NO_INTF, VM1905_NO_PWR_STATE, VM1905_NO_NEIGHBOR or
                     VM1905_FAILED */
} vm1905_pwr_result;

typedef struct vm1905_pwr_results {
    uint8_t num;
    vm1905_pwr_result results[VM1905_MAX_PWR_INTFS];
} vm1905_pwr_results;

/* Sets the power state (0 on, 2 off) of num interfaces of the neighbor, up to VM1905_MAX_PWR_INTFS.
 * results, which may be NULL, gets the code of each: the call also returns 0 if the neighbor
 * refused some. (136) */
VM1905_API int vm1905_set_dev_intf_pwr(vm1905_client* client, const vm1905_mac* target,
                                       const vm1905_pwr_intf* intfs, size_t num, uint8_t state,
                                       vm1905_pwr_results* results);

/* Control the LED or the system of the neighbor with the low byte of value. With the all-zero
 * target the order goes to all devices, and the call returns 0 once the daemon has taken it. (161,
 * 214) */
VM1905_API int vm1905_led_ctrl(vm1905_client* client, const vm1905_mac* target, int32_t value);
VM1905_API int vm1905_system_ctrl(vm1905_client* client, const vm1905_mac* target, int32_t value);

/* Controls WPS on the neighbor. option: bits, 1 AP auto-configuration, 2 send search, 4 send
 * response. (143) */
VM1905_API int vm1905_wps_ctrl(vm1905_client* client, const vm1905_mac* target, uint8_t option);

/* Controls AP steering on the neighbor; the product defines the option. (145) */
VM1905_API int vm1905_ap_steering(vm1905_client* client, const vm1905_mac* target, uint8_t option);

/* Gives a firmware order; the product defines the options. url: up to 240 bytes. (147) */
VM1905_API int vm1905_fw_ctrl(vm1905_client* client, const vm1905_mac* target, uint8_t option,
                              uint8_t topo_option, const char* url);

/* Sends a command line to the neighbor: up to 240 bytes. (159) */
VM1905_API int vm1905_send_command(vm1905_client* client, const vm1905_mac* target,
                                   const char* command);

typedef struct vm1905_beacon_request {
    vm1905_mac station;
    vm1905_mac bssid;
    uint8_t operating_class;
    uint8_t channel;
    uint8_t mode;      /* 0 passive, 1 active, 2 table */
    uint16_t duration; /* time units (1024 us) */
    char ssid[33];     /* zero-terminated */
} vm1905_beacon_request;

typedef struct vm1905_beacon_report {
    vm1905_mac station;
    uint16_t length;
    uint8_t data[600]; /* length bytes, as the station reported them */
} vm1905_beacon_report;

/* Has a Wi-Fi station of the neighbor measure what it hears. (202) */
VM1905_API int vm1905_request_beacon(vm1905_client* client, const vm1905_mac* target,
                                     const vm1905_beacon_request* request);

/* Reads the station's last report. (204) */
VM1905_API int vm1905_get_beacon(vm1905_client* client, const vm1905_mac* target,
                                 const vm1905_beacon_request* request,
                                 vm1905_beacon_report* report);

typedef struct vm1905_btm {
    vm1905_mac station;
    vm1905_mac bssid; /* of the BSS to move to */
    uint8_t operating_class;
    uint8_t channel;
    uint8_t disassoc_imminent; /* 1 if the station will be disassociated */
    uint16_t disassoc_timer;   /* beacon intervals until then */
} vm1905_btm;

/* Has a Wi-Fi station of the neighbor move to another BSS. (206) */
VM1905_API int vm1905_send_btm(vm1905_client* client, const vm1905_mac* target,
                               const vm1905_btm* btm);

/* Add a Wi-Fi station to the neighbor's blacklist, or remove it. (208, 210) */
VM1905_API int vm1905_add_blacklist(vm1905_client* client, const vm1905_mac* target,
                                    const vm1905_mac* station);
VM1905_API int vm1905_remove_blacklist(vm1905_client* client, const vm1905_mac* target,
                                       const vm1905_mac* station);

/* ---- Orders that the daemon answers once they are sent --------------------------------------- */

/* target is the AL MAC of a device, or the all-zero address for all devices.
 * Codes: VM1905_FAILED if the order cannot be sent. */

typedef struct vm1905_speed_test {
    uint8_t enable;   /* 1 start, 0 stop */
    uint8_t action;   /* what to measure; the product defines it */
    uint32_t start;   /* seconds since the epoch */
    uint32_t runtime; /* seconds */
    vm1905_mac lan_mac;
    char url[227]; /* zero-terminated */
} vm1905_speed_test;

/* Starts or stops a speed test. (179) */
VM1905_API int vm1905_speed_test_ctrl(vm1905_client* client, const vm1905_mac* target,
                                      const vm1905_speed_test* test);

/* Asks a Registrar for its Wi-Fi state. (181) */
VM1905_API int vm1905_wifi_state_search(vm1905_client* client, const vm1905_mac* target);

/* Sends the Wi-Fi state of this device. (183) */
VM1905_API int vm1905_wifi_state_renew(vm1905_client* client, const vm1905_mac* target);

/* Asks a device for its log file. (187) */
VM1905_API int vm1905_request_log_file(vm1905_client* client, const vm1905_mac* target);

/* Sends a network control order; the product defines the option. command: up to 128 bytes. (197) */
VM1905_API int vm1905_network_ctrl(vm1905_client* client, const vm1905_mac* target, uint16_t option,
                                   const char* command);

/* Has all extenders reload their configuration. Returns 0 even if sending fails. (216) */
VM1905_API int vm1905_update_extenders(vm1905_client* client);

/* ---- WPS, Wi-Fi and the daemon itself -------------------------------------------------------- */

/* Unless stated otherwise, the code is that of the platform. */

/* Sets the WPS configuration. device_type: 0 Registrar, 1 Enrollee. (138) */
VM1905_API int vm1905_set_wps(vm1905_client* client, int32_t device_type, int32_t send_search,
                              int32_t send_response);

/* Does nothing and is never answered: returns 0 once the daemon has taken the request. (140) */
VM1905_API int vm1905_get_wps(vm1905_client* client);

/* Puts the current WPS configuration on trial: unless vm1905_set_wps confirms or replaces it within
 * this many seconds, the earlier one returns. 0 for no trial. (163) */
VM1905_API int vm1905_set_wps_timeout(vm1905_client* client, int32_t seconds);

/* Sets the WPS configuration of one band: "0", "1", "3", "32", "33", or "All". (189) */
VM1905_API int vm1905_set_wps_by_band(vm1905_client* client, const char* band, int32_t send_search,
                                      int32_t send_response);

/* Send an AP auto-configuration renew or search message for a band: 0, 1, 3, 32 or 33. (141, 169)
 */
VM1905_API int vm1905_send_wps_renew(vm1905_client* client, uint8_t band);
VM1905_API int vm1905_send_wps_search(vm1905_client* client, uint8_t band);

/* Sets mesh admission: 1 admits every device, 0 only those that the owner has approved. (165) */
VM1905_API int vm1905_set_approve(vm1905_client* client, int32_t approve);

/* Sets the Wi-Fi reload flag, together with the device type as in vm1905_set_wps. (171) */
VM1905_API int vm1905_set_wifi_reload(vm1905_client* client, int32_t device_type, int32_t reload);

/* This daemon always answers VM1905_FAILED. (191) */
VM1905_API int vm1905_wifi_state_action(vm1905_client* client);

/* Sends renew (Registrar) or search (Enrollee) messages for all bands. (212) */
VM1905_API int vm1905_wifi_sync_all(vm1905_client* client);

/* Sets the result of the firmware upgrade. Returns 0 whatever the platform makes of it. (151) */
VM1905_API int vm1905_set_fw_result(vm1905_client* client, int32_t result);

/* Sets the state of the firmware upgrade: up to 240 bytes. (177) */
VM1905_API int vm1905_set_fw_state(vm1905_client* client, const char* state);

/* Send a push-button event, reopen the ports of the daemon, and write vm1905_log.json. These return
 * 0 even if the daemon fails to do so. (153, 155, 157) */
VM1905_API int vm1905_push_button(vm1905_client* client);
VM1905_API int vm1905_reopen_ports(vm1905_client* client);
VM1905_API int vm1905_write_log(vm1905_client* client);

/* Sets the debug level, 0 to 5. With 6 the daemon keeps its level and prints its ports and its
 * topology to its log. (167) */
VM1905_API int vm1905_set_debug_level(vm1905_client* client, uint32_t level);

#ifdef __cplusplus
}
#endif

#endif
