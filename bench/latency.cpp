// Asks the daemon of this device for its own record COUNT times:
//   latency COUNT LONGEST_PAUSE_MS
// Pauses before each request, for a random time. Prints the microseconds that each one took.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

#include "vm1905_client.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: %s COUNT LONGEST_PAUSE_MS\n", argv[0]);
        return 2;
    }
    const int count = atoi(argv[1]);
    std::mt19937 random(1905);
    std::uniform_int_distribution<int> pause(0, 1000 * atoi(argv[2]));
    vm1905_client* client = nullptr;
    int result = vm1905_open(&client);
    for (int i = 0; i < count && result == 0; i++) {
        using Clock = std::chrono::steady_clock;
        std::this_thread::sleep_for(std::chrono::microseconds(pause(random)));
        vm1905_answer answer;
        const auto begin = Clock::now();
        result = vm1905_call(client, 0, nullptr, 0, 5000, &answer);
        const std::chrono::duration<double, std::micro> taken = Clock::now() - begin;
        printf("%.1f\n", taken.count());
    }
    vm1905_close(client);
    if (result != 0) fprintf(stderr, "%s: %s\n", argv[0], vm1905_strerror(result));
    return result == 0 ? 0 : 1;
}
