/// The files that a start writes, for both programs at the server's own places.
#ifndef STARTUPFILES_H
#define STARTUPFILES_H

constexpr const char *databasePath = "/tmp/ZANTO.db";
constexpr const char *pvListPath = "/tmp/pvlist.txt";
constexpr const char *liveInsertionPath = "/tmp/lievnt.txt";

#endif
