// The limit's start: the library's answers into plain structs and into both files.
#pragma once

// False when a file cannot be written.
bool limitBuild();
