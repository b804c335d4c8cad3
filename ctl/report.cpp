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

bool isShown(const Section& section, size_t column) {
    if (section.headings[column].traits & kHidden) return false;
    // Lists omit empty columns.
    return !section.isList || std::ranges::any_of(section.rows, [&](const auto& row) {
        return !row[column].is_null();
    });
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

void printTable(const Section& section, std::string& out) {
    struct Cells {
        std::string heading;
        std::vector<std::string> values;
        size_t widest;
    };
    std::vector<Cells> columns;
    for (size_t i = 0; i < section.headings.size(); i++) {
        if (!isShown(section, i)) continue;
        Cells cells{section.headings[i].heading, {}, width(section.headings[i].heading)};
        for (size_t row = 0; row < section.rows.size(); row++) {
            std::string value = textOf(section.rows[row][i], section.headings[i].unit);
            const bool hasBranch = columns.empty() && row < section.branches.size();
            // In a tree an empty cell is easier to read.
            if (value.empty() && section.branches.empty()) value = "-";
            cells.values.push_back(hasBranch ? section.branches[row] + value : value);
            cells.widest = std::max(cells.widest, width(cells.values.back()));
        }
        columns.push_back(std::move(cells));
    }
    const auto line = [&](auto&& cellOf, bool isHeading) {
        std::string text;
        for (const Cells& cells : columns) {
            const std::string& cell = cellOf(cells);
            text += cell;
            text.append(cells.widest - width(cell) + 2, ' ');
        }
        text.erase(text.find_last_not_of(' ') + 1);
        out += (isHeading ? colored(Color::kHeading, text, 1) : text) + "\n";
    };
    line([](const Cells& cells) -> const std::string& { return cells.heading; }, true);
    for (size_t row = 0; row < section.rows.size(); row++) {
        line([&](const Cells& cells) -> const std::string& { return cells.values[row]; }, false);
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
