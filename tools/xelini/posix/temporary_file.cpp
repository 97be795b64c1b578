#include "tools/xelini/temporary_file.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace xelini {

namespace {

// What a signal handler has to remove; null when there is nothing.
const char* volatile g_leftOver = nullptr;

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

extern "C" void removeLeftOver(int signal)
{
    if (const char* const path = g_leftOver)
        ::unlink(path);
    // The handler is gone by now, so this ends the program as the signal would have.
    std::raise(signal);
}

void watchSignals()
{
    struct sigaction action = {};
    action.sa_handler = removeLeftOver;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    for (const int signal : kEndingSignals) {
        struct sigaction present;
        const bool isIgnored =
            ::sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_IGN;
        if (!isIgnored)
            ::sigaction(signal, &action, nullptr);
    }
}

} // namespace

TemporaryFile::TemporaryFile(const std::string& folder) : m_path(folder + ".xelini-XXXXXX")
{
    watchSignals();
    m_file = HostFile(::mkostemp(m_path.data(), O_CLOEXEC));
    if (m_file.isOpen())
        g_leftOver = m_path.c_str();
    else
        m_path.clear();
}

TemporaryFile::~TemporaryFile()
{
    if (!m_path.empty())
        ::unlink(m_path.c_str());
    g_leftOver = nullptr;
}

void TemporaryFile::keep()
{
    g_leftOver = nullptr;
    m_path.clear();
}

} // namespace xelini
