// xelini: looks at, checks and changes settings files that devices read.
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "tools/xelini/command_line.h"
#include "tools/xelini/failure.h"

namespace {

using xelini::Status;

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

Status run(int argc, const char* const* argv)
{
    try {
        const xelini::CommandLine line = xelini::parseCommandLine(argc, argv);
        return line.command ? line.command(line.request) : Status::done;
    } catch (const xelini::Failure& failure) {
        xelini::printMessage(failure.message);
        return failure.status;
    } catch (const std::exception& error) {
        xelini::printMessage(error.what());
        return Status::failed;
    }
}

} // namespace

int main(int argc, char** argv)
{
    occupyStandardStreams();
    // A limit on the size of files is to show as an error of the write.
    std::signal(SIGXFSZ, SIG_IGN);
    return static_cast<int>(run(argc, argv));
}
