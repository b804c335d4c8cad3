#include "common/hook.h"

#include <algorithm>
#include <chrono>
#include <list>

#include "base/result.h"
#include "common/helper.h"
#include "common/log.h"
#include "common/text.h"

namespace {

using Clock = std::chrono::steady_clock;

// Hooks, even several in a row, may hold up the daemon for less than 100 ms, including the start of
// the programs. They share this budget: what one uses up is missing for the next ones.
constexpr std::chrono::milliseconds kWaitBudget{75};
constexpr std::chrono::milliseconds kBudgetPeriod{250};
// How long a late answer is kept for the same question to be asked again.
constexpr std::chrono::seconds kLateLimit{60};
constexpr size_t kMaxAnswers = 64;

struct Answer {
    std::string name;
    Arguments args;
    int status = kFailure;
    std::string output;
    bool read = false;
    Clock::time_point at{};
};

struct Wait {
    Clock::time_point end;
    Clock::duration length;
};

struct {
    std::list<Answer> answers;  // newest last
    std::vector<Wait> waits;    // the recent ones
} hooks;

// Its status if it ends within what is left of the budget.
std::optional<int> waitForHook(JobId id) {
    const auto start = Clock::now();
    std::erase_if(hooks.waits, [&](const Wait& wait) { return start - wait.end > kBudgetPeriod; });
    Clock::duration left = kWaitBudget;
    for (const Wait& wait : hooks.waits) left -= wait.length;
    const auto status =
        waitJob(id, std::chrono::floor<std::chrono::milliseconds>(std::max(left, {})));
    const auto end = Clock::now();
    hooks.waits.push_back({end, end - start});
    return status;
}

Answer* findAnswer(const std::string& name, const Arguments& args) {
    for (Answer& answer : hooks.answers) {
        if (answer.name == name && answer.args == args) return &answer;
    }
    return nullptr;
}

void keepAnswer(const std::string& name, const Arguments& args, int status,
                const std::string& output) {
    hooks.answers.remove_if(
        [&](const Answer& answer) { return answer.name == name && answer.args == args; });
    if (hooks.answers.size() >= kMaxAnswers) hooks.answers.pop_front();
    hooks.answers.push_back({name, args, status, output, false, Clock::now()});
}

int give(Answer& answer, std::string& output) {
    answer.read = true;
    output = answer.output;
    return answer.status;
}

// A work of the library reports by its output.
bool isWork(const std::string& name) {
    const auto number = programNumber(name);
    return number && programs()[*number].work != nullptr;
}

std::string jobName(const std::string& name) {
    return isWork(name) ? name : "hook " + name;
}

}  // namespace

bool hasHook(const std::string& name) {
    const auto number = programNumber(name);
    return number && canStartProgram(*number);
}

JobId startHook(const std::string& name, const Arguments& args, JobOptions options, JobDone done,
                uint8_t okLevel) {
    collectJobs();
    options.name = jobName(name);
    if (!hasHook(name)) {
        LOG_LINE(2, "no hook for this action: provide an executable %s", hookFile(name).c_str());
        return 0;
    }
    if (isJobRunning(options.name)) {
        LOG_LINE(2, "%s is still running, refuse to run it again", options.name.c_str());
        return 0;
    }
    return startJob(name, args, std::move(options),
                    [name, okLevel, done = std::move(done)](int status, const std::string& output) {
                        if (!isWork(name)) {
                            LOG_LINE(status == 0 ? okLevel : 2, "hook %s: %d", name.c_str(),
                                     status);
                        }
                        if (done) done(status, output);
                    });
}

int runHook(const std::string& name, const Arguments& args, JobDone done) {
    const JobId id = startHook(name, args, {}, std::move(done));
    if (id == 0) return kFailure;
    // Still running counts as accepted: the caller cannot be kept waiting.
    return waitForHook(id).value_or(kOk);
}

int askHook(const std::string& name, const Arguments& args, std::string& output, size_t maxOutput) {
    output.clear();
    collectJobs();
    Answer* last = findAnswer(name, args);
    const bool fresh = last != nullptr && !last->read && Clock::now() - last->at < kLateLimit;
    if (fresh || (last != nullptr && isJobRunning(jobName(name)))) return give(*last, output);
    // Questions come every few seconds, so only a failure is worth a line.
    const JobId id = startHook(
        name, args, {.maxOutput = maxOutput},
        [name, args](int status, const std::string& text) { keepAnswer(name, args, status, text); },
        4);
    if (id == 0) return kFailure;
    waitForHook(id);
    last = findAnswer(name, args);
    return last != nullptr ? give(*last, output) : kFailure;
}

int askForText(const std::string& name, const Arguments& args, char* text, size_t size) {
    if (text == nullptr) return kFailure;
    std::string output;
    const int result = askHook(name, args, output);
    copyText(text, size, result == 0 ? trim(output) : "");
    return result == 0 && text[0] == '\0' ? kFailure : result;
}

int askIfThere(const std::string& name, const Arguments& args, char* text, size_t size) {
    return hasHook(name) ? askForText(name, args, text, size) : kFailure;
}

void forgetHooks() {
    hooks = {};
}
