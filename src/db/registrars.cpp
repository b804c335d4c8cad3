#include "db/registrars.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "base/state.h"
#include "base/store.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/wifi_bands.h"
#include "platform/autoconfig.h"

namespace {

constexpr size_t kMostRegistrars = 16;  // anybody can claim to be one

auto& heard() {
    return stateOf<Registrars>().heard;
}

bool isHeard(const MacAddr& alMac) {
    return std::ranges::count(heard(), alMac, &Registrars::Heard::alMac) != 0;
}

bool isEnrollee(const MacAddr& alMac) {
    return std::ranges::any_of(getIeee1905DevTables(), [&](const Ieee1905DevTable& dev) {
        return dev.alMac == alMac && dev.role == PLATFORM_ENROLLEE;
    });
}

void searchAgain() {
    for (const uint8_t band : kRenewBands) {
        WpsBandConfig config{};
        const bool sendsSearches = getWPSConfByBand(band, &config) == 0 && config.sendSearch != 0;
        if (sendsSearches) (void)sendWPSSearch(band);
    }
}

void reportChange(const AlTable& al, const RegistrarPair& before, const RegistrarPair& after) {
    for (const MacAddr& gone : {before.kept, before.other}) {
        if (before.other.isZero() || gone == al.alMac || isHeard(gone)) continue;
        LOG(1, "Registrar (" MAC_FMT ") is gone\r\n", MAC_ARGS(gone));
    }
    if (!after.other.isZero()) {
        LOG(1, "there are two Registrars: (" MAC_FMT ") and (" MAC_FMT ")\r\n",
            MAC_ARGS(after.kept), MAC_ARGS(after.other));
    }
    if (al.role() != PLATFORM_ENROLLEE || after.kept.isZero() || after.kept == before.kept) return;
    // Until the first one is heard, the platform library searches anyway.
    if (!std::exchange(stateOf<Registrars>().hasKept, true)) return;
    LOG(1, "this device takes its configuration from Registrar (" MAC_FMT ") from now on\r\n",
        MAC_ARGS(after.kept));
    searchAgain();
}

}  // namespace

void noteRegistrar(const MacAddr& alMac) {
    if (isOwnAlMac(alMac) || alMac.isZero()) return;
    const auto known = std::ranges::find(heard(), alMac, &Registrars::Heard::alMac);
    if (known != heard().end()) {
        known->time = now();
        return;
    }
    // One that is not noted would not count as another Registrar, and would be obeyed.
    if (heard().size() == kMostRegistrars) heard().pop_back();
    heard().push_back({alMac, now()});
}

bool isOtherRegistrar(const MacAddr& alMac) {
    const AlTable* al = getAlTable();
    return al != nullptr && al->role() == PLATFORM_ENROLLEE && isHeard(alMac) &&
           heard().front().alMac != alMac;
}

RegistrarPair registrarPair() {
    const AlTable* al = getAlTable();
    std::vector<MacAddr> all;
    if (al != nullptr && al->role() == PLATFORM_REGISTRAR) all.push_back(al->alMac);
    for (const auto& entry : heard()) all.push_back(entry.alMac);
    all.resize(2);
    return {all[0], all[1]};
}

void checkRegistrars() {
    auto& module = stateOf<Registrars>();
    const AlTable* al = getAlTable();
    const Seconds time = now();
    if (al == nullptr || !store(module.lastCheck, time)) return;
    std::erase_if(heard(), [&](const Registrars::Heard& entry) {
        const bool isSilent =
            findNbrDev(entry.alMac) == nullptr && time - entry.time >= kSilenceLimit;
        return isSilent || isEnrollee(entry.alMac);
    });
    const RegistrarPair pair = registrarPair();
    const RegistrarPair before = std::exchange(module.reported, pair);
    if (pair == before) return;
    reportChange(*al, before, pair);
    requestUpdateDataModel(0);
}
