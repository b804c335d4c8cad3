// Rows and columns of a list that the user chooses.
#include <strings.h>

#include <algorithm>

#include "failure.h"
#include "report.h"

namespace {

size_t columnOf(const Section& list, const std::string& key) {
    const auto found = std::ranges::find(list.headings, key, &Heading::key);
    if (found != list.headings.end()) return static_cast<size_t>(found - list.headings.begin());
    std::string keys;
    for (const Heading& heading : list.headings) keys += (keys.empty() ? "" : ", ") + heading.key;
    throw Failure{kUsage, "there is no column " + key, "columns: " + keys};
}

// Negative if a comes first. Numbers come in their order, and unknown values last.
int compare(const Json& a, const Json& b) {
    if (a.is_null() || b.is_null()) return a.is_null() - b.is_null();
    if (a.is_number() && b.is_number()) return a == b ? 0 : a < b ? -1 : 1;
    return strcasecmp(textOf(a, Unit::kNone).c_str(), textOf(b, Unit::kNone).c_str());
}

// A value as people type it.
Json typed(const std::string& text) {
    const Json number = Json::parse(text, nullptr, false);
    return number.is_number() ? number : text.empty() ? Json() : Json(text);
}

void filter(Section& list, const std::string& condition) {
    const size_t at = condition.find_first_of("=!<>");
    const bool isNot = at != std::string::npos && condition.compare(at, 2, "!=") == 0;
    if (at == std::string::npos || at == 0 || (condition[at] == '!' && !isNot)) {
        throw Failure{kUsage, condition + " is not a condition",
                      "conditions are KEY=VALUE, KEY!=VALUE, KEY<VALUE and KEY>VALUE"};
    }
    const size_t column = columnOf(list, condition.substr(0, at));
    const Json wanted = typed(condition.substr(at + (isNot ? 2 : 1)));
    std::erase_if(list.rows, [&](const auto& row) {
        const int order = compare(row[column], wanted);
        if (isNot) return order == 0;
        if (condition[at] == '=') return order != 0;
        return row[column].is_null() || (condition[at] == '<' ? order >= 0 : order <= 0);
    });
}

void sort(Section& list, const std::string& key) {
    const bool isReverse = key.starts_with('-');
    const size_t column = columnOf(list, key.substr(isReverse));
    std::ranges::stable_sort(list.rows, [&](const auto& a, const auto& b) {
        const bool isOrdered = !a[column].is_null() && !b[column].is_null();
        return isReverse && isOrdered ? compare(b[column], a[column]) < 0
                                      : compare(a[column], b[column]) < 0;
    });
}

void choose(Section& list, const std::vector<std::string>& keys) {
    Section chosen = list;
    chosen.headings.clear();
    for (auto& row : chosen.rows) row.clear();
    for (const std::string& key : keys) {
        const size_t column = columnOf(list, key);
        Heading heading = list.headings[column];
        heading.traits = (heading.traits & kRestless) | kWanted;
        if (heading.heading.empty()) {
            for (const char c : key) {
                heading.heading += c == '_' ? ' ' : static_cast<char>(std::toupper(c));
            }
        }
        chosen.headings.push_back(heading);
        for (size_t i = 0; i < list.rows.size(); i++) {
            chosen.rows[i].push_back(list.rows[i][column]);
        }
    }
    list = std::move(chosen);
}

}  // namespace

void select(Report& report, const Selection& selection) {
    const auto list = std::ranges::find(report.sections, true, &Section::isList);
    if (list == report.sections.end()) return;
    for (const std::string& condition : selection.filters) filter(*list, condition);
    if (!selection.sort.empty()) sort(*list, selection.sort);
    // The branches of a tree would lead to the wrong rows.
    if (!selection.filters.empty() || !selection.sort.empty()) list->branches.clear();
    if (!selection.columns.empty()) choose(*list, selection.columns);
}
