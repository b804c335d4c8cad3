#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <ctime>

#include "cli.h"
#include "failure.h"
#include "watch.h"

namespace {

void put(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) == EOF || std::fflush(stdout) == EOF) std::_Exit(kRefused);
}

int tell(const Failure& failure, Format format) {
    std::fprintf(stderr, "%s%s\n", coloured(Colour::kTrouble, "vm1905ctl: ", 2).c_str(),
                 escaped(failure.text).c_str());
    if (!failure.advice.empty()) {
        std::fprintf(stderr, "  %s\n", escaped(failure.advice).c_str());
    }
    if (format != Format::kText) {
        Report report{
            {Section{"",
                     "",
                     false,
                     {{"error", "", Unit::kNone, kPlain}, {"result", "", Unit::kNone, kPlain}},
                     {{failure.text, failure.result}}}}};
        std::string out;
        report.print(format, out);
        put(out);
    }
    return failure.status;
}

int run(const std::vector<std::string>& arguments) {
    Choice choice;
    const auto app = makeCommandLine(choice);
    // The library takes them from the end.
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app->parse(reversed);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app->exit(error);  // of help
        const auto unknown = app->remaining();
        std::string text = error.what();
        if (!unknown.empty() && app->get_subcommands().empty()) {
            const bool isOption = unknown[0].starts_with("-");
            text = (isOption ? "there is no option " : "there is no command ") + unknown[0];
        }
        return tell({kUsage, text, "see: vm1905ctl --help"}, choice.options.format);
    }
    try {
        if (choice.isWatch) return watch(choice);
        Session session(choice.options);
        std::string out;
        (choice.read ? choice.read : choice.act)(session).print(choice.options.format, out);
        put(out);
        return kDone;
    } catch (const Failure& failure) {
        return tell(failure, choice.options.format);
    }
}

}  // namespace

int main(int argc, char** argv) {
    (void)std::setlocale(LC_CTYPE, "");
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    try {
        // For the shell alone, and so not among the options.
        if (!arguments.empty() && arguments[0] == "--complete") {
            printCompletions({arguments.begin() + 1, arguments.end()});
            return kDone;
        }
        return run(arguments);
    } catch (const std::exception& error) {
        return tell({kRefused, error.what()}, Format::kText);
    }
}
