#include "mac.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

namespace {

int digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The digits of groups of equal size with one separator between them, which all of them share.
std::optional<std::string> digitsOfGroups(std::string_view text, size_t size, char separator) {
    std::string digits;
    for (size_t i = 0; i < text.size(); i++) {
        if (i % (size + 1) == size) {
            if (text[i] != separator) return {};
        } else {
            digits += text[i];
        }
    }
    return digits;
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
    std::optional<std::string> digits;
    if (text.size() == 12) digits = text;
    if (text.size() == 17) digits = digitsOfGroups(text, 2, text[2]);
    if (text.size() == 14) digits = digitsOfGroups(text, 4, text[4]);
    const bool isSeparated = text.size() == 12 ||
                             (text.size() == 17 && std::strchr(":-.", text[2])) ||
                             (text.size() == 14 && std::strchr(".:-", text[4]));
    if (!digits || !isSeparated || digits->size() != 12) return {};
    Mac mac;
    for (size_t i = 0; i < 6; i++) {
        const int high = digit((*digits)[2 * i]), low = digit((*digits)[2 * i + 1]);
        if (high < 0 || low < 0) return {};
        mac.b[i] = static_cast<uint8_t>(high << 4 | low);
    }
    return mac;
}

std::optional<std::string> parseHex(std::string_view text) {
    std::string bytes;
    for (size_t i = 0; i < text.size();) {
        if (std::strchr(" :-", text[i]) != nullptr) {
            i++;
            continue;
        }
        const int high = digit(text[i]), low = i + 1 < text.size() ? digit(text[i + 1]) : -1;
        if (high < 0 || low < 0) return {};
        bytes += static_cast<char>(high << 4 | low);
        i += 2;
    }
    return bytes;
}

std::string hexOf(const uint8_t* data, size_t length) {
    std::string text;
    for (size_t i = 0; i < length; i++) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02x", data[i]);
        text += pair;
    }
    return text;
}
