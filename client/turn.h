// The lock file by which clients take turns at the request slot.
#pragma once

#include "wait.h"

// Holds the lock for as long as the object lives.
class Turn {
  public:
    Turn() = default;
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn();

    // 0, VM1905_BUSY if the wait ends first, VM1905_CANCELLED or VM1905_SYSTEM.
    [[nodiscard]] int take(Wait& wait);

  private:
    int fd_ = -1;
};
