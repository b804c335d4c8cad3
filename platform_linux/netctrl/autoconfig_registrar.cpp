#include "netctrl/autoconfig_registrar.h"

#include <algorithm>
#include <list>
#include <set>
#include <vector>

#include "base/result.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/notices.h"
#include "netctrl/watch.h"
#include "netctrl/wifi_file.h"
#include "netctrl/wifi_given.h"
#include "netctrl/wifi_report.h"
#include "wsc/exchange.h"

namespace {

// So long the same M1 gets the same answer, and the device no other one for its band.
constexpr unsigned kAnswerSeconds = 5;
// To answer takes time, so only this many devices and bands are answered meanwhile.
constexpr size_t kMaxAnswers = 16;

struct Answer {
    MacAddr alMac;
    WscRegistrar session;
    std::vector<WscFrame> frames;
    unsigned age = 0;
    bool isFresh = true;  // sent since the last tick
};

struct {
    std::list<Answer> answers;
    std::set<uint8_t> renews;  // bands of which a renew must be sent
    bool isCompared = false;   // with what was given before the start
    bool isStored = true;      // what is given now
} registrar;

int refuse(const ApAutoConfWsc& msg, const WscRefusal& why) {
    LOG_LINE(2, "autoconf: M1 of %s is refused: %s", macText(msg.alMac).c_str(), why.c_str());
    return kFailure;
}

// The same for reasons that the owner should see.
int fail(const ApAutoConfWsc& msg, const WifiBand* band, const WscRefusal& why) {
    noteExchange(MacAddr(msg.alMac), band, WifiExchange::kFailed, why);
    return refuse(msg, why);
}

int sendAnswer(const ApAutoConfWsc& msg, Answer& answer) {
    int result = kOk;
    answer.isFresh = true;
    for (const WscFrame& frame : answer.frames) {
        ApAutoConfWscReq request{};
        MacAddr(msg.srcMac).copyTo(request.dstMac);
        request.frameLen = static_cast<uint16_t>(frame.view().size());
        request.frame = frame.view().data();
        copyText(request.updateTime, wifiFileTime());
        const int sent = requestService(SERV_REQ_AP_AUTOCONF_WSC, &request);
        if (result == kOk) result = sent;
    }
    return result;
}

// The networks of the band without those of which the device offers no authentication type.
std::vector<WifiNetwork> suitable(const std::vector<ConfiguredNetwork>& networks,
                                  const Answer& answer) {
    std::vector<WifiNetwork> found;
    for (const ConfiguredNetwork& each : networks) {
        if ((each.network.auth & answer.session.auth) != 0) {
            found.push_back(each.network);
        } else {
            LOG_LINE(2, "autoconf: %s offers no authentication type of the network %s",
                     macText(answer.alMac).c_str(), each.name.c_str());
        }
    }
    return found;
}

WscRefusal prepare(Answer& answer) {
    WscRegistrar& session = answer.session;
    const auto networks = configuredNetworks(session.band->number);
    if (!networks) return "wifi.conf has errors";
    std::vector<WifiNetwork> given = suitable(*networks, answer);
    const auto count = static_cast<uint8_t>(given.size());
    if (count == 0 && !session.countsM2) return "there is no network for it on its band";
    // An M2 without a network says that there is none any more.
    if (count == 0) given.emplace_back();
    WscRefusal why = prepareM2(session);
    char name[128] = {};
    (void)getHostname(name);
    const WscDevice own{reportedAlMac().value_or(MacAddr{}), name};
    for (uint8_t i = 0; why.empty() && i < given.size(); i++) {
        why = buildM2(session, own, {i, count}, given[i], answer.frames.emplace_back());
    }
    if (!why.empty()) answer.frames.clear();
    return why;
}

}  // namespace

bool answersItself() {
    WpsConfig config{};
    return getWPSConfig(&config) == kOk && config.deviceType == PLATFORM_REGISTRAR && hasWifiFile();
}

int answerM1(const ApAutoConfWsc& msg) {
    const Bytes frame(msg.frame, msg.frameLen);
    const MacAddr alMac(msg.alMac);
    if (wscMessageOf(frame) != WscMessage::kM1) return refuse(msg, "it is no M1");
    if (checkMACisApprove(msg.alMac, "") != 0)
        return fail(msg, nullptr, "the device is not admitted");
    auto& answers = registrar.answers;
    for (Answer& each : answers) {
        if (each.alMac == alMac && std::ranges::equal(each.session.m1.view(), frame)) {
            // A copy that comes by another cable; the Enrollee repeats its M1 later.
            return each.isFresh ? int{kOk} : sendAnswer(msg, each);
        }
    }
    Answer answer{alMac, {}, {}};
    if (const WscRefusal why = readM1(answer.session, frame); !why.empty())
        return fail(msg, nullptr, why);
    const auto hasNonce = [&answer](const Answer& each) {
        return each.session.nonce == answer.session.nonce;
    };
    if (std::ranges::any_of(answers, hasNonce)) return refuse(msg, "its nonce is repeated");
    const auto isOpen = [&answer](const Answer& each) {
        return each.alMac == answer.alMac && each.session.band == answer.session.band;
    };
    if (std::ranges::any_of(answers, isOpen)) return refuse(msg, "another one was just answered");
    if (answers.size() >= kMaxAnswers) return refuse(msg, "too many came in a short time");
    // Also if it is refused now, so that nobody can keep this device busy.
    Answer& kept = answers.emplace_back(std::move(answer));
    if (const WscRefusal why = prepare(kept); !why.empty()) {
        return fail(msg, kept.session.band, why);
    }
    noteExchange(alMac, kept.session.band, WifiExchange::kGiven);
    LOG_LINE(3, "autoconf: %s gets %zu M2 for band %s", macText(alMac).c_str(), kept.frames.size(),
             std::string(kept.session.band->name).c_str());
    return sendAnswer(msg, kept);
}

void tickRegistrar() {
    registrar.answers.remove_if([](Answer& each) {
        each.isFresh = false;
        // The first second is not a whole one.
        return ++each.age > kAnswerSeconds;
    });
    for (const uint8_t number : takeWifiChanges()) {
        registrar.answers.remove_if(
            [number](const Answer& each) { return each.session.band->number == number; });
        registrar.renews.insert(number);
    }
    if (!answersItself()) {
        registrar.renews.clear();
        return;
    }
    if (!registrar.isCompared && configuredNetworks(0)) {
        registrar.isCompared = true;
        noteWifiFileChange();
        registrar.isStored = false;
        registrar.renews.merge(changedSinceStored());
    }
    if (!registrar.renews.empty()) {
        registrar.isStored = false;
        noteWifiFileChange();
    }
    std::erase_if(registrar.renews, [](uint8_t number) { return sendWPSRenew(number) == kOk; });
    if (!registrar.isStored && registrar.renews.empty()) {
        registrar.isStored = true;
        storeGiven();
    }
}

void dropRegistrar() {
    registrar = {};
}
