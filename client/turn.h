// The lock files by which clients take turns at the request slot.
#pragma once

#include <chrono>

#include "wait.h"

// A lock file, held for as long as the object lives.
class LockFile {
  public:
    LockFile(const char* path, unsigned mode) : path_(path), mode_(mode) {}
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;
    ~LockFile();

    // Takes the lock. 0, VM1905_BUSY if the wait or the limit ends first, VM1905_CANCELLED, or
    // VM1905_SYSTEM if the file cannot be opened.
    [[nodiscard]] int take(Wait& wait, std::chrono::steady_clock::duration limit);

  private:
    enum class Step { kTaken, kBusy, kFailed };
    Step tryOnce();
    int openFile() const;

    const char* path_;
    unsigned mode_;
    int fd_ = -1;
    bool isNext_ = false;
};

// Holds the turn for as long as the object lives.
class Turn {
  public:
    // 0, VM1905_BUSY if the wait ends first, VM1905_CANCELLED or VM1905_SYSTEM.
    [[nodiscard]] int take(Wait& wait);

  private:
    LockFile roots_{"/var/run/vm1905_client.lock", 0600};
    LockFile everybodys_{"/tmp/vm1905_client.lock", 0666};
};
