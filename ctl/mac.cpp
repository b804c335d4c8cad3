#include "mac.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "hex.h"

namespace {

constexpr size_t kDigits = 12;

// The text without the separators between groups of this size; empty if they are not all the same.
std::string withoutSeparators(std::string_view text, size_t size) {
    const char separator = text[size];
    if (std::string_view(":-.").find(separator) == std::string_view::npos) return {};
    std::string digits;
    for (size_t i = 0; i < text.size(); i++) {
        if (i % (size + 1) != size) {
            digits += text[i];
        } else if (text[i] != separator) {
            return {};
        }
    }
    return digits;
}

bool isDigits(const std::string& text) {
    return text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

}  // namespace

Mac::Mac(const vm1905_mac& mac) {
    std::memcpy(b.data(), mac.b, b.size());
}

Mac::operator vm1905_mac() const {
    vm1905_mac mac;
    std::memcpy(mac.b, b.data(), b.size());
    return mac;
}

std::string Mac::text() const {
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", b[0], b[1], b[2], b[3], b[4],
                  b[5]);
    return text;
}

std::optional<Mac> parseMac(std::string_view text) {
    std::string digits(text);
    if (text.size() == 17) digits = withoutSeparators(text, 2);
    if (text.size() == 14) digits = withoutSeparators(text, 4);
    if (digits.size() != kDigits || !isDigits(digits)) return {};
    Mac mac;
    std::ranges::copy(*parseHex(digits), mac.b.begin());
    return mac;
}
