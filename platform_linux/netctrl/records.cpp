#include "netctrl/records.h"

#include "common/text.h"

IntfDesc describe(const Intf& intf) {
    IntfDesc desc{};
    copyText(desc.name, intf.name);
    intf.mac.copyTo(desc.mac);
    desc.pwrState = intf.pwrState;
    desc.operStatus = intf.operStatus;
    desc.mediaType = intf.mediaType;
    desc.mediaInfoLen = static_cast<uint8_t>(intf.mediaInfo.size());
    if (!intf.mediaInfo.empty()) desc.mediaInfo = const_cast<uint8_t*>(intf.mediaInfo.data());
    desc.nbrNum = static_cast<uint16_t>(intf.neighbors.size());
    desc.nbrMacs = const_cast<uint8_t*>(packed(intf.neighbors));
    return desc;
}
