/* What the daemon exports by name for the platform library. */
#ifndef VM1905_PLATFORM_EXPORTS_H
#define VM1905_PLATFORM_EXPORTS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The running debug level: a line of level L is printed when DEBUGLEVEL >= L. */
extern uint8_t DEBUGLEVEL;

/* Upgrade of the other devices, to be called by the library's upgrade logic on the daemon's thread.
 *
 * First phase: sends every admitted device whose firmware differs from the one that
 * getNewFWVersionByPlatform tells the order to fetch it, and starts the FTP service. Mode 1, 2 or
 * 4: in 1 and 2 a device whose last upgrade failed and for which there is nothing new is told so. 0
 * when at least one order was sent, else 16; to be called again until the devices have followed. */
int checkEXdeviceFWVersion(int32_t mode);

/* Second phase: once every device has fetched its firmware, orders them to reboot. 0 when all have
 * answered that, else 16; to be called again until then. */
int checkEXdeviceFWStateIsReady(void);

/* Orders the reboot of the devices that stand ready, whatever the others do; the second phase calls
 * it once nobody is left to wait for. 0 when all have answered theirs, else 16. */
int sendEXdeviceReboot(void);

/* Forgets where the upgrades stand, so that the devices that have followed one can be ordered to
 * the next: to be called before the first phase. 0. */
int removeallFWupgradelist(void);

/* Restarts this device at once, after the file systems were written out. 16 when the kernel
 * refuses; else it does not return, but in a PID namespace, whose processes the kernel ends. */
int rebootSystem(void);

#ifdef __cplusplus
}
#endif
#endif
