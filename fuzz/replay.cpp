// Runs a fuzz target over every file of the given folders, without libFuzzer. Fails if there is no
// file, or if the target defines corpusIsComplete() and it returns false.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
__attribute__((weak)) bool corpusIsComplete();

int main(int argc, char** argv) {
    (void)LLVMFuzzerInitialize(&argc, &argv);
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; i++) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            if (entry.is_regular_file()) files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    for (const auto& path : files) {
        fprintf(stderr, "%s\n", path.c_str());  // after a crash, the last one is the culprit
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> text{std::istreambuf_iterator<char>(file), {}};
        const std::vector<uint8_t> input(text.begin(), text.end());
        (void)LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    fprintf(stderr, "%zu inputs\n", files.size());
    const bool isComplete = corpusIsComplete == nullptr || corpusIsComplete();
    return files.empty() || !isComplete ? 1 : 0;
}
