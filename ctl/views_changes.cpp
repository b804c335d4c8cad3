// The view of the change log.
#include <algorithm>

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
           Mac(a.entry.al_mac) == Mac(b.entry.al_mac);
}

bool areSame(const Change& a, const Change& b) {
    return a.entry.event == b.entry.event && Mac(a.entry.intf_mac) == Mac(b.entry.intf_mac);
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

}  // namespace

Report showChanges(Session& session) {
    std::vector<Change> changes;
    Change change{};
    walkTable(
        "the change log",
        [&](uint8_t index) { return vm1905_get_log_entry(session.client(), index, &change.entry); },
        [&] {
            change.neighbor = session.called(change.entry.neighbor_mac);
            change.reporter = session.called(change.entry.al_mac);
            change.port = session.portOf(change.entry.al_mac, change.entry.intf_mac);
            changes.push_back(change);
        });
    // The log is a ring.
    std::ranges::stable_sort(changes, {}, [](const Change& c) { return c.entry.time; });
    const bool isText = session.options().format == Format::kText;
    return {{isText && !changes.empty()
                 ? foldedChanges(changes)
                 : listOf("changes", "", kChanges, changes, "no neighbor has come or gone")}};
}
