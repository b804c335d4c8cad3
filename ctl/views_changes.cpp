// The view of the change log.
#include <algorithm>
#include <cmath>
#include <ctime>
#include <deque>
#include <map>
#include <memory>
#include <tuple>
#include <utility>

#include "table.h"
#include "views.h"
#include "words.h"

namespace {

struct Change {
    vm1905_log_entry entry;
    std::string reporter, neighbor, port;
};

constexpr Column<Change> kChanges[] = {
    {"time", "TIME", [](const Change& c) { return Json(c.entry.time); }, Unit::kTime},
    {"event", "EVENT",
     [](const Change& c) {
         return wordOf({"new", "lost"}, c.entry.event);
     }},
    {"neighbor", "NEIGHBOR", [](const Change& c) { return Json(c.neighbor); }},
    {"neighbor_mac", "", [](const Change& c) { return Json(Mac(c.entry.neighbor_mac).text()); },
     Unit::kNone, kHidden},
    {"neighbor_type", "KIND",
     [](const Change& c) {
         return wordOf({"device", "host"}, c.entry.neighbor_type);
     }},
    {"reporter", "SEEN BY", [](const Change& c) { return Json(c.reporter); }},
    {"reporter_mac", "", [](const Change& c) { return Json(Mac(c.entry.al_mac).text()); },
     Unit::kNone, kHidden},
    {"interface", "ON", [](const Change& c) { return known(c.port); }},
    {"interface_mac", "", [](const Change& c) { return Json(Mac(c.entry.intf_mac).text()); },
     Unit::kNone, kHidden},
};

bool areOfOnePair(const Change& a, const Change& b) {
    return Mac(a.entry.neighbor_mac) == Mac(b.entry.neighbor_mac) &&
           a.entry.neighbor_type == b.entry.neighbor_type &&
           Mac(a.entry.al_mac) == Mac(b.entry.al_mac);
}

bool areSame(const Change& a, const Change& b) {
    return a.entry.event == b.entry.event && Mac(a.entry.intf_mac) == Mac(b.entry.intf_mac);
}

// The port of the reporter; empty if it is unknown. The daemon gives its AL MAC in place of the
// port on which it lost a device.
std::string portOf(Session& session, const vm1905_log_entry& entry) {
    const bool isLostDevice = entry.event == 1 && entry.neighbor_type == 0;
    const bool isPlaceholder = isLostDevice && Mac(entry.al_mac) == Mac(entry.intf_mac) &&
                               Mac(entry.al_mac) == Mac(session.ownRecord().al_mac);
    return isPlaceholder ? "" : session.portOf(entry.al_mac, entry.intf_mac);
}

// For people: repeated news of the same neighbor are one line.
Section foldedChanges(const std::vector<Change>& changes) {
    struct Fold {
        Change first;
        uint32_t last;
        int times;
    };
    std::vector<Fold> folds;
    for (const Change& change : changes) {
        const auto before = std::find_if(folds.rbegin(), folds.rend(), [&](const Fold& fold) {
            return areOfOnePair(fold.first, change);
        });
        if (before != folds.rend() && areSame(before->first, change)) {
            before->last = change.entry.time;
            before->times++;
        } else {
            folds.push_back({change, change.entry.time, 1});
        }
    }
    Section section = sectionOf("changes", "", kChanges, true);
    section.headings.push_back({"times", "TIMES", Unit::kNone, kPlain});
    section.headings.push_back({"last", "LAST", Unit::kTime, kPlain});
    for (const Fold& fold : folds) {
        auto row = rowOf(kChanges, fold.first);
        const bool isRepeated = fold.times > 1;
        row.push_back(isRepeated ? Json(fold.times) : Json());
        row.push_back(isRepeated ? Json(fold.last) : Json());
        section.rows.push_back(std::move(row));
    }
    return section;
}

std::vector<vm1905_log_entry> readLog(Session& session) {
    std::vector<vm1905_log_entry> log;
    vm1905_log_entry entry{};
    walkTable(
        "the change log",
        [&](uint8_t index) { return vm1905_get_log_entry(session.client(), index, &entry); },
        [&] { log.push_back(entry); });
    // The log is a ring.
    std::ranges::stable_sort(log, {}, &vm1905_log_entry::time);
    return log;
}

Change changeOf(Session& session, const vm1905_log_entry& entry) {
    return {entry, session.called(entry.al_mac), session.called(entry.neighbor_mac),
            portOf(session, entry)};
}

Section changesOf(const std::vector<Change>& changes) {
    return listOf("changes", "", kChanges, changes, "no neighbor has come or gone");
}

class Follower {
  public:
    explicit Follower(double (*lead)()) : lead_(lead) {}

