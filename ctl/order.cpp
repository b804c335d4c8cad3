#include "order.h"

namespace {

struct Outcome {
    std::string begin;  // of the line for people
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

bool isKnown(Session& session, const Mac& device) {
    vm1905_dev known;
    for (unsigned index = 0; index < 256; index++) {
        const int result = vm1905_get_dev(session.client(), static_cast<uint8_t>(index), &known);
        if (result == VM1905_BAD_INDEX || result == VM1905_EMPTY) return false;
        check(result, "devices");
        if (Mac(known.al_mac) == device) return true;
    }
    return true;  // there may be more than an index can tell
}

}  // namespace

Report giveOrder(Session& session, ServId service, const Mac& target,
                 const std::function<int(vm1905_client*, const vm1905_mac*)>& call) {
    const vm1905_mac mac = target;
    vm1905_client* const client = session.client();
    const std::string& order = session.command();
    const bool isForAll = target.isZero();
    const bool isAnswered = vm1905_is_for_neighbor(service) != 0 && !isForAll;
    const std::string called = isForAll && service == kServRawSend ? "" : session.called(target);
    session.expect("the answer of " + (isAnswered ? called : "the daemon"));
    const int result = call(client, &mac);
    session.done();
    check(result, order + (called.empty() ? "" : " of " + called),
          isAnswered ? Asked::kNeighbor : Asked::kHere);
    return {{recordOf("", "", kOutcome,
                      Outcome{isAnswered ? "done" : "sent, nobody answers this", order, target,
                              called, isAnswered})}};
}

Report doHere(Session& session, const std::string& detail,
              const std::function<int(vm1905_client*)>& call, bool isStored) {
    const std::string order = session.command() + (detail.empty() ? "" : " " + detail);
    vm1905_client* const client = session.client();
    session.expect("the daemon");
    const int result = call(client);
    session.done();
    const bool isUnchanged = isStored && result == VM1905_UNCHANGED;
    if (!isUnchanged) check(result, order, Asked::kHere);
    return {{recordOf("", "", kOutcome,
                      Outcome{isUnchanged ? "unchanged" : "done", order, {}, "", true})}};
}

void confirm(const Session& session, const std::string& question) {
    if (session.options().yes) return;
    if (!isTerminal(0) || !isTerminal(2)) {
        throw Failure{kUsage, question + " Nobody can be asked here",
                      "to go ahead without a question: --yes"};
    }
    if (!isConfirmed(question)) throw Failure{kRefused, "nothing was done"};
}

Mac knownDevice(Session& session, const std::string& given) {
    const Mac device = session.otherDevice(given);
    if (!isKnown(session, device)) check(VM1905_NO_DEVICE, device.text());
    return device;
}
