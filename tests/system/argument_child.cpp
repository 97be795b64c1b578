// A program for the tests to copy and start: it writes its arguments, each with a zero behind it,
// to a file beside itself, named after it with ".out". Exits with what stands behind the argument
// "exit", or with 42; behind "sleep" stand the milliseconds to wait for before.
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/utf8_arguments.h"

int main(int count, char** words)
{
    const std::vector<std::string> arguments = Utf8Arguments(count, words);
    std::ofstream out(arguments[0] + ".out", std::ios::binary);
    int exitCode = 42;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        out.write(arguments[i].c_str(), static_cast<std::streamsize>(arguments[i].size() + 1));
        if (arguments[i - 1] == "exit")
            exitCode = std::atoi(arguments[i].c_str());
        else if (arguments[i - 1] == "sleep")
            std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(arguments[i].c_str())));
    }
    out.close();
    return exitCode;
}
