// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace plat {

class Fd {
  public:
    explicit Fd(int fd = -1) : fd_(fd) {}
    Fd(Fd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Fd& operator=(Fd&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Fd() { reset(); }

    int get() const { return fd_; }
    void reset() {
        if (fd_ >= 0) ::close(std::exchange(fd_, -1));
    }

  private:
    int fd_;
};

}  // namespace plat
