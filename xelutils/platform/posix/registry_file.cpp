#include "xelutils/platform/posix/registry_file.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

#include "xelutils/platform/posix/device_root.h"
#include "xelutils/platform/posix/files.h"
#include "xelutils/platform/posix/registry_text.h"
#include "xelutils/platform/unload.h"

namespace {

bool SaysNothing(const char* variable)
{
    return variable == nullptr || *variable == 0;
}

std::int64_t Nanoseconds(const timespec& time)
{
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// What tells one state of a file from another.
struct FileState {
    dev_t device = 0;
    ino_t number = 0;
    off_t size = 0;
    std::int64_t written = 0;
    std::int64_t changed = 0;

    bool operator==(const FileState&) const = default;
};

FileState StateOf(const struct stat& status)
{
    return {status.st_dev, status.st_ino, status.st_size, Nanoseconds(status.st_mtim),
            Nanoseconds(status.st_ctim)};
}

// Nothing for a file that is missing or cannot be reached.
std::optional<FileState> StateOf(const std::string& name)
{
    struct stat status;
    if (stat(name.c_str(), &status) != 0)
        return std::nullopt;
    return StateOf(status);
}

// The host's clock for files stands still for some milliseconds at a time: a file that changes
// once more in them looks the same.
bool MayChangeUnseen(const FileState& state)
{
    constexpr std::int64_t kTickNs = 20'000'000;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::int64_t age = Nanoseconds(now) - state.changed;
    return age >= 0 && age < kTickNs;
}

struct FileContent {
    std::string bytes;
    // Why there are no bytes; null when nothing is wrong.
    const char* fault = nullptr;
    // Of the file that was opened.
    std::optional<FileState> state;
    bool mayChangeUnseen = false;
};

// False when the host reports a failure.
bool ReadBytes(int descriptor, std::string& bytes)
{
    for (std::size_t length = 0; length < bytes.size();) {
        const ssize_t count = read(descriptor, bytes.data() + length, bytes.size() - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            bytes.resize(length);
            return count == 0;
        }
        length += static_cast<std::size_t>(count);
    }
    return true;
}

void ReadFile(const std::string& name, FileContent& content)
{
    const int descriptor = OpenHostFile(name.c_str(), O_RDONLY);
    if (descriptor < 0) {
        content.fault = errno == ENOENT ? "is missing" : "cannot be opened";
        // What this process lacks just now says nothing of the file.
        content.mayChangeUnseen = errno == EMFILE || errno == ENFILE || errno == ENOMEM;
        return;
    }
    const OpenFile file(descriptor);
    struct stat status;
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        content.fault = "is no file";
        return;
    }
    // Taken before the bytes: what is written while they are read shows at the next look.
    content.state = StateOf(status);
    content.mayChangeUnseen = MayChangeUnseen(*content.state);
    if (status.st_size > INT_MAX) {
        content.fault = "is too large";
        return;
    }
    content.bytes.resize(static_cast<std::size_t>(status.st_size));
    if (!ReadBytes(descriptor, content.bytes)) {
        content.bytes.clear();
        content.fault = "cannot be read";
        content.mayChangeUnseen = true;
    }
}

// ---- Reports ------------------------------------------------------------------------------

std::string Report(const FileContent& content, const RegistryFaults& faults)
{
    if (content.fault != nullptr)
        return std::string(" ") + content.fault;
    if (faults.count == 0)
        return {};
    std::string report = ":";
    report.append(std::to_string(faults.line)).append(": ").append(faults.what);
    if (faults.count > 1)
        report += "; lines left out: " + std::to_string(faults.count);
    return report;
}

void Show(const std::string& name, const std::string& report)
{
    std::vector<wchar_t> text = DevicePathFromHost(name);
    text.pop_back();
    text.insert(text.end(), report.begin(), report.end());
    for (const wchar_t unit : {L'\r', L'\n', L'\0'})
        text.push_back(unit);
    OutputDebugStringW(text.data());
}

// ---- What was read last -------------------------------------------------------------------

class RegistryFile {
public:
    std::shared_ptr<const Registry> Current()
    {
        const char* const chosen = std::getenv("XEL_REGISTRY");
        const std::string name =
            RegistryFileName(chosen, std::getenv("XDG_DATA_HOME"), std::getenv("HOME"));
        std::unique_lock guard(m_lock);
        const std::optional<FileState> state = StateOf(name);
        const bool isSame = m_registry && name == m_name && state == m_state;
        if (isSame && !m_mayChangeUnseen)
            return m_registry;
        std::string report = Read(name, state);
        // Nobody expects a file where the user has chosen none.
        const bool isExpected = state || !SaysNothing(chosen);
        if (!isExpected || (isSame && report == m_report))
            report.clear();
        else
            m_report = report;
        const std::shared_ptr<const Registry> registry = m_registry;
        guard.unlock();
        // May take a while when nobody reads it.
        if (!report.empty())
            Show(name, report);
        return registry;
    }

private:
    std::string Read(const std::string& name, const std::optional<FileState>& state)
    {
        FileContent content;
        RegistryFaults faults;
        ReadFile(name, content);
        m_registry = std::make_shared<const Registry>(
            content.fault != nullptr ? Registry() : ReadRegistryText(content.bytes, faults));
        m_name = name;
        m_state = content.state ? content.state : state;
        m_mayChangeUnseen = content.mayChangeUnseen;
        return Report(content, faults);
    }

    std::mutex m_lock;
    std::shared_ptr<const Registry> m_registry;
    std::string m_name;
    std::optional<FileState> m_state;
    bool m_mayChangeUnseen = false;
    std::string m_report;
};

} // namespace

std::string RegistryFileName(const char* registry, const char* dataHome, const char* home)
{
    if (!SaysNothing(registry))
        return registry;
    // A relative one is to be ignored, by the rules that the variable comes from.
    if (!SaysNothing(dataHome) && *dataHome == '/')
        return std::string(dataHome) + "/registry.reg";
    return SaysNothing(home) ? std::string() : std::string(home) + "/.local/share/registry.reg";
}

std::shared_ptr<const Registry> CurrentRegistry()
{
    // Lasting: the registry may still be asked while the program ends.
    static RegistryFile& s_file = MakeLasting<RegistryFile>();
    return s_file.Current();
}
