// The measurements inside the process that serves the records.
#pragma once

#include <string>

// The start: always done, `shown` or not. False: it failed.
bool measureBuild(bool shown);
// Before the IOC starts: no scan runs beside it.
void measureEvents();
void measureMemory();
// "pass-ai" and so on.
void measurePass(const std::string &name);
