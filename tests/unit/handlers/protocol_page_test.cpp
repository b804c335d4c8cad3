// The tables of types and items in the vendor-protocol page and in the dissector must be those of
// the daemon.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "handlers/conf_items.h"
#include "handlers/vend_dispatch.h"
#include "wire/vend_catalogue.h"

namespace {

// The lines between the one with "begin NAME" and the one with "end NAME".
std::string section(const std::string& file, const std::string& name) {
    std::ifstream in(VM1905_DOCS "/" + file);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    const size_t begin = text.find('\n', text.find("begin " + name)) + 1;
    return text.substr(begin, text.rfind('\n', text.find("end " + name)) + 1 - begin);
}

TEST(ProtocolPage, PageAndDissectorHaveTheTypesAndItemsOfTheDaemon) {
    const std::string layouts = section("vendor-protocol.md", "layouts");
    std::string page = "| number | label | meaning | layout |\n|---|---|---|---|\n", dissector;
    for (const auto& type : kVendTypes) {
        const std::string number = std::to_string(type.number), layout = type.layout;
        const VendHandler* handler = findVendHandler(type.number);
        const std::string label = handler != nullptr ? handler->label : "";
        page += "| " + number + " | " + (label.empty() ? "" : "`" + label + "`") + " | " +
                type.meaning + " | `" + layout + "` |\n";
        dissector += "    [" + number + "] = {" + (label.empty() ? "nil" : '"' + label + '"') +
                     ", \"" + layout + "\"},\n";
        EXPECT_NE(layouts.find("\n### " + layout + "\n"), std::string::npos) << layout;
    }
    EXPECT_EQ(section("vendor-protocol.md", "types"), page);
    EXPECT_EQ(section("wireshark/vm1905.lua", "types"), dissector);

    page = "| item | bytes | member |\n|---|---|---|\n";
    dissector.clear();
    for (const auto& item : confItems()) {
        const std::string number = std::to_string(item.type), name = item.name;
        page += "| " + number + " | " + item.width + " | `" + name + "` |\n";
        dissector += "    [" + number + "] = \"" + name + "\",\n";
    }
    EXPECT_EQ(section("vendor-protocol.md", "items"), page);
    EXPECT_EQ(section("wireshark/vm1905.lua", "items"), dissector);
}

}  // namespace
