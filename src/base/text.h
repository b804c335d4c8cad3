// A text buffer of fixed capacity, NUL-terminated; what does not fit is cut.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

// Text up to its first NUL, if there is one.
constexpr std::string_view upToNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

// The text in a field of a record, which it may fill whole.
template <size_t N>
constexpr std::string_view fieldText(const char (&field)[N]) {
    return upToNul({field, N});
}

template <size_t N>  // N bytes, the terminator included
class Text {
  public:
    Text() = default;
    Text(std::string_view text) { assign(text); }
    Text& operator=(std::string_view text) {
        assign(text);
        return *this;
    }

    // Takes the text up to its first NUL, cut to the capacity. The text may be part of this one.
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
    // For functions that fill a buffer of this size; follow with terminate().
    char* data() { return buf_.data(); }
    void terminate() { buf_[N - 1] = '\0'; }

    friend bool operator==(const Text& a, const Text& b) { return a.view() == b.view(); }
    friend bool operator==(const Text& a, std::string_view b) { return a.view() == b; }

  private:
    std::array<char, N> buf_{};
};

// Text of another device or of the platform, fit to stand between quotes in the data model, which
// writes texts as they are stored: up to its first NUL, without control characters, quotes,
// backslashes and what is no UTF-8.
// Of a longer text the first maxBytes at most, in whole characters.
[[nodiscard]] std::string plainText(std::string_view text, size_t maxBytes = std::string::npos);
template <size_t N>
void storePlain(Text<N>& field, std::string_view text) {
    field = plainText(text, N - 1);
}

// True for a comma-separated list of JSON strings and numbers, also for an empty one.
[[nodiscard]] bool isJsonItems(std::string_view text);
