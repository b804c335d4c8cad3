// Files in folders that anybody may write into: something else may have been put there under their
// names, which a writer must neither wait for nor follow.
#pragma once

#include <string_view>

// True when nothing stands there, or an ordinary file. For what a shell command is about to write.
[[nodiscard]] bool isOrdinaryFile(const char* path);

// Writes a file in one go, over what stood there. kFailure when what stands there is no ordinary
// file or cannot be opened, which is left as it is, and when writing fails, which is logged.
[[nodiscard]] int writePublicFile(const char* path, std::string_view text);
