#include "controller/led_state.h"

#include "controller/own_record.h"
#include "platform/state.h"

int checkLEDstate() {
    return refreshOwnRecord(getLEDState, [](AlTable& al, const LedState& led) {
        const bool status = storeText(al.info.ledStatus, fieldText(led.status));
        const bool brightness = storeText(al.info.ledBrightness, fieldText(led.brightness));
        return status || brightness;
    });
}
