#include "xelutils/platform/posix/errors.h"

#include <cerrno>

static thread_local constinit DWORD t_lastError = ERROR_SUCCESS;

DWORD GetLastError()
{
    return t_lastError;
}

void SetLastError(DWORD error)
{
    t_lastError = error;
}

DWORD ErrorFromErrno(int hostError)
{
    switch (hostError) {
    case 0:
        return ERROR_SUCCESS;
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
    case ELOOP:
        return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE:
        return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
    case EISDIR:
    // What opening a socket, or a FIFO that nobody reads, answers.
    case ENXIO:
    case ENODEV:
        return ERROR_ACCESS_DENIED;
    case EBADF:
        return ERROR_INVALID_HANDLE;
    case ENOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    case EROFS:
        return ERROR_WRITE_PROTECT;
    // EAGAIN is how the file lock says that another holds it.
    case EAGAIN:
    case EBUSY:
    case ETXTBSY:
        return ERROR_SHARING_VIOLATION;
    case EEXIST:
        return ERROR_FILE_EXISTS;
    case ENOTEMPTY:
        return ERROR_DIR_NOT_EMPTY;
    case EINVAL:
        return ERROR_INVALID_PARAMETER;
    // A file that may not grow is a full disk to its writer, whoever set the limit.
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return ERROR_DISK_FULL;
    // The answer of file systems that do not take every sequence of bytes as a name.
    case EILSEQ:
        return ERROR_INVALID_NAME;
    case ENAMETOOLONG:
        return ERROR_FILENAME_EXCED_RANGE;
    case ECHILD:
        return ERROR_WAIT_NO_CHILDREN;
    case ENOEXEC:
    case ELIBBAD:
        return ERROR_BAD_EXE_FORMAT;
    default:
        return ERROR_GEN_FAILURE;
    }
}

BOOL Fail(DWORD error)
{
    SetLastError(error);
    return FALSE;
}

BOOL FailFromErrno(int hostError)
{
    return Fail(ErrorFromErrno(hostError));
}
