// Files that outlive a restart. They are kept in the folder "state" of the configuration folder,
// which only the daemon may enter.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/fd.h"

// The configuration folder; empty if it cannot be opened.
[[nodiscard]] Fd openConfFolder();

// The folder "state", which it makes if it is missing. Refused, and empty, unless it is ours and
// closed to all others.
[[nodiscard]] Fd openStateFolder();

// The content of a file. std::nullopt if it is absent (errno is ENOENT) or cannot be read.
[[nodiscard]] std::optional<std::string> readText(const Fd& folder, const char* name);

// Replaces a file as a whole: after a power cut it has either the old content or the new one. kOk
// or kFailure.
[[nodiscard]] int replaceText(const Fd& folder, const char* name, std::string_view text);
