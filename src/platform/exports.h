/* What the daemon exports by name for the platform library. */
#ifndef VM1905_PLATFORM_EXPORTS_H
#define VM1905_PLATFORM_EXPORTS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The running debug level: a line of level L is printed when DEBUGLEVEL >= L. */
extern uint8_t DEBUGLEVEL;

#ifdef __cplusplus
}
#endif
#endif
