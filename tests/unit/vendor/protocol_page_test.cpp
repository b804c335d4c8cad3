// The page about the vendor protocol and the dissector for it tell what the daemon does: their
// tables are made anew from the daemon's and compared.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "layout_printer.h"
#include "vendor/catalogue.h"
#include "vendor/conf_items.h"

namespace {

namespace fs = std::filesystem;
using Sections = std::map<std::string, std::string>;

std::string typeTable() {
    std::ostringstream out;
    out << "| number | label | meaning | layout |\n|---|---|---|---|\n";
    for (const auto& type : vendTypes()) {
        const std::string label = type.label != nullptr ? type.label : "";
        out << "| " << type.vendMsgType << " | " << (label.empty() ? "" : "`" + label + "`")
            << " | " << type.meaning << " | `" << type.layout << "` |\n";
    }
    return out.str();
}

// Adds up widths for as long as they are numbers.
class Offset {
  public:
    std::string text() const { return known_ ? std::to_string(at_) : ""; }
    void pass(const std::string& width) {
        known_ = known_ && width.find_first_not_of("0123456789") == std::string::npos;
        if (known_) at_ += std::stoul(width);
    }
    void lose() { known_ = false; }

  private:
    size_t at_ = 0;
    bool known_ = true;
};

std::string fieldTable(const std::vector<LayoutRow>& rows) {
    std::ostringstream table, remarks;
    table << "| offset | bytes | field | |\n|---|---|---|---|\n";
    Offset offset;
    for (const auto& row : rows) {
        if (row.name.empty()) {
            remarks << "\nThe " << row.note << ".\n";
            continue;
        }
        const bool isEach = row.name.starts_with("each: ");
        if (isEach) offset.lose();
        table << "| " << offset.text() << " | " << row.width << " | " << (isEach ? "each " : "")
              << "`" << row.name.substr(isEach ? 6 : 0) << "` | " << row.note << " |\n";
        if (!isEach) offset.pass(row.width);
    }
    return table.str() + remarks.str();
}

std::string layoutTables() {
    std::vector<std::pair<std::string, std::string>> users;  // layout -> types, by first type
    std::map<std::string, std::string> tables;
    for (const auto& type : vendTypes()) {
        const auto at = std::find_if(users.begin(), users.end(),
                                     [&](const auto& user) { return user.first == type.layout; });
        if (at != users.end()) {
            at->second += ", " + std::to_string(type.vendMsgType);
            continue;
        }
        users.emplace_back(type.layout, std::to_string(type.vendMsgType));
        const auto rows = printLayout(type.layout);
        EXPECT_FALSE(rows.empty()) << type.layout;
        tables[type.layout] = fieldTable(rows);
    }
    std::string text;
    for (const auto& [layout, types] : users) {
        text += "\n### " + layout + "\n\nTypes: " + types + "\n\n" + tables[layout];
    }
    return text + "\n";
}

std::string itemTable() {
    std::ostringstream out;
    out << "| item | bytes | member |\n|---|---|---|\n";
    for (const auto& item : confItems()) {
        out << "| " << static_cast<int>(item.type) << " | " << item.width << " | `" << item.name
            << "` |\n";
    }
    return out.str();
}

std::string dissectorTypes() {
    std::ostringstream out;
    for (const auto& type : vendTypes()) {
        out << "    [" << type.vendMsgType << "] = {";
        if (type.label != nullptr) {
            out << '"' << type.label << '"';
        } else {
            out << "nil";
        }
        out << ", \"" << type.layout << "\"},\n";
    }
    return out.str();
}

std::string dissectorItems() {
    std::ostringstream out;
    for (const auto& item : confItems()) {
        out << "    [" << static_cast<int>(item.type) << "] = \"" << item.name << "\",\n";
    }
    return out.str();
}

// The text with its sections made anew. A section stands between a line with "begin NAME" and one
// with "end NAME"; without them the text stays as it is and the section is named in missing.
std::string renew(const std::string& text, const Sections& sections, std::string& missing) {
    std::string renewed = text;
    for (const auto& [name, content] : sections) {
        const size_t head = renewed.find("begin " + name);
        const size_t begin = head == std::string::npos ? head : renewed.find('\n', head) + 1;
        const size_t foot = renewed.find("end " + name, begin);
        if (head == std::string::npos || foot == std::string::npos) {
            missing += " " + name;
            continue;
        }
        const size_t end = renewed.rfind('\n', foot) + 1;
        renewed.replace(begin, end - begin, content);
    }
    return renewed;
}

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void compare(const char* name, const Sections& sections) {
    const fs::path path = fs::path(VM1905_DOCS) / name;
    const std::string text = readFile(path);
    std::string missing;
    const std::string expected = renew(text, sections, missing);
    ASSERT_EQ(missing, "") << "sections missing in " << path;
    if (text == expected) return;
    const fs::path written = fs::read_symlink("/proc/self/exe").replace_filename(path.filename());
    std::ofstream(written, std::ios::binary) << expected;
    FAIL() << path << " is not up to date; as it should be it stands in " << written;
}

TEST(ProtocolPage, TheTablesAreThoseOfTheDaemon) {
    compare("vendor-protocol.md",
            {{"types", typeTable()}, {"layouts", layoutTables()}, {"items", itemTable()}});
}

TEST(ProtocolPage, TheDissectorHasTheSameTypesAndItems) {
    compare("wireshark/vm1905.lua", {{"types", dissectorTypes()}, {"items", dissectorItems()}});
}

}  // namespace
