// platform.conf: what the owner of the device decides about the platform library.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "api.h"

namespace plat {

class PLAT_API Conf {
  public:
    // Takes "KEY = value" lines; the last of equal keys counts. A comment starts with '#' at the
    // start of a line or after a blank; a value in double quotes is taken as it stands. Any bytes
    // are safe: what is no such line is left out.
    void parse(std::string_view text);

    // The value, empty when the key is absent.
    std::string_view value(std::string_view key) const;
    bool has(std::string_view key) const;
    // Whether one of the blank- or comma-separated patterns (* and ?) of the value matches.
    bool matches(std::string_view key, const char* name) const;

  private:
    std::vector<std::pair<std::string, std::string>> entries_;
};

// The configuration of this device: /etc/vm1905/platform.conf, or the file named by the environment
// variable VM1905_PLATFORM_CONF. Read on first use and by reloadConf().
PLAT_API const Conf& conf();
PLAT_API void reloadConf();

// Calls take(word) for each blank- or comma-separated word.
template <class Take>
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

}  // namespace plat
