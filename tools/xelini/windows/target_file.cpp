#include "tools/xelini/target_file.h"

#include <windows.h>

#include <vector>

#include "tools/xelini/failure.h"
#include "tools/xelini/host_errors.h"
#include "tools/xelini/windows/paths.h"

namespace xelini {

namespace {

constexpr int kAttempts = 500;
constexpr DWORD kPauseMilliseconds = 10;

bool isMissing(int error)
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool isLink(const std::string& path)
{
    const DWORD attributes = GetFileAttributesW(widePath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// Commands of this program that change the same file take turns. The open file cannot see to it,
// because it is closed before another one takes its place. The system ends the turn of a program
// that has ended. False when the turn does not come for seconds.
bool waitForTurn(const std::string& path, HostFile& turn)
{
    constexpr std::uint64_t kOffset = 0xCBF29CE484222325, kPrime = 0x100000001B3;
    std::uint64_t hash = kOffset;
    for (const char c : path)
        hash = (hash ^ static_cast<unsigned char>(c)) * kPrime;
    const std::string name = "Global\\xelini-" + std::to_string(hash);
    const HANDLE mutex = CreateMutexA(nullptr, FALSE, name.c_str());
    // It may be another person's: then the open file has to do.
    if (mutex == nullptr)
        return true;
    turn = HostFile(numberOf(mutex));
    return WaitForSingleObject(mutex, kAttempts * kPauseMilliseconds) != WAIT_TIMEOUT;
}

// Shared with readers alone. Waits some seconds for writers to finish.
HostFile openHolding(const std::string& path)
{
    HostFile file = openSharing(path, GENERIC_READ, FILE_SHARE_READ);
    for (int i = 0; i < kAttempts && !file.isOpen() && lastError() == ERROR_SHARING_VIOLATION;
         ++i) {
        Sleep(kPauseMilliseconds);
        file = openSharing(path, GENERIC_READ, FILE_SHARE_READ);
    }
    return file;
}

// Of a file that is held: whether it could be opened for writing if it were not.
bool mayBeWritten(const std::string& path)
{
    if ((GetFileAttributesW(widePath(path).c_str()) & FILE_ATTRIBUTE_READONLY) != 0) {
        SetLastError(ERROR_ACCESS_DENIED);
        return false;
    }
    // The rights are looked at before what others share.
    return openShared(path, FILE_WRITE_DATA).isOpen() || lastError() == ERROR_SHARING_VIOLATION;
}

// A part of the file's security descriptor; empty where the file system has none.
std::vector<unsigned char> securityOf(const std::wstring& path, SECURITY_INFORMATION part)
{
    DWORD size = 0;
    GetFileSecurityW(path.c_str(), part, nullptr, 0, &size);
    std::vector<unsigned char> descriptor(size);
    if (!GetFileSecurityW(path.c_str(), part, descriptor.data(), size, &size))
        descriptor.clear();
    return descriptor;
}

bool takeSecurity(const std::wstring& from, const std::wstring& to, SECURITY_INFORMATION part)
{
    std::vector<unsigned char> wanted = securityOf(from, part);
    return wanted.empty() || wanted == securityOf(to, part) ||
           SetFileSecurityW(to.c_str(), part, wanted.data());
}

bool moveOver(const std::string& from, const std::string& to, bool mayReplace)
{
    const DWORD replacing = mayReplace ? MOVEFILE_REPLACE_EXISTING : 0;
    return MoveFileExW(widePath(from).c_str(), widePath(to).c_str(),
                       replacing | MOVEFILE_WRITE_THROUGH);
}

} // namespace

// Nothing stays open: it would keep another command from putting its file there.
void TargetFile::findTarget()
{
    const HostFile found = openShared(m_path, FILE_READ_ATTRIBUTES);
    const int error = lastError();
    m_exists = found.isOpen();
    if (!m_exists && !isMissing(error))
        throw failedFile(m_name, "cannot be opened", error);
    if (!m_exists && isLink(m_path))
        throw failedFile(m_name, "is a link that leads nowhere");
    if (m_exists && !findState(found.number(), m_state))
        throw failedFile(m_name, "cannot be opened", lastError());
    if (m_exists)
        refuseOthersThanFiles();
    const std::string real = finalPath(found.number());
    m_path = real.empty() ? fullPath(m_path) : real;
}

void TargetFile::openHeld()
{
    const bool isMyTurn = waitForTurn(m_path, m_turn);
    if (isMyTurn)
        m_file = openHolding(m_path);
    if (!isMyTurn || (!m_file.isOpen() && lastError() == ERROR_SHARING_VIOLATION))
        throw failedFile(m_name, "is being written by another program; try again later");
    if (!m_file.isOpen() || !findState(m_file.number(), m_state))
        throw failedFile(m_name, "cannot be opened", lastError());
    if (!mayBeWritten(m_path))
        throw failedFile(m_name, "cannot be written", lastError());
}

std::string TargetFile::folder() const
{
    return m_path.substr(0, m_path.rfind('\\') + 1);
}

void TargetFile::writeBeside(TemporaryFile& file, std::string_view bytes) const
{
    // While it is empty, so that nobody can read the bytes who may not read the old file.
    takeOwnerAndRights(file);
    // A copy has the old file's further streams too.
    file.file() = HostFile();
    const std::wstring old = widePath(m_path), path = widePath(file.path());
    if (m_exists && !CopyFileW(old.c_str(), path.c_str(), FALSE))
        throw failedFile(m_name, "cannot be written", lastError());
    const HostFile writer = openShared(file.path(), GENERIC_WRITE);
    if (!writer.isOpen() || !SetEndOfFile(handleOf(writer.number())) ||
        !writeAll(writer.number(), bytes) || !FlushFileBuffers(handleOf(writer.number())))
        throw failedFile(m_name, "cannot be written", lastError());
    file.file() = openForReading(file.path());
    if (!file.file().isOpen())
        throw failedFile(m_name, "cannot be written", lastError());
    if (m_exists && !SetFileAttributesW(path.c_str(), GetFileAttributesW(old.c_str())))
        throw failedFile(m_name, "cannot be replaced, since its attributes would change",
                         lastError());
}

// A new file has what its folder gives it.
void TargetFile::takeOwnerAndRights(const TemporaryFile& file) const
{
    const std::wstring from = widePath(m_path), to = widePath(file.path());
    if (m_exists && !takeSecurity(from, to, OWNER_SECURITY_INFORMATION))
        throw failedFile(m_name, "cannot be replaced, since its owner would change", lastError());
    if (m_exists && !takeSecurity(from, to, DACL_SECURITY_INFORMATION))
        throw failedFile(m_name, "cannot be replaced, since its rights would change", lastError());
}

void TargetFile::takePlace(const TemporaryFile& file)
{
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        refuseIfChanged();
        // The system replaces no file that somebody has open, and moves none that a virus scanner
        // looks at. Between closing and moving another program could write: there is no call that
        // does both.
        m_file = HostFile();
        if (moveOver(file.path(), m_path, m_exists))
            return;
        const int error = lastError();
        const bool isOpenElsewhere =
            error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
        if (!isOpenElsewhere)
            throw failedFile(m_name, "cannot be written", error);
        Sleep(kPauseMilliseconds);
    }
    throw failedFile(m_name, "is being used by another program; try again later");
}

} // namespace xelini
