// Texts of the platform that a message carries whole.
#pragma once

#include <string>

// Fetches a text by a getter of the platform, which fills PLATFORM_SYNC_DATA_LEN bytes. The result
// of the getter, or kFailure (logged) if the text is longer than a message can carry: a truncated
// setting would be useless. On failure text stays unchanged.
[[nodiscard]] int fetchSyncText(int (*get)(char* data), std::string& text);
