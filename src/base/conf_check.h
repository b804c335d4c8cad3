// Checks of configuration files. The daemon, the platform library and vm1905ctl share them.
#pragma once

#include <charconv>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"

// Called with the number of a line, from 1, and what is wrong there.
using ConfComplaint = std::function<void(int line, const std::string& text)>;

// What the values of a key are.
struct ConfType {
    const char* text;  // for people and the documents, such as "0 or 1"
    bool (*accepts)(std::string_view value);
};

// The whole text as a number of this base.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view text, int base) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

// What to say about a value that its key does not accept.
inline std::string wrongValue(std::string_view key, const ConfType& type, std::string_view value) {
    return std::string(key) + " must be " + type.text + ", not \"" + plainText(value) + "\"";
}

// Makes lines for the log of the first complaints about a file, and in the end of how many more
// there are: a wrong file must not flood the log.
class FewComplaints {
  public:
    FewComplaints(std::string file, std::function<void(const std::string&)> log)
        : file_(std::move(file)), log_(std::move(log)) {}
    ~FewComplaints() {
        if (num_ > kMost) log_(file_ + ": " + std::to_string(num_ - kMost) + " more such lines");
    }
    FewComplaints(const FewComplaints&) = delete;
    FewComplaints& operator=(const FewComplaints&) = delete;

    void operator()(int line, const std::string& text) {
        if (num_++ < kMost) log_(file_ + ": line " + std::to_string(line) + ": " + text);
    }

  private:
    static constexpr int kMost = 8;

    std::string file_;
    std::function<void(const std::string&)> log_;
    int num_ = 0;
};