    Report news(Session& session) {
        takeNew(readLog(session));
        for (const ModelDevice& device : session.model().devices) {
            if (std::string name = device.text("Hostname"); !name.empty()) {
                names_[device.alMac] = std::move(name);
            }
        }
        std::vector<Change> changes;
        for (; !waiting_.empty() && isReady(waiting_.front()); waiting_.pop_front()) {
            Change change = changeOf(session, waiting_.front());
            for (const auto& [name, mac] : {std::pair(&change.neighbor, change.entry.neighbor_mac),
                                            std::pair(&change.reporter, change.entry.al_mac)}) {
                if (const auto known = names_.find(mac); known != names_.end())
                    *name = known->second;
            }
            changes.push_back(std::move(change));
        }
        return {{changesOf(changes)}};
    }

  private:
    static constexpr std::time_t kNameWait = 5;  // seconds for a new device to report its name

    struct Known {
        vm1905_log_entry entry;
        double sinceBoot;
    };
    // The daemon converts times to the wall clock as it is set when asked, and rounds.
    static bool areOne(const Known& a, const Known& b) {
        const auto kind = [](const vm1905_log_entry& e) {
            return std::tuple<uint8_t, Mac, Mac, uint8_t, Mac>{e.event, e.al_mac, e.intf_mac,
                                                               e.neighbor_type, e.neighbor_mac};
        };
        return kind(a.entry) == kind(b.entry) && std::abs(a.sinceBoot - b.sinceBoot) < 1.5;
    }

    // An entry has no number, and the same may be there twice.
    void takeNew(const std::vector<vm1905_log_entry>& log) {
        const double lead = lead_();
        std::vector<Known> before = std::exchange(known_, {});
        for (const vm1905_log_entry& entry : log) {
            const Known& now = known_.emplace_back(Known{entry, entry.time - lead});
            const auto found =
                std::ranges::find_if(before, [&](const Known& old) { return areOne(old, now); });
            if (found == before.end()) {
                waiting_.push_back(entry);
            } else {
                before.erase(found);
            }
        }
    }

    bool isReady(const vm1905_log_entry& entry) const {
        const bool isNewDevice = entry.event == 0 && entry.neighbor_type == 0;
        if (!isNewDevice || names_.contains(entry.neighbor_mac)) return true;
        const std::time_t age = std::time(nullptr) - static_cast<std::time_t>(entry.time);
        return age < 0 || age >= kNameWait;
    }

    double (*lead_)();
    std::vector<Known> known_;              // the log as it was last read
    std::deque<vm1905_log_entry> waiting_;  // new ones, the first of which still has no name
    std::map<Mac, std::string> names_;      // also of devices that are lost
};

}  // namespace

Report showChanges(Session& session) {
    std::vector<Change> changes;
    for (const auto& entry : readLog(session)) changes.push_back(changeOf(session, entry));
    const bool isText = session.options().format == Format::kText;
    return {{isText && !changes.empty() ? foldedChanges(changes) : changesOf(changes)}};
}

double wallClockLead() {
    const auto seconds = [](clockid_t clock) {
        timespec t{};
        clock_gettime(clock, &t);
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
    };
    return seconds(CLOCK_REALTIME) - seconds(CLOCK_BOOTTIME);
}

std::function<Report(Session&)> changeFollower(double (*lead)()) {
    return [follower = std::make_shared<Follower>(lead)](Session& session) {
        return follower->news(session);
    };
}
