#include "controller/ipv6_info.h"

#include <algorithm>

#include "controller/own_record.h"
#include "platform/state.h"

int checkIPv6Info() {
    return refreshOwnRecord(getIPv6Info, [](AlTable& al, const IPv6Info& info) {
        std::vector<std::string> addresses;
        for (size_t i = 0; i < std::min<size_t>(info.num, PLATFORM_IPV6_MAX); i++) {
            addresses.push_back(plainText(fieldText(info.address[i])));
        }
        return store(al.info.ipv6, addresses);
    });
}
