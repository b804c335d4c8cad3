// Copies of the JSON files for a page that others can look at: only the members of an allow-list,
// in a folder of their own (WEB_FOLDER). They never contain the pass phrase of the network.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "base/claimed_name.h"

// Makes the folder for this user and WEB_GROUP, and removes the copies of an earlier daemon.
// Without the key, does nothing. Clears the key if the folder cannot be made, has other files, or
// is the data-model folder; the log says why. To be called with the rights of the start.
void makeWebFolder(const Owner& owner, ClaimLog log);

// Replaces the copy of this name. Without the key, does nothing.
void writeWebCopy(std::string_view name, std::span<const std::string_view> pieces);

// The members of the allow-list, as JSON that is complete even if the text breaks off between two
// members. The text must be that of a JsonWriter, and each piece must end where a line does, with
// or without the comma.
std::string webCopyOf(std::span<const std::string_view> pieces);
