// platform.conf: what the owner of the device decides about the platform library.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/conf_check.h"

struct PlatformKey {
    std::string_view name;  // if it ends with '.', the name of an interface follows
    ConfType type;
};

// All keys.
std::span<const PlatformKey> platformKeys();

class Conf {
  public:
    // Takes "KEY = value" lines; of equal keys the last one counts. '#' starts a comment at the
    // start of a line or after a blank; a value in double quotes is taken literally. Any bytes are
    // safe: other lines and unknown keys are named and skipped, wrong values named and kept.
    void parse(std::string_view text, const ConfComplaint& complain);

    // The value, empty if the key is absent.
    std::string_view value(std::string_view key) const;
    bool has(std::string_view key) const;
    // Whether one of the patterns in the value (words with * and ?) matches the name.
    bool matches(std::string_view key, const std::string& name) const;

  private:
    std::vector<std::pair<std::string, std::string>> entries_;
};

// The configuration of this device: /etc/vm1905/platform.conf, or the file named by the environment
// variable VM1905_PLATFORM_CONF. Read on first use, silently, and by reloadConf().
const Conf& conf();
// False if there is a file that cannot be opened; the log says why.
bool reloadConf();
