/* What the daemon exports by name for the platform library. */
#ifndef VM1905_PLATFORM_EXPORTS_H
#define VM1905_PLATFORM_EXPORTS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The running debug level: a line of level L is printed when DEBUGLEVEL >= L. */
extern uint8_t DEBUGLEVEL;

/* Firmware upgrade of the extenders, phase one: order every approved device whose firmware
 * differs from the new one to download it. mode is 1, 2 or 4; mode 4 leaves failed devices that
 * already run the new version alone. 0 when at least one request was sent, else 16. */
int checkEXdeviceFWVersion(int32_t mode);

/* Phase two: once every device is ready, order those that have downloaded to reboot. 0 when
 * every device is finished, else 16. */
int checkEXdeviceFWStateIsReady(void);

#ifdef __cplusplus
}
#endif
#endif
