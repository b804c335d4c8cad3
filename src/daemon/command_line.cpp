#include "daemon/command_line.h"

#include <cstdio>
#include <cstdlib>

namespace {

struct NumberOption {
    char letter;
    int CommandLine::*value;
};

constexpr NumberOption kNumberOptions[] = {
    {'d', &CommandLine::debugLevel}, {'t', &CommandLine::topolCap},
    {'r', &CommandLine::reboot},     {'p', &CommandLine::powerCtrl},
    {'l', &CommandLine::enableLog},  {'x', &CommandLine::deviceType},
    {'y', &CommandLine::sendSearch}, {'z', &CommandLine::sendResponse},
    {'w', &CommandLine::wifiReload}, {'a', &CommandLine::approve},
};

// False for an unknown option. value is nullptr when the option is the last argument.
bool takeOption(char letter, const char* value, CommandLine& out) {
    if (letter == 'c' || letter == 'm') {
        if (value != nullptr) (letter == 'c' ? out.confFolder : out.modelName) = value;
        return true;
    }
    for (const auto& option : kNumberOptions) {
        if (option.letter != letter) continue;
        if (value != nullptr) out.*option.value = atoi(value);
        return true;
    }
    return false;
}

}  // namespace

bool parseCommandLine(int argc, char* const* argv, CommandLine& out) {
    // Meant: the scan advances by one, so that a value that looks like an option is one.
    for (int i = 1; i < argc; i++) {
        if (argv[i][0] != '-' || argv[i][1] == '\0') continue;
        if (!takeOption(argv[i][1], i + 1 < argc ? argv[i + 1] : nullptr, out)) return false;
    }
    return true;
}

void printUsage(const char* program) {
    printf(
        "\r\nUsage: %s[-c <conf_folder>][-d <debug_level>][-t <topol_cap>][-r <reboot>]"
        "[-p <power_ctrl>][-l <enable_log>][-h] \n",
        program);
    printf("\n");
    puts("<conf_folder>: ");
    puts("\tThe folder of vm1905 configuration file");
    puts("<debug_level>: ");
    puts("\t0 : Critical errors.");
    puts("\t1 : Regular errors.");
    puts("\t2 : Warning messages.");
    puts("\t3 : Informational messages.");
    puts("\t4 : Debugging messages.");
    puts("<topol_cap>: ");
    puts("\t0 : Disable netowork topology capability.");
    puts("\t1 : Enable netowork topology capability.");
    puts("<reboot>: ");
    puts("\t0 : Disable reboot from IEEE 1905.1 neighbor device.");
    puts("\t1 : Enable reboot from IEEE 1905.1 neighbor device.");
    puts("<power_ctrl>: ");
    puts("\t0 : Disable interface power control from IEEE 1905.1 neighbor device.");
    puts("\t1 : Enable interface power control from IEEE 1905.1 neighbor device.");
    puts("<enable_log>: ");
    puts("\t0 : Disable log.");
    puts("\t1 : Enable log.");
    printf("\n");
}
