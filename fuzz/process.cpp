#include "process.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

class Folder {
  public:
    Folder() { require(mkdtemp(path_.data()) != nullptr); }
    ~Folder() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    const std::string& path() const { return path_; }

  private:
    std::string path_ =
        access("/dev/shm", W_OK) == 0 ? "/dev/shm/vm1905-XXXXXX" : "/tmp/vm1905-XXXXXX";
};

std::string program;

}  // namespace

// A message may make the daemon reboot or run a command. Not on the machine of the fuzzer.
extern "C" int reboot(int) noexcept {
    return 0;
}
extern "C" int system(const char* command) {
    if (command == nullptr || !std::string_view(command).starts_with(program)) return 0;
    // libFuzzer runs itself to merge inputs or to make one smaller.
    const auto real = reinterpret_cast<decltype(&system)>(dlsym(RTLD_NEXT, "system"));
    return real(command);
}

extern "C" int LLVMFuzzerInitialize(int*, char*** argv) {
    program = std::string((*argv)[0]) + " ";
    // Log lines are formatted and discarded.
    require(freopen("/dev/null", "w", stdout) != nullptr);
    setenv("VM1905_PLATFORM_CONF", "/nonexistent", 1);
    return 0;
}

const std::string& scratch() {
    static const Folder folder;
    return folder.path();
}

std::string writeScratch(const std::string& name, Bytes content) {
    std::string path = scratch() + "/" + name;
    std::ofstream file(path, std::ios::binary);
    require(static_cast<bool>(file << textOf(content) << std::flush));
    return path;
}

void require(bool condition) {
    if (!condition) abort();
}
