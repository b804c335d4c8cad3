// Feeds answers and notifications of rtnetlink to the platform library. An input is the answers of
// the first picture of the network, then steps: which question (1 byte) and its answers.
#include <linux/rtnetlink.h>

#include <cstdlib>
#include <utility>

#include "api.h"
#include "base/text.h"
#include "fake_netlink.h"
#include "netctrl/picture.h"
#include "netctrl/watch.h"
#include "process.h"

namespace {

volatile unsigned sum;

// What a caller would read of a record must be there.
void readBytes(const uint8_t* bytes, size_t size) {
    for (size_t i = 0; i < size; i++) sum = sum + bytes[i];
}

void checkIntf(const IntfDesc& desc) {
    require(isTerminated(desc.name));
    require(desc.mediaInfoLen == 0 || desc.mediaInfoLen == 10);
    readBytes(desc.mediaInfo, desc.mediaInfoLen);
    readBytes(desc.nbrMacs, size_t{6} * desc.nbrNum);
}

void onEvent(uint32_t eventId, const void* info, uint32_t* result) {
    if (eventId == NET_STATUS_INTF_ADDED || eventId == NET_STATUS_INTF_REMOVED) {
        const auto* list = static_cast<const IntfListEvent*>(info);
        unsigned num = 0;
        for (const IntfDesc* desc = list->head; desc != nullptr; desc = desc->next, num++) {
            checkIntf(*desc);
        }
        require(num == list->intfNum);
    } else if (eventId == NET_STATUS_INTF_NBR_ADDED || eventId == NET_STATUS_INTF_NBR_REMOVED) {
        const auto* event = static_cast<const IntfNbrEvent*>(info);
        require(isTerminated(event->name) && event->macNum > 0);
        readBytes(event->macs, size_t{6} * event->macNum);
    } else if (eventId == NET_STATUS_INTF_MEDIA_TYPE) {
        const auto* event = static_cast<const IntfMediaTypeEvent*>(info);
        readBytes(event->mediaInfo, event->mediaInfoLen);
    }
    *result = 0;
}

void describeAll() {
    IntfDescList intfs{};
    if (getIntfDesc(&intfs) == 0) {
        uint8_t num = 0;
        require(getIntfmatchNum(&num) == 0 && num == intfs.intfNum);
    }
    while (IntfDesc* const desc = intfs.head) {
        checkIntf(*desc);
        LinkDescList links{};
        (void)getLinkMetricList(desc->mac, desc->mediaType, &links);
        while (LinkDesc* const link = links.head) free(std::exchange(links.head, link->next));
        intfs.head = desc->next;
        for (void* part : {static_cast<void*>(desc->mediaInfo), static_cast<void*>(desc->nbrMacs),
                           static_cast<void*>(desc)}) {
            free(part);
        }
    }
    BrdgDescList bridges{};
    (void)getBrdgCapability(&bridges);
    while (BrdgDesc* const bridge = bridges.head) {
        readBytes(bridge->macs, size_t{6} * bridge->macNum);
        bridges.head = bridge->next;
        free(bridge->macs);
        free(bridge);
    }
}

void showState() {
    char ip[32], ports[128], backhaul[32];
    require(getEthernetPortState(ports) == 0 && isTerminated(ports) && isJsonItems(ports));
    require(getBackhaulType(backhaul) == 0 && isTerminated(backhaul));
    if (getDeviceIP(ip) == 0) require(isTerminated(ip));
    IPv6Info ipv6;
    if (getIPv6Info(&ipv6) == 0) {
        require(ipv6.num <= PLATFORM_IPV6_MAX);
        for (const auto& address : ipv6.address) require(isTerminated(address));
    }
    SecurityState security;
    if (getSecurityState(&security) == 0) require(isTerminated(security.ssh));
    WifiChannels channels;
    require(getWIFIChannelInfo(&channels) == 0 && isTerminated(channels.band5High));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader({data, size});
    answerFrom(reader);
    (void)openWatch();
    while (reader.ok() && reader.left() > 0) {
        const uint8_t question = reader.u8();
        if (question % 3 == 0) (void)runWatch(onEvent);
        if (question % 3 == 1) describeAll();
        if (question % 3 == 2) showState();
    }
    closeWatch();
    return 0;
}
