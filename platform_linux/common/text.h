// Small conversions between bytes, MAC addresses, C buffers and text.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/mac_addr.h"
#include "base/text.h"

// "aa:bb:cc:dd:ee:ff" of 6 bytes; all zero for a null address.
std::string macText(const uint8_t* mac);
// The address in such a text ('-' may separate, too); none for anything else.
std::optional<MacAddr> macFromText(std::string_view text);

// Two lower-case digits per byte.
std::string hexText(std::span<const uint8_t> bytes);
// The bytes in such a text, with white space ignored; none if it holds anything else.
std::optional<std::vector<uint8_t>> parseHex(std::string_view text);

// The number in a text, decimal or 0x..., without anything around it.
std::optional<uint32_t> parseNumber(std::string_view text);

// Without white space at both ends.
std::string_view trim(std::string_view text);
// Removes the first line from a text and returns it trimmed.
std::string_view takeLine(std::string_view& text);
// The n-th line (from 0), trimmed; empty if there are fewer.
std::string_view lineOf(std::string_view text, size_t n);

// "KEY = value", both trimmed; none for a line without '='.
struct KeyValue {
    std::string_view key, value;
};
std::optional<KeyValue> parseKeyValue(std::string_view line);
// The value without the quotes around it, or without the comment after a blank and '#'.
std::string_view unquoted(std::string_view value);

// Calls take(word) for each word; blanks, commas and semicolons separate them.
template <typename Take>
void forEachWord(std::string_view text, Take take) {
    constexpr std::string_view kSeparators = " \t,;";
    for (;;) {
        const size_t first = text.find_first_not_of(kSeparators);
        if (first == text.npos) return;
        text.remove_prefix(first);
        const size_t end = text.find_first_of(kSeparators);
        take(text.substr(0, end));
        if (end == text.npos) return;
        text.remove_prefix(end);
    }
}
// Whether one of the patterns (words with * and ?) matches the name.
bool matchesAny(std::string_view patterns, const std::string& name);

// Whether it is a letter, a digit or one of . _ + -
bool isNameChar(char c);
// Whether the name is safe as a file name, in a URL and as an argument: 1 to 200 such characters,
// the first neither . nor -.
bool isPlainName(std::string_view name);

// Copies a text into a buffer, cut to its size, terminated and padded with NULs.
void copyText(char* buffer, size_t size, std::string_view text);
template <size_t N>
void copyText(char (&field)[N], std::string_view text) {
    copyText(field, N, text);
}
// The answer of a platform function that fills a text; kFailure if the caller gave no buffer.
int answerText(char* buffer, size_t size, std::string_view text);

// The text, "" for a null pointer.
inline const char* orEmpty(const char* text) {
    return text != nullptr ? text : "";
}
