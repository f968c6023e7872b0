// The version of this build, as tools/version tells it.
#pragma once

extern const char zantoVersion[];
