/* What the library does for a daemon that gives up its rights (CONFINE). */
#ifndef VM1905_PLATFORM_CONFINEMENT_H
#define VM1905_PLATFORM_CONFINEMENT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* All three are optional together: with a library that lacks them, the daemon refuses to start if
 * CONFINE is 1. */

/* Prepares for a daemon that from now on runs as this user and group (both 0: that stays as it is)
 * and without rights: reads what only root can read, gives it the library's files and folders, and
 * forks the process that keeps the rights and runs all programs. That process ends with the daemon.
 * Called once, before initNetCtrl. 0 on success. */
int prepareConfinement(uint32_t user, uint32_t group);

/* Limits the system calls of this process to those that the daemon and the library need. Called
 * once, at the end of the start. */
#define PLATFORM_FILTER_FAILED 1
#define PLATFORM_FILTER_MISSING 2 /* the library was built without */
int limitSystemCalls(void);

/* Starts "/usr/sbin/vm1905 restart" with the rights that the daemon had at first, without waiting.
 * Called after destroyNetCtrl. 0 on success. */
int restartDaemon(void);

#ifdef __cplusplus
}
#endif
#endif
