#include "orders.h"

#include "failure.h"
#include "table.h"
#include "terminal.h"

namespace {

struct Outcome {
    std::string begin;  // of the line of text
    std::string order;
    Mac target;
    std::string called;
    bool isAnswered;
};

constexpr Column<Outcome> kOutcome[] = {
    {"text", "",
     [](const Outcome& o) {
         return Json(o.begin + ": " + o.order + (o.called.empty() ? "" : ", " + o.called));
     }},
    {"order", "", [](const Outcome& o) { return Json(o.order); }, Unit::kNone, kHidden},
    {"device", "",
     [](const Outcome& o) { return o.target.isZero() ? Json() : Json(o.target.text()); },
     Unit::kNone, kHidden},
    {"result", "", [](const Outcome&) { return Json(0); }, Unit::kNone, kHidden},
    {"answered", "", [](const Outcome& o) { return Json(o.isAnswered); }, Unit::kNone, kHidden},
};

struct Addressee {
    std::string called;
    bool answers;
};

Addressee addresseeOf(Session& session, ServId service, const Mac& target) {
    const bool isForAll = target.isZero();
    return {isForAll && service == kServRawSend ? "" : session.called(target),
            !isForAll && vm1905_is_for_neighbor(service) != 0};
}

Report outcome(const Outcome& outcome) {
    return {{recordOf("", "", kOutcome, outcome)}};
}

}  // namespace

void carryOut(Session& session, ServId service, const Mac& target, const DeviceCall& call) {
    const vm1905_mac mac = target;
    vm1905_client* const client = session.client();
    const auto [called, answers] = addresseeOf(session, service, target);
    session.expect("the answer of " + (answers ? called : "the daemon"));
    const int result = call(client, &mac);
    session.done();
    check(result, session.command() + (called.empty() ? "" : " of " + called),
          answers ? Asked::kNeighbor : Asked::kHere);
}

Report giveOrder(Session& session, ServId service, const Mac& target, const DeviceCall& call) {
    carryOut(session, service, target, call);
    const auto [called, answers] = addresseeOf(session, service, target);
    return outcome({answers ? "done" : "sent, nobody answers this", session.command(), target,
                    called, answers});
}

Report doHere(Session& session, const std::string& detail, const LocalCall& call, bool isStored) {
    const std::string order = session.command() + (detail.empty() ? "" : " " + detail);
    vm1905_client* const client = session.client();
    session.expect("the daemon");
    const int result = call(client);
    session.done();
    const bool isUnchanged = isStored && result == VM1905_UNCHANGED;
    if (!isUnchanged) check(result, order, Asked::kHere);
    return outcome({isUnchanged ? "unchanged" : "done", order, {}, "", true});
}

void confirm(const Session& session, const std::string& question) {
    if (session.options().yes) return;
    if (!isTerminal(0) || !isTerminal(2)) {
        throw Failure{kUsage, question + " There is no terminal to ask on",
                      "to confirm in advance: --yes"};
    }
    if (!isConfirmed(question)) throw Failure{kRefused, "nothing was done"};
}

Mac knownDevice(Session& session, const std::string& given) {
    const Mac device = session.otherDevice(given);
    vm1905_client* const client = session.client();
    vm1905_dev known;
    bool isKnown = false;
    const unsigned num = walkTable(
        "devices", [&](uint8_t index) { return vm1905_get_dev(client, index, &known); },
        [&] { isKnown = isKnown || Mac(known.al_mac) == device; });
    // A longer table may have it beyond the last index.
    if (!isKnown && num < kMaxEntries) check(VM1905_NO_DEVICE, device.text());
    return device;
}
