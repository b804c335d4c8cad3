#include "hex.h"

namespace {

int digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

std::optional<std::string> parseHex(std::string_view text) {
    std::string bytes;
    for (size_t i = 0; i < text.size();) {
        if (std::string_view(" :-").find(text[i]) != std::string_view::npos) {
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
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < length; i++) {
        text += kDigits[data[i] >> 4];
        text += kDigits[data[i] & 15];
    }
    return text;
}
