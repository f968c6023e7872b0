// The folder that is written: all of it or nothing.
#pragma once

#include <stdexcept>
#include <string>

#include "plan.h"

namespace site {

class FolderError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Writes each file beside its place, then puts all of them in place. Files of an earlier run that
// are not written any more go; others stay as they are. Throws FolderError, and then nothing has
// changed unless the message says so.
void writeFolder(const std::string &folder, const OutputFiles &files);

// Throws FolderError.
std::string readFile(const std::string &path);

} // namespace site
