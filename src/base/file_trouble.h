// The log of files that cannot be written: a line when a file begins to fail, and none until it has
// worked again.
#pragma once

#include <set>
#include <string>

#include "base/public_file.h"

struct FailingFiles {
    std::set<std::string> paths;
};

// Notes how writing the file, or making the folder, ended. kOk, or kFailure if there was trouble.
int noteFileTrouble(const std::string& path, const FileTrouble& trouble);
