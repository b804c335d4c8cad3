// What is wrong in the configuration files.
#pragma once

#include <string>
#include <vector>

struct ConfigTrouble {
    std::string file;
    int line;  // 0: the whole file
    std::string text;
    bool isForbidden = false;  // this user may not read the file

    std::string all() const;  // "file:line: text"
};

// Of these files, with names like vm1905*.conf*, platform* and wifi*; if none is given, of the
// files of this device. Throws Failure for other names.
std::vector<ConfigTrouble> checkConfig(const std::vector<std::string>& files);
