#include "controller/wifi_channel_info.h"

#include "controller/own_record.h"
#include "platform/state.h"

int checkWIFIChannelInfo() {
    return refreshOwnRecord(getWIFIChannelInfo, [](AlTable& al, const WifiChannels& channels) {
        const bool band24 = storeText(al.info.wifi24GChannel, fieldText(channels.band24));
        const bool band5 = storeText(al.info.wifi5GChannel, fieldText(channels.band5));
        const bool band5High = storeText(al.info.wifi5G2Channel, fieldText(channels.band5High));
        return band24 || band5 || band5High;
    });
}
