// Text buffers of fixed size, and checks of text that comes from outside.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

// The text up to its first NUL, or all of it.
constexpr std::string_view upToNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

// The text in a field of a record. A text that fills the field has no terminator.
template <size_t N>
constexpr std::string_view fieldText(const char (&field)[N]) {
    return upToNul({field, N});
}

// A NUL-terminated text in a buffer of N bytes. Longer texts are cut.
template <size_t N>
class Text {
  public:
    Text() = default;
    Text(std::string_view text) { assign(text); }
    Text& operator=(std::string_view text) {
        assign(text);
        return *this;
    }

    // Stores the text up to its first NUL, cut to N - 1 bytes. It may be part of this very text.
    void assign(std::string_view text) {
        const size_t n = std::min(upToNul(text).size(), N - 1);
        if (n != 0) std::memmove(buf_.data(), text.data(), n);
        std::fill(buf_.begin() + static_cast<std::ptrdiff_t>(n), buf_.end(), '\0');
    }

    const char* c_str() const { return buf_.data(); }
    std::string_view view() const { return buf_.data(); }
    operator std::string_view() const { return view(); }
    bool empty() const { return buf_[0] == '\0'; }
    static constexpr size_t capacity() { return N; }
    // The buffer, for functions that fill one of this size; call terminate() afterwards.
    char* data() { return buf_.data(); }
    void terminate() { buf_[N - 1] = '\0'; }

    friend bool operator==(const Text& a, const Text& b) { return a.view() == b.view(); }
    friend bool operator==(const Text& a, std::string_view b) { return a.view() == b; }

  private:
    std::array<char, N> buf_{};
};

// Cleans a text from another device or process for a table, a log or a JSON file, which is written
// without escaping: takes the text up to its first NUL and drops control characters (C0 and C1),
// marks that change the direction of writing, quotes, backslashes and invalid UTF-8, except for the
// characters to keep. The result is cut to maxBytes, between characters.
[[nodiscard]] std::string plainText(std::string_view text, size_t maxBytes = std::string::npos,
                                    std::string_view keep = {});
// Cleans a line for a log, in case a text in it was not: keeps quotes and backslashes, which may be
// our own, and the line end.
[[nodiscard]] std::string plainLine(std::string_view line);
// The same in the buffer of the line. Returns what is left of it.
std::string_view cleanLine(std::span<char> line);
// Stores the cleaned text, cut to what the field holds. True if the field held another one.
template <size_t N>
bool storePlain(Text<N>& field, std::string_view text) {
    const std::string plain = plainText(text, N - 1);
    if (field == plain) return false;
    field = plain;
    return true;
}

// True if the text is empty or a comma-separated list of JSON strings and unsigned numbers.
[[nodiscard]] bool isJsonItems(std::string_view text);
