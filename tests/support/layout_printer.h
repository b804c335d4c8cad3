// The layouts of the vendor payloads as tables for people, from the descriptions by which the
// daemon writes and reads them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/mac_addr.h"

// The rows of a layout's table; none for an unknown layout.
struct LayoutRow {
    std::string name, width, note;
};
std::vector<LayoutRow> printLayout(std::string_view layout);
