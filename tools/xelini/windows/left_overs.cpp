#include "tools/xelini/windows/left_overs.h"

#include <windows.h>

#include <mutex>
#include <random>
#include <vector>

#include "tools/xelini/windows/paths.h"

namespace xelini {

namespace {

BOOL WINAPI removeAtEvent(DWORD event);

// The events of a console come on a thread of their own.
class LeftOvers {
public:
    LeftOvers() { SetConsoleCtrlHandler(removeAtEvent, TRUE); }
    ~LeftOvers() { removeAll(); }

    void add(const std::string& path)
    {
        const std::lock_guard guard(m_mutex);
        m_paths.push_back(path);
    }
    void drop(const std::string& path)
    {
        const std::lock_guard guard(m_mutex);
        std::erase(m_paths, path);
    }
    void removeAll()
    {
        const std::lock_guard guard(m_mutex);
        for (const std::string& path : m_paths)
            DeleteFileW(widePath(path).c_str());
        m_paths.clear();
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_paths;
};

LeftOvers& leftOvers()
{
    static LeftOvers all;
    return all;
}

BOOL WINAPI removeAtEvent(DWORD)
{
    leftOvers().removeAll();
    // The next handler in line ends the program.
    return FALSE;
}

std::string newName()
{
    constexpr char kLetters[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    std::random_device random;
    std::uniform_int_distribution<std::size_t> any(0, sizeof kLetters - 2);
    std::string name = ".xelini-";
    for (int i = 0; i < 8; ++i)
        name += kLetters[any(random)];
    return name;
}

} // namespace

std::string makeLeftOver(const std::string& folder)
{
    constexpr int kAttempts = 100;
    for (int i = 0; i < kAttempts; ++i) {
        const std::string path = folder + newName();
        leftOvers().add(path);
        const HostFile file(numberOf(CreateFileW(widePath(path).c_str(), GENERIC_WRITE, 0, nullptr,
                                                 CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr)));
        if (file.isOpen())
            return path;
        const DWORD error = GetLastError();
        leftOvers().drop(path);
        SetLastError(error);
        if (error != ERROR_FILE_EXISTS)
            break;
    }
    return {};
}

void removeLeftOver(const std::string& path)
{
    DeleteFileW(widePath(path).c_str());
    leftOvers().drop(path);
}

void keepLeftOver(const std::string& path)
{
    leftOvers().drop(path);
}

} // namespace xelini
