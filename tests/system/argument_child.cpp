// A program for the tests to copy and start: it writes its arguments, each with a zero behind it,
// to a file beside itself, named after it with ".out". Exits with what stands behind the argument
// "exit", or with 42.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

int main(int count, char** arguments)
{
    std::ofstream out(std::string(arguments[0]) + ".out", std::ios::binary);
    for (int i = 1; i < count; ++i)
        out.write(arguments[i], static_cast<std::streamsize>(std::strlen(arguments[i]) + 1));
    out.close();
    return count == 3 && std::strcmp(arguments[1], "exit") == 0 ? std::atoi(arguments[2]) : 42;
}
