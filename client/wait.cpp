#include "wait.h"

#include <algorithm>
#include <thread>

using namespace std::chrono_literals;

namespace {

// The daemon answers about 100 us after it is woken. A neighbor takes far longer, so a late look
// costs little.
constexpr auto kFirstStep = 50us;
constexpr auto kLastStep = 1ms;
constexpr auto kProgressInterval = 100ms;

unsigned milliseconds(std::chrono::steady_clock::duration span) {
    return static_cast<unsigned>(
        std::chrono::duration_cast<std::chrono::milliseconds>(span).count());
}

}  // namespace

Wait::Wait(unsigned ms, const Progress& progress)
    : progress_(progress),
      end_(begin_ + std::chrono::milliseconds(ms)),
      nextProgress_(begin_ + kProgressInterval),
      step_(kFirstStep) {}

int Wait::pause() {
    const auto now = Clock::now();
    if (now >= end_) return VM1905_TIMEOUT;
    if (progress_.call != nullptr && now >= nextProgress_) {
        nextProgress_ = now + kProgressInterval;
        if (progress_.call(progress_.argument, milliseconds(now - begin_)) != 0) {
            return VM1905_CANCELLED;
        }
    }
    std::this_thread::sleep_for(std::min(step_, end_ - now));
    step_ = std::min<Clock::duration>(step_ * 2, kLastStep);
    return 0;
}

void Wait::limit(unsigned ms) {
    end_ = std::min(end_, Clock::now() + std::chrono::milliseconds(ms));
}

unsigned Wait::left() const {
    return milliseconds(std::max(end_ - Clock::now(), Clock::duration::zero()));
}
