// The files that a start writes, for both programs at the server's own places.
#pragma once

constexpr const char *databasePath = "/tmp/ZANTO.db";
constexpr const char *pvListPath = "/tmp/pvlist.txt";
constexpr const char *liveInsertionPath = "/tmp/lievnt.txt";
