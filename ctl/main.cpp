#include <clocale>

#include "cli.h"
#include "completion.h"
#include "output.h"
#include "watch.h"

namespace {

int fail(const Failure& failure, Format format) {
    printFailure(failure);
    if (format == Format::kText) return failure.status;
    std::string out;
    reportOf(failure).print(format, out);
    return put(out) ? failure.status : kRefused;
}

int run(const std::vector<std::string>& arguments) {
    Choice choice;
    try {
        const auto app = makeCommandLine(choice);
        parse(*app, choice, arguments);
        if (!choice.text.empty()) return put(choice.text) ? kDone : kRefused;
        if (choice.isWatch || choice.isFollow) return watch(choice);
        Session session(choice.options, choice.command);
        const Report report = choice.read ? readSelected(choice, session) : choice.act(session);
        std::string out;
        report.print(choice.options.format, out);
        return put(out) ? report.status : kRefused;
    } catch (const Failure& failure) {
        return fail(failure, choice.options.format);
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_CTYPE, "");
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    try {
        // Only for the completion script, so not among the options.
        if (!arguments.empty() && arguments[0] == "--complete") {
            printCompletions({arguments.begin() + 1, arguments.end()});
            return kDone;
        }
        return run(arguments);
    } catch (const std::exception& error) {
        return fail({kRefused, error.what()}, Format::kText);
    }
}
