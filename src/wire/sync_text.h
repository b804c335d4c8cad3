// The texts of the platform's that a message carries whole.
#pragma once

#include <string>

// Fetches what one of the platform's getters fills in, PLATFORM_SYNC_DATA_LEN bytes. Returns the
// getter's result, or kFailure for a text that is longer than a message can carry (logged): half a
// setting is none. The text is untouched on failure.
[[nodiscard]] int fetchSyncText(int (*get)(char* data), std::string& text);
