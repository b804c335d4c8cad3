#include "common/programs.h"

#include <arpa/inet.h>

#include <algorithm>

#include "common/text.h"

namespace {

// The kernel passes no longer argument to a program.
constexpr size_t kMostArgument = size_t{128} * 1024 - 1;
constexpr size_t kMostArguments = 300;

bool isNumber(std::string_view text) {
    if (text.starts_with('-')) text.remove_prefix(1);
    return !text.empty() && text.size() <= 19 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isHex(std::string_view text) {
    return text.size() % 2 == 0 && text.find_first_not_of("0123456789abcdef") == text.npos;
}

bool isIpv4(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

bool isOfKind(char kind, const std::string& text, bool strict) {
    if (text.size() > kMostArgument || text.find('\0') != text.npos) return false;
    switch (kind) {
        case 'm':
            return text.size() == 17 && macFromText(text);
        case 'n':
            return isNumber(text);
        case 'x':
            return isHex(text);
        case 'f':
            return text.empty() || isPlainName(text);
        case 'a':
            return isIpv4(text);
        case 'w':
            return !text.starts_with('-');
        case 'p':
            return !strict;
        default:
            return kind == 't';
    }
}

}  // namespace

std::optional<uint8_t> programNumber(std::string_view name) {
    const auto table = programs();
    const auto found = std::ranges::find(table, name, &Program::name);
    if (found == table.end()) return std::nullopt;
    return static_cast<uint8_t>(found - table.begin());
}

bool fits(const Program& program, const Arguments& args, bool strict) {
    std::string_view kinds = program.kinds;
    const bool repeats = kinds.ends_with('*');
    if (repeats) kinds.remove_suffix(1);
    if (args.size() > kMostArguments || args.size() < kinds.size() - (repeats ? 1 : 0) ||
        (!repeats && args.size() > kinds.size())) {
        return false;
    }
    for (size_t i = 0; i < args.size(); i++) {
        if (!isOfKind(kinds[std::min(i, kinds.size() - 1)], args[i], strict)) return false;
    }
    return true;
}
