#include "netctrl/autoconfig_enrollee.h"

#include <algorithm>
#include <array>
#include <list>
#include <optional>
#include <vector>

#include "base/result.h"
#include "common/hook.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/autoconfig_networks.h"
#include "netctrl/notices.h"
#include "netctrl/watch.h"
#include "netctrl/wifi_report.h"
#include "wsc/exchange.h"

namespace {

// An M1 is sent at most five times, after 2, 4, 8 and 16 seconds again.
constexpr unsigned kFirstRetry = 2;
constexpr unsigned kMaxSends = 5;
// Gaps between searches double from the first to the longest.
constexpr unsigned kFirstSearchGap = 5;
constexpr unsigned kLongestSearchGap = 320;
constexpr size_t kMaxExchanges = 16;
// For so many seconds after its end, an exchange takes the copies that come by another cable.
constexpr unsigned kCopySeconds = 5;

struct Exchange {
    MacAddr registrar;  // its AL MAC
    WscEnrollee session;
    bool isRenew = false;  // the Registrar waits for an acknowledgement
    bool isDone = false;
    unsigned sends = 0;
    unsigned wait = 0;  // seconds until the M1 is sent again, or after the end until it is dropped
    std::vector<std::optional<WifiNetwork>> networks{};
    std::vector<std::vector<uint8_t>> accepted{};  // the M2 so far
    std::string refusal{};                         // why the last M2 was refused, if one was

    std::string bandName() const { return std::string(session.band->name); }
};

struct Search {
    unsigned wait = 0;  // seconds until the next one
    unsigned gap = kFirstSearchGap;
    bool isDone = false;  // the band has its networks
};

struct {
    std::list<Exchange> exchanges;
    std::array<Search, std::size(kWifiBandTable)> searches;  // ordered as the table
} enrollee;

Search& searchOf(const WifiBand& band) {
    return enrollee.searches[static_cast<size_t>(&band - kWifiBandTable)];
}

void note(const Exchange& exchange, WifiExchange state, const std::string& reason = {}) {
    noteExchange(exchange.registrar, exchange.session.band, state, reason);
}

int refuse(const uint8_t* alMac, const WscRefusal& why) {
    LOG_LINE(2, "autoconf: M2 of %s is refused: %s", macText(alMac).c_str(), why.c_str());
    return kFailure;
}

int sendM1(Exchange& exchange) {
    exchange.wait = kFirstRetry << exchange.sends++;
    ApAutoConfWscReq request{};
    exchange.registrar.copyTo(request.dstMac);
    request.frameLen = static_cast<uint16_t>(exchange.session.m1.view().size());
    request.frame = exchange.session.m1.view().data();
    return requestService(SERV_REQ_AP_AUTOCONF_WSC, &request);
}

// Stores what an M2 has. True if it was the last one that was missing.
bool takeAnswer(Exchange& exchange, const WscAnswer& answer) {
    auto& networks = exchange.networks;
    if (networks.size() != answer.place.count) networks.clear();
    networks.resize(answer.place.count);
    if (!networks.empty()) networks[answer.place.index] = answer.network;
    return std::ranges::all_of(networks, [](const auto& each) { return each.has_value(); });
}

void acknowledge(const MacAddr& registrar, const WifiBand& band) {
    ApAutoConfAckReq arrived{};
    registrar.copyTo(arrived.alMac);
    arrived.freqBand = band.number;
    (void)requestService(SERV_REQ_AP_AUTOCONF_ACK, &arrived);
}

void finish(Exchange& exchange, const char* updateTime) {
    ReceivedNetworks received{exchange.session.band, updateTime, {}};
    for (const auto& network : exchange.networks) received.networks.push_back(*network);
    exchange.isDone = true;
    exchange.refusal.clear();
    exchange.wait = kCopySeconds;
    exchange.networks.clear();
    exchange.session.key.reset();
    const char* remark = received.networks.empty() ? "the band has no network" : "";
    searchOf(*received.band).isDone =
        applyNetworks(received, [registrar = exchange.registrar, band = received.band, remark,
                                 isRenew = exchange.isRenew](const std::string& trouble) {
            const bool good = trouble.empty();
            noteExchange(registrar, band, good ? WifiExchange::kConfigured : WifiExchange::kFailed,
                         good ? remark : trouble);
            if (good && isRenew) acknowledge(registrar, *band);
        });
}

bool sendsSearches(const WifiBand& band) {
    WpsBandConfig config{};
    return getWPSConfByBand(band.number, &config) == kOk && config.sendSearch != 0;
}

bool mustSearch(const WifiBand& band) {
    return sendsSearches(band) && !searchOf(band).isDone;
}

void tickSearch(const WifiBand& band) {
    Search& search = searchOf(band);
    const bool isOpen = std::ranges::any_of(
        enrollee.exchanges, [&band](const Exchange& each) { return each.session.band == &band; });
    if (isOpen) return;
    if (search.wait > 0) {
        search.wait--;
        return;
    }
    (void)sendWPSSearch(band.number);
    search.wait = search.gap - 1;
    search.gap = std::min(2 * search.gap, kLongestSearchGap);
}

// True if it is to be dropped.
bool tickExchange(Exchange& exchange) {
    if (--exchange.wait > 0) return false;
    if (exchange.isDone) return true;
    if (exchange.sends < kMaxSends) {
        (void)sendM1(exchange);
        return false;
    }
    LOG_LINE(2, "autoconf: %s has not given the networks of band %s",
             macText(exchange.registrar).c_str(), exchange.bandName().c_str());
    note(exchange, WifiExchange::kFailed,
         exchange.refusal.empty() ? "it has not answered" : exchange.refusal);
    return true;
}

}  // namespace

