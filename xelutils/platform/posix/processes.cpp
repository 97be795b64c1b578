#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/command_line.h"
#include "xelutils/platform/posix/device_root.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/files.h"
#include "xelutils/platform/posix/handles.h"
#include "xelutils/platform/posix/path_lookup.h"
#include "xelutils/platform/unload.h"

// P_PIDFD, which not every C library's header has yet.
constexpr idtype_t kWaitForDescriptor = static_cast<idtype_t>(3);

enum class ChildState {
    Running,
    Ended,
    // Somebody else took its status, or nobody was to have it.
    Lost,
};

struct ChildStatus {
    ChildState state = ChildState::Running;
    DWORD exitCode = STILL_ACTIVE;
    // Of a running child: becomes readable when it ends, and never means another process. Null on
    // hosts that have no such thing.
    std::shared_ptr<const OpenFile> end;
};

struct ChildProcess {
    const pid_t id;
    // Guarded by the lock of all children. Handles may stay open for ever, so what an ended child
    // does not need goes at once.
    ChildStatus status;
};

namespace {

// ---- Children and their ends --------------------------------------------------------------

DWORD ExitCodeFrom(const siginfo_t& end)
{
    constexpr int kEndedBySignal = 128;
    return static_cast<DWORD>(end.si_code == CLD_EXITED ? end.si_status
                                                        : kEndedBySignal + end.si_status);
}

std::shared_ptr<ChildProcess> NewChild(pid_t id)
{
    const auto child = std::make_shared<ChildProcess>(ChildProcess{id, {}});
    const int end = ClearOfStandardStreams(static_cast<int>(syscall(SYS_pidfd_open, id, 0)));
    if (end >= 0)
        child->status.end = std::make_shared<const OpenFile>(end);
    return child;
}

// Asks the host, which tells of each end once.
void LookAfter(ChildProcess& child)
{
    const OpenFile* const descriptor = child.status.end.get();
    siginfo_t end = {};
    int result;
    do {
        result = descriptor != nullptr
                     ? waitid(kWaitForDescriptor, static_cast<id_t>(descriptor->descriptor), &end,
                              WEXITED | WNOHANG)
                     : waitid(P_PID, static_cast<id_t>(child.id), &end, WEXITED | WNOHANG);
    } while (result != 0 && errno == EINTR);
    // A kernel that has the descriptors but does not wait for them.
    if (result != 0 && errno == EINVAL && descriptor != nullptr) {
        child.status.end = nullptr;
        LookAfter(child);
        return;
    }
    if (result != 0)
        child.status = {ChildState::Lost, STILL_ACTIVE, nullptr};
    else if (end.si_pid != 0)
        child.status = {ChildState::Ended, ExitCodeFrom(end), nullptr};
}

// The children that were running when last looked at, whether or not there are handles for them.
class Children {
public:
    void Add(std::shared_ptr<ChildProcess> child)
    {
        const std::lock_guard guard(m_lock);
        m_running.push_back(std::move(child));
    }

    ChildStatus StatusOf(ChildProcess& child)
    {
        const std::lock_guard guard(m_lock);
        if (child.status.state == ChildState::Running) {
            LookAfter(child);
            DropEnded();
        }
        return child.status;
    }

    // None of them stays behind as a zombie.
    void CollectEnded()
    {
        const std::lock_guard guard(m_lock);
        for (const std::shared_ptr<ChildProcess>& child : m_running)
            LookAfter(*child);
        DropEnded();
    }

private:
    void DropEnded()
    {
        std::erase_if(m_running, [](const std::shared_ptr<ChildProcess>& child) {
            return child->status.state != ChildState::Running;
        });
    }

    std::mutex m_lock;
    std::vector<std::shared_ptr<ChildProcess>> m_running;
};

Children& AllChildren()
{
    // Lasting: programs may still be started while this one ends.
    static Children& s_children = MakeLasting<Children>();
    return s_children;
}

// ---- Starting -----------------------------------------------------------------------------

// The host's name of a regular file. Nothing, with the last error set, when there is none.
std::optional<std::string> FindProgram(const wchar_t* name)
{
    const auto refuse = [](DWORD error) {
        Fail(error);
        return std::nullopt;
    };
    const std::optional<HostPath> path = ResolveDevicePath(name);
    if (!path)
        return std::nullopt;
    if (path->endsInSeparator)
        return refuse(ERROR_PATH_NOT_FOUND);
    std::string program = path->text;
    struct stat status;
    if (stat(program.c_str(), &status) != 0) {
        if (!IsMissing(errno))
            return refuse(ErrorFromErrno(errno));
        FoundOrPlace other = FindOrPlaceWithoutCase(*path, LookFor::Target, LookupUse::Read);
        if (!other.found)
            return refuse(other.place ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND);
        program = *std::move(other.found);
        if (stat(program.c_str(), &status) != 0)
            return refuse(ErrorFromErrno(errno));
    }
    if (!S_ISREG(status.st_mode))
        return refuse(ERROR_ACCESS_DENIED);
    return program;
}

#if __GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 34)
int CloseAllButStandardStreams(posix_spawn_file_actions_t* actions)
{
    return posix_spawn_file_actions_addclosefrom_np(actions, STDERR_FILENO + 1);
}
#else
// What another thread opens meanwhile, and not to be closed on exec, is missed.
int CloseAllButStandardStreams(posix_spawn_file_actions_t* actions)
{
    std::error_code listing;
    int error = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", listing)) {
        const long descriptor = std::strtol(entry.path().filename().c_str(), nullptr, 10);
        if (descriptor > STDERR_FILENO && error == 0)
            error = posix_spawn_file_actions_addclose(actions, static_cast<int>(descriptor));
    }
    return listing ? listing.value() : error;
}
#endif

