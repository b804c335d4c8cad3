#include "common/files.h"

#include <fcntl.h>
#include <unistd.h>

#include "base/fd.h"

std::string readFile(const std::string& path, size_t most, Links links) {
    const int noFollow = links == Links::kRefuse ? O_NOFOLLOW : 0;
    const Fd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | noFollow));
    if (!file) return {};
    std::string text(most, '\0');
    size_t size = 0;
    while (size < most) {
        const ssize_t n = read(file.get(), text.data() + size, most - size);
        if (n <= 0) break;
        size += static_cast<size_t>(n);
    }
    text.resize(size);
    return text;
}
