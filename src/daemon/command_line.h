// The command line of the daemon.
#pragma once

#include <string>

// Values as given; the defaults mean "not given" or are what the platform gets then.
struct CommandLine {
    std::string confFolder = "/etc/vm1905";  // -c
    int debugLevel = -1;                     // -d
    int topolCap = -1;                       // -t
    int reboot = -1;                         // -r
    int powerCtrl = -1;                      // -p
    int enableLog = -1;                      // -l
    std::string modelName;                   // -m
    int deviceType = 0;                      // -x
    int sendSearch = 0;                      // -y
    int sendResponse = 0;                    // -z
    int wifiReload = 0;                      // -w
    int approve = 0;                         // -a
};

// Reads the arguments. False when the usage is to be printed instead: -h or an unknown option.
[[nodiscard]] bool parseCommandLine(int argc, char* const* argv, CommandLine& out);

void printUsage(const char* program);
