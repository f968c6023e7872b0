// Standard output of the start-up script.
#pragma once

#include <cstdio>
#include <memory>

// For a scope, what the shell prints on the calling thread goes the way of the server's own
// messages. The shell echoes each line of a script before it runs it: once the process is
// ending the thread does not return from that, so that no further line is run. Without memory
// for it the output stays as it is.
class ZANTOScriptOutput {
public:
    ZANTOScriptOutput();
    ~ZANTOScriptOutput();
    ZANTOScriptOutput(const ZANTOScriptOutput &) = delete;
    ZANTOScriptOutput &operator=(const ZANTOScriptOutput &) = delete;

private:
    struct Closer {
        void operator()(FILE *file) const { std::fclose(file); }
    };
    std::unique_ptr<FILE, Closer> m_stream;
};
