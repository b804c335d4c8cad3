// What a command shows, described once and printed in one of three formats: text for people, JSON,
// or lines of path.to.key=value.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using Json = nlohmann::ordered_json;

enum class Format { kText, kJson, kKeyValue };

// How the text format shows the values of a column.
enum class Unit {
    kNone,
    kSeconds,  // as a duration
    kTime,     // seconds since the epoch, as local time
    kMbps,
    kPercent,
    kDecibel,  // above the noise
    kSilence,  // seconds, as a duration before now; stale if a discovery was missed
    kState,    // "up", or what is wrong
};

enum Traits : unsigned {
    kPlain = 0,
    kHidden = 1,    // not in the text format
    kRestless = 2,  // changes all the time, so watch does not show it as a change
    kWanted = 8,    // shown even if it is empty
    kShort = 16,    // texts end in a list, of which only as much is shown as fits
    kSpare = 4,     // left out of a text that would be wider than the terminal, the last one first
};

// A member of the records of a section. value returns null if it is unknown.
template <typename T>
struct Column {
    const char* key;
    const char* heading;
    Json (*value)(const T&);
    Unit unit = Unit::kNone;
    unsigned traits = kPlain;
};

struct Heading {
    std::string key, heading;
    Unit unit;
    unsigned traits;
};

struct Section {
    std::string key;    // its member of the whole; empty: its members are those of the whole
    std::string title;  // above the section in the text format; may be empty
    bool isList;        // a list of records; else one record
    std::vector<Heading> headings;
    std::vector<std::vector<Json>> rows;
    std::vector<std::string> branches{};  // of a tree: what is drawn before each row
    std::string ifEmpty{};                // what the text format shows for an empty list
};

// How wide the columns of a list were that is printed row by row; empty before the first row.
using Widths = std::vector<size_t>;

struct Report {
    std::vector<Section> sections;
    int status = 0;         // exit status of the command
    std::string drawing{};  // what the text format shows in place of the sections; may be empty

    void print(Format format, std::string& out) const;
    // Prints the first section, a list, as part of a longer one: each row is a line of text or of
    // JSON. The headings stand above the first row.
    void printRows(Format format, Widths& widths, std::string& out) const;
    Json json() const;
    // Changes if and only if something other than kRestless columns changes.
    std::string fingerprint() const;
};

template <typename T, size_t N>
std::vector<Json> rowOf(const Column<T> (&columns)[N], const T& record) {
    std::vector<Json> row;
    for (const auto& column : columns) row.push_back(column.value(record));
    return row;
}

template <typename T, size_t N>
Section sectionOf(std::string key, std::string title, const Column<T> (&columns)[N], bool isList) {
    Section section{std::move(key), std::move(title), isList, {}, {}};
    for (const auto& column : columns) {
        section.headings.push_back({column.key, column.heading, column.unit, column.traits});
    }
    return section;
}

template <typename T, size_t N>
Section listOf(std::string key, std::string title, const Column<T> (&columns)[N],
               const std::vector<T>& records, std::string ifEmpty) {
    Section section = sectionOf(std::move(key), std::move(title), columns, true);
    for (const T& record : records) section.rows.push_back(rowOf(columns, record));
    section.ifEmpty = std::move(ifEmpty);
    return section;
}

template <typename T, size_t N>
Section recordOf(std::string key, std::string title, const Column<T> (&columns)[N],
                 const T& record) {
    Section section = sectionOf(std::move(key), std::move(title), columns, false);
    section.rows.push_back(rowOf(columns, record));
    return section;
}

// Which rows and columns of a list are shown, and in which order.
struct Selection {
    std::vector<std::string> columns{};  // keys; empty: as the view has them
    std::vector<std::string>
        filters{};       // KEY=VALUE, KEY!=VALUE, KEY<VALUE or KEY>VALUE; all must hold
    std::string sort{};  // a key, with - before it for the other order; may be empty
};

// Applies the selection to the first list of the report. Throws Failure if there is no such column.
void select(Report& report, const Selection& selection);

// A value as one line of text.
std::string textOf(const Json& value, Unit unit);
// Appends a line for each leaf of a JSON value: the path with dots in between, with members of
// lists counted from 0, and the value, quoted if it has characters special to the shell.
void printKeyValue(const Json& value, const std::string& path, std::string& out);
