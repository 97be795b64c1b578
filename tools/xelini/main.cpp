// xelini: looks at, checks and changes settings files that devices read.
#include <exception>

#include "tools/xelini/command_line.h"
#include "tools/xelini/failure.h"
#include "tools/xelini/start.h"

namespace {

using xelini::Status;

Status run(int argc, const char* const* argv)
{
    try {
        const xelini::CommandLine line = xelini::parseCommandLine(xelini::startProgram(argc, argv));
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
    return static_cast<int>(run(argc, argv));
}
