#include "terminal.h"

#include <langinfo.h>
#include <strings.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace {

constexpr unsigned kPatience = 400;  // milliseconds before anything is shown

struct Character {
    uint32_t code = 0;
    size_t bytes = 0;  // 0: not UTF-8
};

Character decode(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t first = byte(0);
    if (first < 0x80) return {first, 1};
    const size_t bytes = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < bytes) return {};
    uint32_t code = first & (0xffU >> (bytes + 1));
    for (size_t i = 1; i < bytes; i++) {
        if ((byte(i) & 0xc0) != 0x80) return {};
        code = code << 6 | (byte(i) & 0x3fU);
    }
    constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
    if (code < kSmallest[bytes] || code > 0x10ffff || isSurrogate) return {};
    return {code, bytes};
}

// Control characters, invisible marks and changes of writing direction.
bool isHarmful(uint32_t code) {
    constexpr struct {
        uint32_t first, last;
    } kRanges[] = {{0, 0x1f},        {0x7f, 0x9f},     {0xad, 0xad},     {0x61c, 0x61c},
                   {0x180e, 0x180e}, {0x200b, 0x200f}, {0x2028, 0x202e}, {0x2060, 0x206f},
                   {0xe000, 0xf8ff}, {0xfeff, 0xfeff}, {0xfff0, 0xffff}, {0xe0000, 0x10ffff}};
    return std::ranges::any_of(
        kRanges, [&](const auto& range) { return code >= range.first && code <= range.last; });
}

std::string formatted(const char* format, unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

}  // namespace

std::string escaped(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const Character next = decode(text);
        const size_t bytes = std::max<size_t>(next.bytes, 1);
        if (next.bytes == 0) {
            out += formatted("\\x%02x", static_cast<uint8_t>(text[0]));
        } else if (isHarmful(next.code)) {
            out += formatted(next.code < 0x80 ? "\\x%02x" : "\\u{%x}", next.code);
        } else if (next.code == '\\') {
            out += "\\\\";
        } else {
            out += text.substr(0, bytes);
        }
        text.remove_prefix(bytes);
    }
    return out;
}

size_t width(std::string_view text) {
    return static_cast<size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<uint8_t>(c) & 0xc0) != 0x80; }));
}

bool hasUnicode() {
    return std::string_view(nl_langinfo(CODESET)) == "UTF-8";
}

std::string cutTo(std::string_view text, size_t rows, size_t columns) {
    std::string out;
    size_t column = 0;
    for (size_t i = 0; i < text.size(); i++) {
        const char c = text[i];
        if (c == '\x1b') {
            // A color takes no column. It is kept past the cut, where it may switch a color off.
            const size_t end = std::min(text.find('m', i), text.size() - 1);
            out += text.substr(i, end - i + 1);
            i = end;
        } else if (c == '\n') {
            // A line break on the last row would scroll the terminal.
            if (--rows == 0) break;
            out += c;
            column = 0;
        } else {
            if ((static_cast<uint8_t>(c) & 0xc0) != 0x80) column++;
            if (column <= columns) out += c;
        }
    }
    return out;
}

std::string cutToTerminal(std::string_view text) {
    winsize size{};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0;
    return isKnown && size.ws_col > 0 ? cutTo(text, size.ws_row, size.ws_col) : std::string(text);
}

size_t terminalColumns() {
    winsize size{};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : 80;
}

bool isTerminal(int stream) {
    return isatty(stream) == 1;
}

std::string colored(Color color, std::string_view text, int stream) {
    const char* const refused = std::getenv("NO_COLOR");
    if (text.empty() || !isTerminal(stream) || (refused != nullptr && *refused != '\0')) {
        return std::string(text);
    }
    const char* const code = color == Color::kHeading ? "1" : color == Color::kFaint ? "2" : "31";
    return std::string("\x1b[") + code + "m" + std::string(text) + "\x1b[0m";
}

void Progress::begin(std::string what) {
    end();
    what_ = std::move(what);
}

void Progress::show(unsigned milliseconds) {
    if (milliseconds < kPatience || what_.empty() || !isTerminal(STDERR_FILENO)) return;
    std::fprintf(stderr, "\rwaiting for %s, %u.%u s ", escaped(what_).c_str(), milliseconds / 1000,
                 milliseconds / 100 % 10);
    std::fflush(stderr);
    shown_ = true;
}

void Progress::end() {
    if (shown_) std::fputs("\r\x1b[K", stderr);
    shown_ = false;
    what_.clear();
}

bool isConfirmed(const std::string& question) {
    std::fprintf(stderr, "%s [y/N] ", escaped(question).c_str());
    std::string answer;
    std::getline(std::cin, answer);
    return strcasecmp(answer.c_str(), "y") == 0 || strcasecmp(answer.c_str(), "yes") == 0;
}
