#include "StdoutCapture.h"

#include "ZANTOtypes.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sys/mman.h>
#include <unistd.h>

StdoutCapture::StdoutCapture() : m_memory(memfd_create("stdout", MFD_CLOEXEC)), m_stdout(dup(1))
{
    std::fflush(stdout);
    dup2(m_memory, 1);
}

StdoutCapture::~StdoutCapture()
{
    restore();
    close(m_memory);
}

void StdoutCapture::restore()
{
    if (m_stdout < 0)
        return;
    std::fflush(stdout);
    dup2(m_stdout, 1);
    close(m_stdout);
    m_stdout = -1;
}

std::string StdoutCapture::text()
{
    restore();
    std::string text;
    char part[4096];
    ssize_t length;
    while ((length = pread(m_memory, part, sizeof(part), static_cast<off_t>(text.size()))) > 0)
        text.append(part, static_cast<size_t>(length));
    return text;
}

std::string printedAt(int16_t level, const std::function<void()> &action)
{
    const int16_t before = DEBUG;
    DEBUG = level;
    StdoutCapture capture;
    action();
    DEBUG = before;
    return capture.text();
}

void expectPrintedFrom(int16_t from, const std::string &text, const std::function<void()> &action)
{
    EXPECT_EQ(printedAt(static_cast<int16_t>(from - 1), action), "") << "below level " << from;
    EXPECT_EQ(printedAt(from, action), text) << "at level " << from;
}
