#include "controller/security_state.h"

#include "controller/own_record.h"
#include "platform/state.h"

int checkSecurityStatet() {
    return refreshOwnRecord(getSecurityState, [](AlTable& al, const SecurityState& security) {
        const bool ssh = storeText(al.info.sshState, fieldText(security.ssh));
        const bool telnet = storeText(al.info.telnetState, fieldText(security.telnet));
        return ssh || telnet;
    });
}
