#include "report.h"

#include <algorithm>
#include <ctime>

#include "terminal.h"

namespace {

std::string durationOf(int64_t seconds) {
    const auto part = [](int64_t number, const char* unit) {
        return std::to_string(number) + unit;
    };
    if (seconds < 60) return part(seconds, " s");
    if (seconds < 3600) return part(seconds / 60, " min ") + part(seconds % 60, " s");
    if (seconds < 86400) return part(seconds / 3600, " h ") + part(seconds % 3600 / 60, " min");
    return part(seconds / 86400, " d ") + part(seconds % 86400 / 3600, " h");
}

std::string localTime(int64_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    char text[32] = "?";
    if (localtime_r(&time, &parts) != nullptr) {
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    }
    return text;
}

std::string quoted(const std::string& text) {
    const bool isPlain = !text.empty() && std::ranges::all_of(text, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               (c != '\0' && std::string_view("_./:@%+,-").find(c) != std::string_view::npos);
    });
    if (isPlain || text.empty()) return text;
    std::string out = "'";
    for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

bool isEmpty(const Section& section, size_t column) {
    return std::ranges::all_of(section.rows,
                               [&](const auto& row) { return row[column].is_null(); });
}

// A record as lines of "Heading   value".
void printRecord(const Section& section, std::string& out) {
    size_t widest = 0;
    for (const Heading& heading : section.headings) {
        if (!(heading.traits & kHidden)) widest = std::max(widest, width(heading.heading));
    }
    for (size_t i = 0; i < section.headings.size(); i++) {
        const Heading& heading = section.headings[i];
        const std::string value = textOf(section.rows[0][i], heading.unit);
        if ((heading.traits & kHidden) || value.empty()) continue;
        if (heading.heading.empty()) {
            out += value + "\n";
            continue;
        }
        out += colored(Color::kHeading, heading.heading, 1);
        out.append(widest - width(heading.heading) + 2, ' ');
        out += value + "\n";
    }
}

struct Cells {
    std::string heading;
    std::vector<std::string> values;
    size_t widest;
    bool isSpare, isShort;
    std::vector<bool> isBad{};  // by row
};

// As much of the list at the end of a text as fits: "with a +2" for "with a, b, c".
std::string shortened(const std::string& text, size_t room) {
    std::string out = text;
    size_t end = text.size();
    for (size_t left = 1; width(out) > room; left++) {
        end = text.rfind(", ", end - 1);
        if (end == std::string::npos || end == 0) break;
        out = text.substr(0, end) + " +" + std::to_string(left);
    }
    return out;
}

bool isFitting(const std::vector<Cells>& columns, size_t limit) {
    size_t total = 0;
    for (const Cells& cells : columns) total += cells.widest + 2;
    return total <= limit + 2;
}

bool isBad(const Json& value, Unit unit) {
    constexpr int64_t kMissed = 65, kWeak = 15;  // seconds, dB
    if (unit == Unit::kState) return value.is_string() && value != "up";
    if (!value.is_number()) return false;
    return (unit == Unit::kSilence && value > kMissed) || (unit == Unit::kDecibel && value < kWeak);
}

// before: the widths so far of a list that is printed row by row; nullptr for a whole list, which
// omits empty columns.
void printTable(const Section& section, std::string& out, Widths* before = nullptr) {
    std::vector<Cells> columns;
    for (size_t i = 0; i < section.headings.size(); i++) {
        if (section.headings[i].traits & kHidden) continue;
        const bool isKept = before != nullptr || (section.headings[i].traits & kWanted) != 0;
        if (!isKept && isEmpty(section, i)) continue;
        const Heading& heading = section.headings[i];
        Cells cells{heading.heading,
                    {},
                    width(heading.heading),
                    (heading.traits & kSpare) != 0,
                    (heading.traits & kShort) != 0};
        for (size_t row = 0; row < section.rows.size(); row++) {
            std::string value = textOf(section.rows[row][i], heading.unit);
            cells.isBad.push_back(isBad(section.rows[row][i], heading.unit));
            const bool hasBranch = columns.empty() && row < section.branches.size();
            // In a tree an empty cell is easier to read.
            if (value.empty() && section.branches.empty()) value = "-";
            cells.values.push_back(hasBranch ? section.branches[row] + value : value);
            // Of what can be shortened, as little is shown as there must be, until the room is
            // known.
            const std::string& shown = cells.values.back();
            cells.widest =
                std::max(cells.widest, width(cells.isShort ? shortened(shown, 0) : shown));
        }
        columns.push_back(std::move(cells));
    }
    const auto line = [&](auto&& cellOf, auto&& colorOf) {
        std::string text, gap;
        for (const Cells& cells : columns) {
            const std::string& cell = cellOf(cells);
            if (!cell.empty()) text += gap + colorOf(cells, cell);
            if (!cell.empty()) gap.clear();
            gap.append(cells.widest - width(cell) + 2, ' ');
        }
        out += text + "\n";
    };
    const bool isContinued = before != nullptr && !before->empty();
    if (before != nullptr) {
        before->resize(columns.size());
        for (size_t i = 0; i < columns.size(); i++) {
            size_t& widest = (*before)[i];
            widest = columns[i].widest = std::max(columns[i].widest, widest);
        }
    }
    const size_t limit = terminalColumns();
    while (before == nullptr && !isFitting(columns, limit)) {
        const auto spare = std::find_if(columns.rbegin(), columns.rend(),
                                        [](const Cells& cells) { return cells.isSpare; });
        if (spare == columns.rend()) break;
        columns.erase(std::next(spare).base());
    }
    for (Cells& cells : columns) {
        if (!cells.isShort) continue;
        size_t others = 0;
        for (const Cells& other : columns) others += &other == &cells ? 0 : other.widest + 2;
        const size_t room = std::max(cells.widest, limit - std::min(limit, others));
        for (std::string& value : cells.values) {
            value = shortened(value, room);
            cells.widest = std::max(cells.widest, width(value));
        }
    }
    if (!isContinued) {
        line([](const Cells& cells) -> const std::string& { return cells.heading; },
             [](const Cells&, const std::string& text) {
                 return colored(Color::kHeading, text, 1);
             });
    }
    for (size_t row = 0; row < section.rows.size(); row++) {
        line([&](const Cells& cells) -> const std::string& { return cells.values[row]; },
             [&](const Cells& cells, const std::string& text) {
                 return cells.isBad[row] ? colored(Color::kTrouble, text, 1) : text;
             });
    }
}

Json sectionJson(const Section& section, bool onlyNews) {
    const auto object = [&](const std::vector<Json>& row) {
        Json out = Json::object();
        for (size_t i = 0; i < row.size(); i++) {
            if (!onlyNews || !(section.headings[i].traits & kRestless)) {
                out[section.headings[i].key] = row[i];
            }
        }
        return out;
    };
    if (!section.isList) return object(section.rows[0]);
    Json out = Json::array();
    for (const auto& row : section.rows) out.push_back(object(row));
    return out;
}

Json wholeJson(const Report& report, bool onlyNews) {
    Json out = Json::object();
    for (const Section& section : report.sections) {
        Json part = sectionJson(section, onlyNews);
        if (section.key.empty()) {
            out.update(part);
        } else {
            out[section.key] = std::move(part);
        }
    }
    return out;
}

// Only ASCII, so that no text from another device can control the terminal.
std::string dumped(const Json& value, int indent) {
    return value.dump(indent, ' ', true, Json::error_handler_t::replace);
}

}  // namespace

