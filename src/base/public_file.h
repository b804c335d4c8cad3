// Files in folders that everybody may write to. Somebody may have put a link, a FIFO or a device
// there under the name of the file: a writer must neither follow nor wait for it.
#pragma once

#include <string_view>

// True if the path is absent or a regular file. Checked before a shell command writes to the path.
[[nodiscard]] bool isOrdinaryFile(const char* path);

// Replaces the content of a file, or creates it. kOk, or kFailure if the path is not a regular file
// or cannot be opened (it is then left alone), or if writing fails (logged).
[[nodiscard]] int writePublicFile(const char* path, std::string_view text);