// What the child gets that is not as the parent has it.
class SpawnOptions {
public:
    SpawnOptions()
    {
        posix_spawn_file_actions_init(&m_actions);
        m_error = CloseAllButStandardStreams(&m_actions);

        sigset_t signals;
        posix_spawnattr_init(&m_attributes);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&m_attributes, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&m_attributes, &signals);
    }
    ~SpawnOptions()
    {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }
    SpawnOptions(const SpawnOptions&) = delete;
    SpawnOptions& operator=(const SpawnOptions&) = delete;

    // Of the host; 0 when the options are whole.
    int Error() const { return m_error; }
    const posix_spawn_file_actions_t* Actions() const { return &m_actions; }
    const posix_spawnattr_t* Attributes() const { return &m_attributes; }

private:
    int m_error = 0;
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

DWORD ErrorOfSpawn(int hostError)
{
    switch (hostError) {
    // The program was there just now: what is missing is the interpreter that it names.
    case ENOENT:
        return ERROR_BAD_EXE_FORMAT;
    // No more processes for this user, which the table takes for a lock.
    case EAGAIN:
        return ERROR_NOT_ENOUGH_MEMORY;
    default:
        return ErrorFromErrno(hostError);
    }
}

// The new child's number, or 0 with the last error set.
pid_t Spawn(const std::string& program, const wchar_t* commandLine)
{
    std::vector<std::string> words = SplitCommandLine(commandLine != nullptr ? commandLine : L"");
    words.insert(words.begin(), program);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    const SpawnOptions options;
    pid_t id = 0;
    int error = options.Error();
    if (error == 0)
        error = posix_spawn(&id, program.c_str(), options.Actions(), options.Attributes(),
                            arguments.data(), environ);
    return error == 0 ? id : (Fail(ErrorOfSpawn(error)), 0);
}

// How long a wait may sleep before it looks again, for poll: up to `left` milliseconds, where
// INFINITE has no end.
int SleepMs(const ChildStatus& child, DWORD left)
{
    constexpr DWORD kWithoutDescriptorMs = 10;
    if (!child.end)
        return static_cast<int>(std::min(left, kWithoutDescriptorMs));
    return left == INFINITE ? -1 : static_cast<int>(std::min<DWORD>(left, INT_MAX));
}

} // namespace

BOOL CreateProcessW(const wchar_t* program, wchar_t* commandLine, void* processAttributes,
                    void* threadAttributes, BOOL inheritHandles, DWORD flags, void* environment,
                    const wchar_t* directory, STARTUPINFOW* /*startup*/,
                    PROCESS_INFORMATION* information)
{
    if (processAttributes != nullptr || threadAttributes != nullptr || inheritHandles != FALSE ||
        (flags & ~CREATE_NEW_CONSOLE) != 0 || environment != nullptr || directory != nullptr ||
        information == nullptr)
        return Fail(ERROR_INVALID_PARAMETER);
    const std::optional<std::string> path = FindProgram(program);
    if (!path)
        return FALSE;
    AllChildren().CollectEnded();
    const pid_t id = Spawn(*path, commandLine);
    if (id == 0)
        return FALSE;
    const std::shared_ptr<ChildProcess> child = NewChild(id);
    AllChildren().Add(child);
    *information = {MakeHandle(child), MakeHandle(child), static_cast<DWORD>(id),
                    static_cast<DWORD>(id)};
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE process, DWORD milliseconds)
{
    using Clock = std::chrono::steady_clock;
    const std::shared_ptr<ChildProcess> child = LookUpChild(process);
    if (!child)
        return WAIT_FAILED;
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        const ChildStatus status = AllChildren().StatusOf(*child);
        if (status.state == ChildState::Ended)
            return WAIT_OBJECT_0;
        if (status.state == ChildState::Lost)
            return Fail(ERROR_WAIT_NO_CHILDREN), WAIT_FAILED;
        DWORD left = INFINITE;
        if (milliseconds != INFINITE) {
            const auto now = Clock::now();
            if (now >= end)
                return WAIT_TIMEOUT;
            left =
                static_cast<DWORD>(std::chrono::ceil<std::chrono::milliseconds>(end - now).count());
        }
        // poll passes over -1.
        pollfd ended = {status.end ? status.end->descriptor : -1, POLLIN, 0};
        poll(&ended, 1, SleepMs(status, left));
    }
}

BOOL GetExitCodeProcess(HANDLE process, DWORD* exitCode)
{
    const std::shared_ptr<ChildProcess> child = LookUpChild(process);
    if (!child)
        return FALSE;
    const ChildStatus status = AllChildren().StatusOf(*child);
    if (status.state == ChildState::Lost)
        return Fail(ERROR_WAIT_NO_CHILDREN);
    *exitCode = status.exitCode;
    return TRUE;
}
