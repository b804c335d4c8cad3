#include "watch.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "failure.h"

namespace {

// The command behind watch, with the options before it.
Choice innerChoice(const Choice& outer) {
    Choice inner;
    inner.options = outer.options;
    inner.interval = outer.interval;
    const auto app = makeCommandLine(inner);
    // It may stand behind the command as well.
    addInterval(*app, inner);
    std::vector<std::string> words(outer.watched.rbegin(), outer.watched.rend());
    const bool hasCommand = std::ranges::any_of(
        outer.watched, [](const std::string& word) { return !word.starts_with('-'); });
    if (!hasCommand) words.insert(words.begin(), "topology");
    try {
        app->parse(words);
    } catch (const CLI::ParseError& error) {
        throw Failure{kUsage, std::string("watch: ") + error.what(), "see: vm1905ctl --help"};
    }
    if (!inner.read) {
        throw Failure{kUsage, "only commands that read can be watched", "see: vm1905ctl --help"};
    }
    return inner;
}

std::string now() {
    const std::time_t time = std::time(nullptr);
    std::tm parts{};
    char text[16] = "";
    if (localtime_r(&time, &parts) != nullptr) {
        (void)std::strftime(text, sizeof text, "%H:%M:%S", &parts);
    }
    return text;
}

class Screen {
  public:
    // Redraws, or prints when there is news.
    bool show(const std::string& text, const std::string& fingerprint) {
        const bool isNews = fingerprint != shown_;
        shown_ = fingerprint;
        if (isTerminal(STDOUT_FILENO)) {
            std::string out = "\x1b[H" + text;
            // What a line held before is erased behind it, which flickers less than an empty
            // screen.
            for (size_t at = 0; (at = out.find('\n', at)) != std::string::npos; at += 4) {
                out.insert(at, "\x1b[K");
            }
            out += "\x1b[J";
            if (!isCleared_) out.insert(0, "\x1b[2J");
            isCleared_ = true;
            return std::fputs(out.c_str(), stdout) != EOF && std::fflush(stdout) != EOF;
        }
        if (!isNews) return true;
        return std::fputs((text + "\n").c_str(), stdout) != EOF && std::fflush(stdout) != EOF;
    }

  private:
    std::string shown_;
    bool isCleared_ = false;
};

}  // namespace

int watch(const Choice& outer) {
    Choice inner = innerChoice(outer);
    sigset_t ending;
    (void)sigemptyset(&ending);
    (void)sigaddset(&ending, SIGINT);
    (void)sigaddset(&ending, SIGTERM);
    (void)sigprocmask(SIG_BLOCK, &ending, nullptr);
    const int ended = signalfd(-1, &ending, SFD_CLOEXEC);
    Session session(inner.options);
    Screen screen;
    for (bool isFirst = true;; isFirst = false) {
        std::string text, fingerprint;
        try {
            const Report report = inner.read(session);
            report.print(inner.options.format, text);
            fingerprint = report.fingerprint();
        } catch (const Failure& failure) {
            if (isFirst) throw;
            text = "vm1905ctl: " + escaped(failure.text) + "\n";
            fingerprint = text;
        }
        if (isTerminal(STDOUT_FILENO)) text = coloured(Colour::kFaint, now(), 1) + "\n" + text;
        if (!screen.show(text, fingerprint)) return kRefused;
        session.forget();
        pollfd waiting{ended, POLLIN, 0};
        if (poll(&waiting, 1, static_cast<int>(inner.interval * 1000)) != 0) return kDone;
    }
}
