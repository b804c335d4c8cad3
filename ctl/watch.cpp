#include "watch.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <iterator>

#include "output.h"

namespace {

// The command after watch, with the global options before it.
Choice innerChoice(const Choice& outer) {
    Choice inner;
    // Each attempt starts from a new command line.
    const auto parsed = [&](const std::vector<std::string>& words) {
        inner = Choice{};
        inner.options = outer.options;
        inner.interval = outer.interval;
        const auto app = makeCommandLine(inner);
        addInterval(*app, inner);  // allowed after the command, too
        try {
            parse(*app, inner, words);
        } catch (const Failure&) {
            const auto unknown = app->remaining();
            const bool isCommand = !unknown.empty() && !unknown[0].starts_with('-');
            if (!app->get_subcommands().empty() || isCommand) throw;
            return false;
        }
        return true;
    };
    if (!parsed(outer.watched)) {
        std::vector<std::string> words{"topology"};
        words.insert(words.end(), outer.watched.begin(), outer.watched.end());
        parsed(words);
    }
    if (!inner.read && inner.text.empty()) {
        throw Failure{kUsage, "only commands that read can be watched", "see vm1905ctl --help"};
    }
    return inner;
}

std::string now() {
    const std::time_t time = std::time(nullptr);
    std::tm parts{};
    char text[16] = "";
    if (localtime_r(&time, &parts) != nullptr) {
        std::strftime(text, sizeof text, "%H:%M:%S", &parts);
    }
    return text;
}

// When the report was made, for programs; texts have it above them.
void stamp(Report& report) {
    report.sections.insert(report.sections.begin(),
                           Section{"",
                                   "",
                                   false,
                                   {{"time", "", Unit::kTime, kHidden | kRestless}},
                                   {{Json(std::time(nullptr))}}});
}

class Screen {
  public:
    bool isNews(const std::string& fingerprint) const { return fingerprint != shown_; }

    // Redraws the terminal; elsewhere prints only news. False if the output cannot be written.
    [[nodiscard]] bool show(const std::string& text, const std::string& fingerprint,
                            Format format) {
        const bool hasNews = isNews(fingerprint) && !text.empty();
        shown_ = fingerprint;
        if (isTerminal(STDOUT_FILENO)) {
            return put(drawn(colored(Color::kFaint, now(), 1) + "\n" + text));
        }
        if (!hasNews) return true;
        return put((format == Format::kText ? now() + "\n" : "") + text + "\n");
    }

    // Prints the text below all before it. False if the output cannot be written.
    [[nodiscard]] bool add(const std::string& text, const std::string& fingerprint) {
        shown_ = fingerprint;
        return text.empty() || put(text);
    }

  private:
    std::string drawn(const std::string& text) {
        std::string out = "\x1b[H" + cutToTerminal(text);
        // Erasing the rest of each line flickers less than clearing the screen.
        for (size_t at = 0; (at = out.find('\n', at)) != std::string::npos; at += 4) {
            out.insert(at, "\x1b[K");
        }
        out += "\x1b[J";
        if (!isCleared_) out.insert(0, "\x1b[2J");
        isCleared_ = true;
        return out;
    }

    std::string shown_;
    bool isCleared_ = false;
};

}  // namespace

int watch(const Choice& outer) {
    Choice inner = outer.isWatch ? innerChoice(outer) : outer;
    inner.isFollow = inner.follow != nullptr;
    if (!inner.text.empty()) return put(inner.text) ? kDone : kRefused;
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGINT);
    sigaddset(&ending, SIGTERM);
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    const int ended = signalfd(-1, &ending, SFD_CLOEXEC);
    const Format format = inner.options.format;
    Session session(inner.options, inner.command, ended);
    Screen screen;
    Widths widths;
    for (bool isFirst = true;; isFirst = false) {
        std::string text, fingerprint;
        try {
            Report report = readSelected(inner, session);
            if (inner.isFollow) {
                report.printRows(format, widths, text);
            } else {
                fingerprint = report.fingerprint();
                if (format != Format::kText) stamp(report);
                report.print(format, text);
            }
        } catch (const Failure& failure) {
            if (failure.result == VM1905_CANCELLED) return kDone;
            if (isFirst) throw;
            const bool isText = format == Format::kText;
            fingerprint = failure.text;
            if (isText && isTerminal(STDOUT_FILENO) && !inner.isFollow) {
                text = "vm1905ctl: " + escaped(failure.text) + "\n";
            } else {
                if (screen.isNews(fingerprint)) printFailure(failure);
                if (!isText && !inner.isFollow) {
                    Report report = reportOf(failure);
                    stamp(report);
                    report.print(format, text);
                }
            }
        }
        const bool isPut =
            inner.isFollow ? screen.add(text, fingerprint) : screen.show(text, fingerprint, format);
        if (!isPut) return kRefused;
        session.forgetModel();
        // The output is polled, too: without news, nothing else shows that its reader has gone.
        pollfd waiting[] = {{ended, POLLIN, 0}, {STDOUT_FILENO, 0, 0}};
        poll(waiting, std::size(waiting), static_cast<int>(inner.interval * 1000));
        if (waiting[0].revents != 0) return kDone;
        if (waiting[1].revents != 0) return kRefused;
    }
}
