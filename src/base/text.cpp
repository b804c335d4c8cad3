#include "base/text.h"

namespace {

// The length in bytes of the UTF-8 character at the start of text (not empty), 0 if it is invalid.
size_t utf8Length(std::string_view text) {
    const auto at = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const size_t length = at(0) < 0x80   ? 1
                          : at(0) < 0xC2 ? 0
                          : at(0) < 0xE0 ? 2
                          : at(0) < 0xF0 ? 3
                          : at(0) < 0xF5 ? 4
                                         : 0;
    if (length > text.size()) return 0;
    for (size_t i = 1; i < length; i++) {
        if ((at(i) & 0xC0) != 0x80) return 0;
    }
    // Overlong forms, surrogates, and code points above U+10FFFF.
    const bool invalid = (at(0) == 0xE0 && at(1) < 0xA0) || (at(0) == 0xED && at(1) >= 0xA0) ||
                         (at(0) == 0xF0 && at(1) < 0x90) || (at(0) == 0xF4 && at(1) >= 0x90);
    return invalid ? 0 : length;
}

// The number of characters at the start that need no check.
size_t harmlessRun(std::string_view text) {
    const auto isHarmless = [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; };
    return static_cast<size_t>(std::ranges::find_if_not(text, isHarmless) - text.begin());
}

// Whether this character, of valid UTF-8, may be in a log or a JSON file.
bool isPlain(std::string_view character) {
    const auto at = [&](size_t i) { return static_cast<uint8_t>(character[i]); };
    if (character.size() == 1) {
        return at(0) >= 0x20 && at(0) != 0x7F && at(0) != '"' && at(0) != '\\';
    }
    if (at(0) == 0xC2) return at(1) >= 0xA0;                // C1 control characters
    if (at(0) == 0xD8) return at(1) != 0x9C;                // U+061C
    if (at(0) != 0xE2) return true;                         // the other marks are U+20xx
    const int code = (at(1) & 0x3F) << 6 | (at(2) & 0x3F);  // the low 12 bits
    const bool isMark = code == 0x00E || code == 0x00F || (code >= 0x02A && code <= 0x02E) ||
                        (code >= 0x066 && code <= 0x069);
    return !isMark;
}

// The length of the JSON string or number at the start, 0 if there is none.
size_t jsonItemLength(std::string_view text) {
    if (text.empty()) return 0;
    if (text[0] != '"') {
        const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
        return digits > 1 && text[0] == '0' ? 0 : digits;
    }
    const size_t end = text.find('"', 1);
    if (end == text.npos) return 0;
    const std::string_view content = text.substr(1, end - 1);
    return plainText(content) == content ? end + 1 : 0;
}

// Calls take(part) for all parts of the cleaned text, at most room bytes.
template <typename Take>
void clean(std::string_view text, size_t room, std::string_view keep, Take&& take) {
    while (!text.empty() && text[0] != '\0') {
        if (const size_t run = std::min(harmlessRun(text), room); run > 0) {
            take(text.substr(0, run));
            text.remove_prefix(run);
            room -= run;
            continue;
        }
        const size_t length = utf8Length(text);
        if (length > room) break;
        const std::string_view character = text.substr(0, length);
        if (length > 0 && (isPlain(character) || keep.find(character) != keep.npos)) {
            take(character);
            room -= length;
        }
        text.remove_prefix(std::max<size_t>(length, 1));
    }
}

}  // namespace

std::string plainText(std::string_view text, size_t maxBytes, std::string_view keep) {
    std::string plain;
    clean(text, maxBytes, keep, [&](std::string_view part) { plain += part; });
    return plain;
}

std::string_view cleanLine(std::span<char> line) {
    const std::string_view text(line.data(), line.size());
    const size_t end = text.find_last_not_of("\r\n") + 1;
    size_t length = 0;
    // Never longer than what has been read.
    const auto take = [&](std::string_view part) {
        std::memmove(&line[length], part.data(), part.size());
        length += part.size();
    };
    clean(text.substr(0, end), end, "\"\\", take);
    if (end < line.size()) take(text.substr(end));
    return text.substr(0, length);
}

std::string plainLine(std::string_view line) {
    std::string text(line);
    text.resize(cleanLine(text).size());
    return text;
}

bool isJsonItems(std::string_view text) {
    if (text.empty()) return true;
    for (;;) {
        const size_t length = jsonItemLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
        if (text.empty()) return true;
        if (text[0] != ',') return false;
        text.remove_prefix(1);
        while (!text.empty() && text[0] == ' ') text.remove_prefix(1);
    }
}
