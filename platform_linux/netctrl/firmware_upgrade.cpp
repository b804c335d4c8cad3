#include "netctrl/firmware_upgrade.h"

#include "netctrl/firmware_fetch.h"
#include "netctrl/firmware_install.h"
#include "netctrl/firmware_offer.h"
#include "netctrl/firmware_own.h"
#include "netctrl/firmware_server.h"
#include "netctrl/firmware_trust.h"

void startUpgrade() {
    sweepFetches();
    warnOfUnsigned();
}

void directUpgrade() {
    // While this device upgrades itself, it orders nobody to.
    if (!workOnOwn()) directOffers();
}

// One image at a time, since each step takes as long as the daemon may be held up.
void workOnUpgrade() {
    if (!workOnInstall()) verifyOffers();
}

void dropUpgrade() {
    forgetOffers();
    endServer();
    dropOwn();
    dropFetch();
    dropInstall();
}
