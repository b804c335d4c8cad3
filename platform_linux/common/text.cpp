#include "common/text.h"

#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <cstring>

#include "base/result.h"

std::string macText(const uint8_t* mac) {
    return macText(mac != nullptr ? MacAddr(mac) : MacAddr{});
}

std::optional<MacAddr> macFromText(std::string_view text) {
    if (text.size() != 17) return std::nullopt;
    MacAddr mac;
    for (size_t i = 0; i < mac.b.size(); i++) {
        const char* digits = text.data() + 3 * i;
        if (i > 0 && digits[-1] != ':' && digits[-1] != '-') return std::nullopt;
        if (std::from_chars(digits, digits + 2, mac.b[i], 16).ptr != digits + 2) {
            return std::nullopt;
        }
    }
    return mac;
}

std::string hexText(std::span<const uint8_t> bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::optional<std::vector<uint8_t>> parseHex(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        if (strchr(" \t\r\n", c) == nullptr) digits += c;
    }
    if (digits.size() % 2 != 0) return std::nullopt;
    std::vector<uint8_t> bytes(digits.size() / 2);
    for (size_t i = 0; i < bytes.size(); i++) {
        const char* pair = digits.data() + 2 * i;
        if (std::from_chars(pair, pair + 2, bytes[i], 16).ptr != pair + 2) return std::nullopt;
    }
    return bytes;
}

std::optional<uint32_t> parseNumber(std::string_view text) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    if (hex) text.remove_prefix(2);
    const char* end = text.data() + text.size();
    uint32_t value = 0;
    const auto [ptr, error] = std::from_chars(text.data(), end, value, hex ? 16 : 10);
    if (error != std::errc{} || ptr != end) return std::nullopt;
    return value;
}

std::string_view trim(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view takeLine(std::string_view& text) {
    const size_t end = text.find('\n');
    const std::string_view line = trim(text.substr(0, end));
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
    return line;
}

std::string_view lineOf(std::string_view text, size_t n) {
    while (n-- > 0) takeLine(text);
    return takeLine(text);
}

std::optional<KeyValue> parseKeyValue(std::string_view line) {
    const size_t equals = line.find('=');
    if (equals == line.npos) return std::nullopt;
    return KeyValue{trim(line.substr(0, equals)), trim(line.substr(equals + 1))};
}

std::string_view unquoted(std::string_view text) {
    if (text.starts_with('"')) {
        const size_t end = text.find('"', 1);
        if (end != text.npos) return text.substr(1, end - 1);
    }
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] == '#' && (i == 0 || text[i - 1] == ' ' || text[i - 1] == '\t')) {
            return trim(text.substr(0, i));
        }
    }
    return text;
}

bool matchesAny(std::string_view patterns, const std::string& name) {
    bool found = false;
    forEachWord(patterns, [&](std::string_view word) {
        found = found || fnmatch(std::string(word).c_str(), name.c_str(), 0) == 0;
    });
    return found;
}

bool isNameChar(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.' || c == '+';
}

bool isPlainName(std::string_view name) {
    return !name.empty() && name.size() <= 200 && name[0] != '.' && name[0] != '-' &&
           std::all_of(name.begin(), name.end(), isNameChar);
}

void copyText(char* buffer, size_t size, std::string_view text) {
    if (buffer == nullptr || size == 0) return;
    const size_t n = std::min(text.size(), size - 1);
    if (n > 0) memcpy(buffer, text.data(), n);
    memset(buffer + n, 0, size - n);
}

int answerText(char* buffer, size_t size, std::string_view text) {
    if (buffer == nullptr) return kFailure;
    copyText(buffer, size, text);
    return kOk;
}