std::string textOf(const Json& value, Unit unit) {
    if (value.is_null()) return "";
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    if (value.is_string()) return escaped(value.get_ref<const std::string&>());
    if (value.is_array() || value.is_object()) {
        std::string out;
        for (const Json& item : value) {
            const std::string text = textOf(item, unit);
            if (!text.empty()) out += (out.empty() ? "" : ", ") + text;
        }
        return out;
    }
    if (value.is_number_integer()) {
        if (unit == Unit::kSilence) return durationOf(value.get<int64_t>()) + " ago";
        if (unit == Unit::kSeconds) return durationOf(value.get<int64_t>());
        if (unit == Unit::kTime) return localTime(value.get<int64_t>());
    }
    std::string number = dumped(value, -1);
    switch (unit) {
        case Unit::kMbps:
            return number + " Mb/s";
        case Unit::kPercent:
            return number + " %";
        case Unit::kDecibel:
            return number + " dB";
        default:
            return number;
    }
}

void printKeyValue(const Json& value, const std::string& path, std::string& out) {
    const auto join = [&](const std::string& name) {
        return path.empty() ? name : path + "." + name;
    };
    if (value.is_object()) {
        for (const auto& [name, member] : value.items()) printKeyValue(member, join(name), out);
    } else if (value.is_array()) {
        for (size_t i = 0; i < value.size(); i++) {
            printKeyValue(value[i], join(std::to_string(i)), out);
        }
    } else {
        const std::string text = value.is_null()     ? ""
                                 : value.is_string() ? quoted(escaped(value.get<std::string>()))
                                                     : dumped(value, -1);
        out += path + "=" + text + "\n";
    }
}

Json Report::json() const {
    return wholeJson(*this, false);
}

std::string Report::fingerprint() const {
    return dumped(wholeJson(*this, true), -1);
}

void Report::print(Format format, std::string& out) const {
    if (format == Format::kJson) {
        out += dumped(json(), 2) + "\n";
        return;
    }
    if (format == Format::kKeyValue) {
        printKeyValue(json(), "", out);
        return;
    }
    if (!drawing.empty()) {
        out += drawing;
        return;
    }
    for (const Section& section : sections) {
        if (!out.empty()) out += "\n";
        if (!section.title.empty()) out += section.title + "\n";
        if (!section.isList) {
            printRecord(section, out);
        } else if (section.rows.empty()) {
            out += section.ifEmpty + "\n";
        } else {
            printTable(section, out);
        }
    }
}

void Report::printRows(Format format, Widths& widths, std::string& out) const {
    if (sections[0].rows.empty()) return;
    if (format == Format::kText) return printTable(sections[0], out, &widths);
    for (const Json& row : sectionJson(sections[0], false)) {
        if (format == Format::kJson) out += dumped(row, -1);
        if (format == Format::kKeyValue) printKeyValue(row, "", out);
        out += "\n";
    }
}
