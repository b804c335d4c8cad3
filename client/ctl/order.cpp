#include "order.h"

namespace {

struct Outcome {
    std::string what;
    Mac target;
    std::string called;
    bool isAnswered;
};

constexpr Column<Outcome> kOutcome[] = {
    {"text", "",
     [](const Outcome& o) {
         return Json(std::string(o.isAnswered ? "done: " : "sent, nobody answers this: ") + o.what +
                     (o.called.empty() ? "" : ", " + o.called));
     }},
    {"order", "", [](const Outcome& o) { return Json(o.what); }, Unit::kNone, kHidden},
    {"device", "",
     [](const Outcome& o) { return o.target.isZero() ? Json() : Json(o.target.text()); },
     Unit::kNone, kHidden},
    {"result", "", [](const Outcome&) { return Json(0); }, Unit::kNone, kHidden},
    {"answered", "", [](const Outcome& o) { return Json(o.isAnswered); }, Unit::kNone, kHidden},
};

}  // namespace

Report giveOrder(Session& session, const std::string& what, const Mac& target,
                 const std::function<int(vm1905_client*, const vm1905_mac*)>& call) {
    const vm1905_mac mac = target;
    vm1905_client* const client = session.client();
    const std::string called = what == "send" && target.isZero() ? "" : session.called(target);
    session.expect("the answer of " + (called.empty() ? "the daemon" : called));
    const int result = call(client, &mac);
    session.done();
    check(result, what + (called.empty() ? "" : " of " + called));
    const bool isSilent = target.isZero() && (what == "led" || what == "system");
    return {{recordOf("", "", kOutcome, Outcome{what, target, called, !isSilent})}};
}

Report doHere(Session& session, const std::string& what,
              const std::function<int(vm1905_client*)>& call) {
    vm1905_client* const client = session.client();
    session.expect("the daemon");
    const int result = call(client);
    session.done();
    check(result, what);
    return {{recordOf("", "", kOutcome, Outcome{what, {}, "", true})}};
}

void confirm(const Session& session, const std::string& question) {
    if (session.options().yes) return;
    if (!isTerminal(0) || !isTerminal(2)) {
        throw Failure{kUsage, question + " Nobody can be asked here",
                      "to go ahead without a question: --yes"};
    }
    if (!isConfirmed(question)) throw Failure{kRefused, "nothing was done"};
}

Mac macArgument(const std::string& text, const std::string& what) {
    if (const auto mac = parseMac(text)) return *mac;
    throw Failure{kUsage, text + " is no MAC address", what + ": such as 02:00:5e:10:00:01"};
}

std::string hexArgument(const std::string& text) {
    if (auto bytes = parseHex(text)) return *bytes;
    throw Failure{kUsage, "these are no bytes as pairs of hexadecimal digits: " + text};
}
