#include "tools/xelini/start.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace xelini {

namespace {

// A file that is opened in the place of a closed standard stream would receive messages. What
// stands there instead can neither be read nor written as what is missing, so that it still shows.
void occupyStandardStreams()
{
    int descriptor;
    do {
        if (::fcntl(STDERR_FILENO, F_GETFD) >= 0 && ::fcntl(STDOUT_FILENO, F_GETFD) >= 0 &&
            ::fcntl(STDIN_FILENO, F_GETFD) >= 0)
            return;
        const bool inputIsMissing = ::fcntl(STDIN_FILENO, F_GETFD) < 0;
        descriptor = ::open("/dev/null", inputIsMissing ? O_WRONLY : O_RDONLY);
    } while (descriptor >= 0);
}

} // namespace

std::vector<std::string> startProgram(int argc, const char* const* argv)
{
    occupyStandardStreams();
    // A limit on the size of files is to show as an error of the write.
    std::signal(SIGXFSZ, SIG_IGN);
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

} // namespace xelini
