#include "controller/network_state.h"

#include "controller/own_record.h"
#include "platform/state.h"

int updateNetworkState() {
    return refreshOwnRecord(getNetworkState, [](AlTable& al, const NetworkState& network) {
        const bool dnsmasq = store(al.info.netStateDnsmasq, network.dnsmasq);
        const bool intfs = store(al.info.netStateIntfInBridge, network.intfInBridge);
        return dnsmasq || intfs;
    });
}
