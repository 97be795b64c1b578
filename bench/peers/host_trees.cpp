#include <fcntl.h>
#include <initializer_list>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "trees.h"

namespace bench {

namespace {

// The output goes to nobody, as fast as it can.
bool Run(std::initializer_list<const char*> command)
{
    std::vector<char*> arguments;
    for (const char* argument : command)
        arguments.push_back(const_cast<char*>(argument));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = -1;
    const bool isDone =
        posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0 &&
        waitpid(child, &status, 0) == child && status == 0;
    posix_spawn_file_actions_destroy(&actions);
    return isDone;
}

bool Copy(const std::string& from, const std::string& to)
{
    return Run({"cp", "-r", from.c_str(), to.c_str()});
}

bool Remove(const std::string& dir)
{
    return Run({"rm", "-rf", dir.c_str()});
}

std::size_t Count(const std::string& dir)
{
    Run({"find", dir.c_str()});
    return 0;
}

bool Miss(const std::string& dir)
{
    return Run({"find", dir.c_str(), "-iname", kMissingFile});
}

} // namespace

TreeProgram HostTrees()
{
    return {"host", Copy, Remove, Count, Miss};
}

} // namespace bench
