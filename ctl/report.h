// What a reading command tells, described once and printed three ways: for people, as JSON, and as
// lines of path.to.key=value.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using Json = nlohmann::ordered_json;

enum class Format { kText, kJson, kKeyValue };

// How a person sees the value of a column.
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
    kHidden = 1,    // not for people
    kRestless = 2,  // changes all the time: that is no news
};

// A member of the records of a section. value is null where it is not known.
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
    std::string key;    // its member of the whole; empty: the whole
    std::string title;  // for people, who see it above the section; may be empty
    bool isList;        // of records; else one record
    std::vector<Heading> headings;
    std::vector<std::vector<Json>> rows;
    std::vector<std::string> branches{};  // what is drawn before each row, in a tree
    std::string ifEmpty{};                // what people are told of an empty list
};

struct Report {
    std::vector<Section> sections;
    int status = 0;  // of the command, when it ends

    void print(Format format, std::string& out) const;
    Json json() const;
    // Equal as long as nothing changes that matters.
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
// The lines of a JSON value, one for each leaf: names and members with dots between them, members
// of a list counted from 0. A value that the shell would not take as it stands is quoted.
void printKeyValue(const Json& value, const std::string& path, std::string& out);
