#include "output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "terminal.h"

bool put(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) != EOF && std::fflush(stdout) != EOF) return true;
    if (errno != EPIPE) {
        std::fprintf(stderr, "vm1905ctl: cannot write the output: %s\n", std::strerror(errno));
    }
    return false;
}

void printFailure(const Failure& failure) {
    std::fprintf(stderr, "%s%s\n", colored(Color::kTrouble, "vm1905ctl: ", 2).c_str(),
                 escaped(failure.text).c_str());
    if (!failure.advice.empty()) {
        std::fprintf(stderr, "  %s\n", escaped(failure.advice).c_str());
    }
}

Report reportOf(const Failure& failure) {
    const Json result = failure.result == 0 ? Json() : Json(failure.result);
    return {{Section{"",
                     "",
                     false,
                     {{"error", "", Unit::kNone, kPlain}, {"result", "", Unit::kNone, kPlain}},
                     {{failure.text, result}}}},
            failure.status};
}
