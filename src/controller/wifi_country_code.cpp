#include "controller/wifi_country_code.h"

#include "controller/own_record.h"
#include "platform/state.h"

int checkWIFICountryCode() {
    return refreshOwnText(getWIFICountryCode, &DeviceInfo::wifiCountryCode);
}