bool asksItself() {
    WpsConfig config{};
    return getWPSConfig(&config) == kOk && config.deviceType == PLATFORM_ENROLLEE &&
           !hasHook("autoconf-response") && !hasHook("autoconf-renew") && !hasHook("autoconf-wsc");
}

int startExchange(const ApAutoConfInfo& msg, AutoConfCause cause) {
    const WifiBand* band = wifiBandOf(msg.freqBand);
    if (msg.supportedRole != PLATFORM_REGISTRAR || band == nullptr) {
        LOG_LINE(2, "autoconf: %s has role %d and band %d, which this device does not know",
                 macText(msg.alMac).c_str(), msg.supportedRole, msg.freqBand);
        return kFailure;
    }
    auto& exchanges = enrollee.exchanges;
    const auto found = std::ranges::find_if(exchanges, [&](const Exchange& each) {
        return each.registrar == MacAddr(msg.alMac) && each.session.band == band;
    });
    std::string refusal;
    if (found != exchanges.end()) {
        if (cause == AutoConfCause::kResponse) return kOk;
        // The Registrar repeats its renew, so that the exchange may never come to its end.
        refusal = found->refusal;
        exchanges.erase(found);
    }
    if (exchanges.size() >= kMaxExchanges) {
        LOG_LINE(2, "autoconf: too many exchanges are under way");
        return kFailure;
    }
    char name[128] = {};
    (void)getHostname(name);
    Exchange& fresh = exchanges.emplace_back();
    fresh.registrar = MacAddr(msg.alMac);
    fresh.isRenew = cause == AutoConfCause::kRenew;
    if (!startWsc(fresh.session, *band, {reportedAlMac().value_or(MacAddr{}), name})) {
        LOG_LINE(1, "autoconf: no M1 can be made");
        exchanges.pop_back();
        return kFailure;
    }
    fresh.refusal = refusal;
    note(fresh, WifiExchange::kAsking, refusal);
    const int result = sendM1(fresh);
    return result == kOk && fresh.isRenew ? int{PLATFORM_RENEW_STARTED} : result;
}

int takeM2(const ApAutoConfWsc& msg) {
    const Bytes frame(msg.frame, msg.frameLen);
    if (wscMessageOf(frame) != WscMessage::kM2) return refuse(msg.alMac, "it is no M2");
    const auto found = std::ranges::find(
        enrollee.exchanges, enrolleeNonceOf(frame),
        [](const Exchange& each) -> const WscNonce& { return each.session.nonce; });
    if (found == enrollee.exchanges.end() || found->registrar != MacAddr(msg.alMac)) {
        return refuse(msg.alMac, "no exchange with it has this nonce");
    }
    const auto isSame = [frame](const auto& each) { return std::ranges::equal(each, frame); };
    if (std::ranges::any_of(found->accepted, isSame)) return kOk;
    if (found->isDone) return refuse(msg.alMac, "the exchange with it has ended");
    WscAnswer answer;
    const WscRefusal why = readM2(found->session, frame, answer);
    if (!why.empty()) {
        found->refusal = "its M2 was refused: " + why;
        note(*found, WifiExchange::kAsking, found->refusal);
        return refuse(msg.alMac, why);
    }
    found->accepted.emplace_back(frame.begin(), frame.end());
    if (takeAnswer(*found, answer)) finish(*found, msg.updateTime);
    return kOk;
}

void reopenSearch(const WifiBand& band) {
    if (searchOf(band).isDone) searchOf(band) = {kFirstSearchGap - 1, 2 * kFirstSearchGap, false};
}

void tickEnrollee() {
    tickNetworks();
    for (const WifiBand& band : kWifiBandTable) {
        if (!sendsSearches(band)) searchOf(band) = {};
    }
    // Most of the time there is nothing to do, and no need to look for hooks.
    if (enrollee.exchanges.empty() && std::ranges::none_of(kWifiBandTable, mustSearch)) return;
    if (!asksItself()) {
        enrollee.exchanges.clear();
        enrollee.searches = {};
        return;
    }
    enrollee.exchanges.remove_if(tickExchange);
    for (const WifiBand& band : kWifiBandTable) {
        if (mustSearch(band)) tickSearch(band);
    }
}

void dropEnrollee() {
    enrollee = {};
}
