#include "argument.h"

#include <strings.h>

#include <algorithm>
#include <charconv>

#include "failure.h"
#include "hex.h"

namespace {

CLI::Option* take(CLI::Option* option, std::function<void(std::string&)> convert) {
    return option->transform(CLI::Validator(
        [convert = std::move(convert)](std::string& text) {
            convert(text);
            return std::string();
        },
        ""));
}

std::string given(const std::string& text) {
    return text.empty() ? "an empty text" : text;
}

Words::const_iterator find(const Words& words, const std::string& text) {
    return std::ranges::find_if(
        words, [&](const auto& word) { return strcasecmp(word.first.c_str(), text.c_str()) == 0; });
}

std::string listOf(const Words& words) {
    std::string list;
    for (const auto& [word, number] : words) list += (list.empty() ? "" : ", ") + word;
    return list;
}

std::string shown(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", number);
    return text;
}

}  // namespace

int64_t numberArgument(const std::string& text, int64_t min, int64_t max, const std::string& what,
                       const std::string& advice) {
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    const char* const begin = text.data() + (isHex ? 2 : 0);
    const char* const end = text.data() + text.size();
    int64_t value = 0;
    const auto [rest, error] = std::from_chars(begin, end, value, isHex ? 16 : 10);
    const bool isNumber = error == std::errc{} && rest == end && !(isHex && *begin == '-');
    if (isNumber && value >= min && value <= max) return value;
    throw Failure{kUsage,
                  what + ": " + given(text) + " is not a number from " + std::to_string(min) +
                      " to " + std::to_string(max),
                  advice};
}

int wordArgument(const std::string& text, const Words& words, const std::string& what) {
    const auto found = find(words, text);
    if (found != words.end()) return found->second;
    throw Failure{kUsage, what + ": " + given(text) + " is not one of " + listOf(words)};
}

int wordOrNumber(const std::string& text, const Words& words, int64_t min, int64_t max,
                 const std::string& what) {
    const auto found = find(words, text);
    if (found != words.end()) return found->second;
    try {
        return static_cast<int>(numberArgument(text, min, max, what));
    } catch (const Failure& failure) {
        throw Failure{kUsage, failure.text, "or one of " + listOf(words)};
    }
}

const std::string& textArgument(const std::string& text, size_t max, const std::string& what) {
    if (text.size() <= max) return text;
    throw Failure{kUsage, what + ": " + std::to_string(text.size()) + " bytes; the limit is " +
                              std::to_string(max)};
}

Mac macArgument(const std::string& text, const std::string& what) {
    if (const auto mac = parseMac(text)) return *mac;
    throw Failure{kUsage, given(text) + " is not a MAC address",
                  what + ": for example 02:00:5e:10:00:01"};
}

std::string hexArgument(const std::string& text, size_t max, const std::string& what) {
    if (auto bytes = parseHex(text)) return textArgument(*bytes, max, what);
    throw Failure{kUsage, what + ": " + given(text) + " is not pairs of hexadecimal digits"};
}

CLI::Option* takeNumber(CLI::Option* option, int64_t min, int64_t max) {
    return take(option, [=, what = option->get_name()](std::string& text) {
        text = std::to_string(numberArgument(text, min, max, what));
    });
}

CLI::Option* takeSeconds(CLI::Option* option, double min, double max) {
    return take(option, [=, what = option->get_name()](std::string& text) {
        char* end = nullptr;
        const double value = std::strtod(text.c_str(), &end);
        // Also false for NaN.
        const bool isBetween = value >= min && value <= max;
        if (!text.empty() && *end == '\0' && isBetween) return;
        throw Failure{kUsage, what + ": " + given(text) + " is not a number of seconds from " +
                                  shown(min) + " to " + shown(max)};
    });
}

CLI::Option* takeWord(CLI::Option* option, const Words& words) {
    return take(option, [words, what = option->get_name()](std::string& text) {
        text = std::to_string(wordArgument(text, words, what));
    });
}

std::string wordFor(const Words& words, int number) {
    const auto found = std::ranges::find(words, number, &Words::value_type::second);
    return found == words.end() ? std::to_string(number) : found->first;
}
