// What names and texts EPICS takes.
#pragma once

#include <string>
#include <string_view>

namespace pvlist {

constexpr size_t longestRecordName = 60; // bytes; EPICS keeps a NUL behind them
constexpr size_t longestDescription = 40;
constexpr size_t longestGroupName = 28;

// A name that can stand in a database file of any base: 1 to 60 bytes, no blanks, control bytes,
// quotes, backslashes, dollars or dots.
bool isRecordName(std::string_view name);

// A record's name that can also be that of a folder.
bool isCrateName(std::string_view name);

// One line of people's text in a database file: what has to be escaped is.
std::string quotedForDatabase(std::string_view text);

// For messages: the beginning of it, control bytes as question marks.
std::string printable(std::string_view text);

// The shortest number that reads back the same.
std::string numberText(double number);

} // namespace pvlist
