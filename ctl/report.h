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
    kDecibel,
};

enum Traits : unsigned {
    kPlain = 0,
    kHidden = 1,    // not in the text format
    kRestless = 2,  // changes all the time, so watch does not show it as a change
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

struct Report {
    std::vector<Section> sections;
    int status = 0;  // exit status of the command

    void print(Format format, std::string& out) const;
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

// A value as one line of text.
std::string textOf(const Json& value, Unit unit);
// Appends a line for each leaf of a JSON value: the path with dots in between, with members of
// lists counted from 0, and the value, quoted if it has characters special to the shell.
void printKeyValue(const Json& value, const std::string& path, std::string& out);
