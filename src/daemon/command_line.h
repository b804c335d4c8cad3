// The command line of the daemon.
#pragma once

#include <string>

// The values of the options. -1 and "" mean that the option was not given; the other defaults are
// what the platform gets then.
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

// Reads the arguments of main() into out. False for -h or an unknown option; print the usage then.
[[nodiscard]] bool parseCommandLine(int argc, char* const* argv, CommandLine& out);

// Prints the usage to standard output. program is argv[0].
void printUsage(const char* program);
