#include "net/fragment_store.h"

#include <algorithm>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "net/transmitter.h"

namespace {

constexpr Seconds kFragmentLifetime = 6;

std::list<FragCmdu>& frag_cmdus() {
    return stateOf<FragmentStore>().frag_cmdus;
}

}  // namespace

FragCmdu* findFragCmdu(const Port& port, const FrameHdr& hdr) {
    for (auto& cmdu : frag_cmdus()) {
        if (cmdu.srcMac == hdr.srcMac && cmdu.msgType == hdr.msgType && cmdu.msgId == hdr.msgId &&
            cmdu.ifIndex == port.ifIndex) {
            return &cmdu;
        }
    }
    return nullptr;
}

int storeFragment(const Port& port, const FrameHdr& hdr, Bytes area) {
    FragCmdu* cmdu = findFragCmdu(port, hdr);
    if (cmdu == nullptr) {
        if (frag_cmdus().size() >= kMaxFragCmdus) {
            // One that was not asked for, if there is any.
            auto oldest = std::ranges::find_if(frag_cmdus(), [](const FragCmdu& entry) {
                return !isQueryPending(entry.msgType, entry.msgId);
            });
            if (oldest == frag_cmdus().end()) oldest = frag_cmdus().begin();
            LOG(2, "too many unfinished messages, drop the oldest (macSa = " MAC_FMT ")\r\n",
                MAC_ARGS(oldest->srcMac));
            frag_cmdus().erase(oldest);
        }
        cmdu = &frag_cmdus().emplace_back();
        cmdu->srcMac = hdr.srcMac;
        cmdu->portMac = port.mac;
        cmdu->ifIndex = port.ifIndex;
        cmdu->mediaType = port.mediaType;
        cmdu->version = hdr.version;
        cmdu->msgType = hdr.msgType;
        cmdu->msgId = hdr.msgId;
    }
    if (cmdu->fragments.size() >= kMaxFragments) {
        LOG(2, "too many fragments (macSa = " MAC_FMT ", type = %d, id = %d)\r\n",
            MAC_ARGS(hdr.srcMac), hdr.msgType, hdr.msgId);
        return kFailure;
    }
    cmdu->fragments.emplace_back(area.begin(), area.end());
    cmdu->time = now();
    return kOk;
}

void removeFragCmdu(const FragCmdu* cmdu) {
    frag_cmdus().remove_if([&](const FragCmdu& entry) { return &entry == cmdu; });
}

void checkFragmessageTimeout() {
    const Seconds time = now();
    frag_cmdus().remove_if(
        [&](const FragCmdu& cmdu) { return time - cmdu.time >= kFragmentLifetime; });
}

void destroyFragCmdus() {
    frag_cmdus().clear();
}
