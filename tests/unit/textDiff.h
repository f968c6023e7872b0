// Shows how two texts differ.
#pragma once

#include <string>

// The lines that only `before` has, marked "-", and those that only `after` has, marked "+",
// between a few lines that both have. Empty when the texts are equal. For texts of a few
// thousand lines at most.
std::string textDiff(const std::string &before, const std::string &after);
