/// The limit's start: the library's answers into plain structs and into both files.
#ifndef LIMITBUILD_H
#define LIMITBUILD_H

/// False when a file cannot be written.
bool limitBuild();

#endif
