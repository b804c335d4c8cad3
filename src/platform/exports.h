/* What the daemon exports by name for the platform library. */
#ifndef VM1905_PLATFORM_EXPORTS_H
#define VM1905_PLATFORM_EXPORTS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The running debug level, 0 critical to 5 verbose: a line of level L is printed if
 * DEBUGLEVEL >= L. The library uses it without defining it. */
extern uint8_t DEBUGLEVEL;

/* Firmware upgrade of the other devices. The library's upgrade logic calls these functions on the
 * daemon's thread.
 *
 * First phase. Starts the FTP service (set_vsftpd_StartStop) and sends an order to fetch firmware
 * to every admitted device whose version differs from the one that getNewFWVersionByPlatform
 * returns. mode is 1, 2 or 4: in modes 1 and 2 a device whose last upgrade failed, and for which
 * there is no other version, is ordered to clear that state. Returns 0 if at least one order was
 * sent, else 16. Call it repeatedly until the devices have followed. */
int checkEXdeviceFWVersion(int32_t mode);

/* Second phase. Once every device has fetched its firmware, orders them to reboot. Returns 0 when
 * all have acknowledged that, else 16. Call it repeatedly until it returns 0. */
int checkEXdeviceFWStateIsReady(void);

/* Orders the devices that are ready to reboot, regardless of the others. The second phase calls it
 * once there is no device left to wait for. Returns 0 when all have acknowledged, else 16. */
int sendEXdeviceReboot(void);

/* Forgets the progress of all upgrades, so that devices that have completed one can be ordered
 * again. Call it before the first phase. Returns 0. */
int removeallFWupgradelist(void);

/* Sends a message of the security exchange to the neighbor with this AL MAC (6 bytes): type 1, the
 * first message, or 2, the second (other devices ignore any other type), and len bytes of data, at
 * most 1373. The other device passes it to SecurityCtrl_parseM1 or SecurityCtrl_parseM2. To be
 * called on the daemon's thread once startNetCtrl has been called. Returns 0, or 16 if the device
 * is not a neighbor or the message cannot be sent. */
int sendSecurityCtrlMsg(const uint8_t* alMac, uint8_t type, uint16_t len, const uint8_t* data);

/* The Enrollees whose flag of the band (0, 1, 3, 32 or 33) is 0: they have not acknowledged the
 * last renew. Stores at most max AL MAC addresses of 6 bytes at macs. Returns their number. */
uint32_t getUnsyncedEnrollees(uint8_t band, uint8_t* macs, uint32_t max);

/* A text that outlives a restart of the daemon, in a file that only the daemon can read. name is a
 * plain file name. Both return 0, or 16 on failure. loadState fails if there is no such text or it
 * has size bytes or more; it stores a NUL at the end. saveState has written the text to the disk
 * when it returns. */
int loadState(const char* name, char* text, uint32_t size);
int saveState(const char* name, const char* text);

/* Writes out the file systems and restarts this device at once. Returns 16 if the kernel refuses.
 * On success it returns only in a PID namespace, where the kernel then ends the processes. */
int rebootSystem(void);

#ifdef __cplusplus
}
#endif
#endif
