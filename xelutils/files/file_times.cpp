#include "xelutils/files/file_funcs.h"

namespace FileFuncs {

bool xelGetFileTimes(const wchar_t* path, FILETIME* creation, FILETIME* lastAccess,
                     FILETIME* lastWrite)
{
    const HANDLE file =
        CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    const bool isRead =
        file != INVALID_HANDLE_VALUE && GetFileTime(file, creation, lastAccess, lastWrite) != FALSE;
    CloseHandle(file); // harmless on the invalid handle
    return isRead;
}

bool ConvertAndFormatFileTime(FILETIME& time, CXelStringT<wchar_t>* date,
                              CXelStringT<wchar_t>* clock)
{
    FILETIME localTime;
    SYSTEMTIME fields;
    if (!FileTimeToLocalFileTime(&time, &localTime) || !FileTimeToSystemTime(&localTime, &fields))
        return false;
    if (date != nullptr)
        date->Format(L"%02d/%02d/%d", fields.wMonth, fields.wDay, fields.wYear);
    if (clock != nullptr)
        clock->Format(L"%02d:%02d", fields.wHour, fields.wMinute);
    return true;
}

bool xelGetFileTimeFormatted(FILETIME* creation, FILETIME* lastAccess, FILETIME* lastWrite,
                             CXelStringT<wchar_t>* cDate, CXelStringT<wchar_t>* cTime,
                             CXelStringT<wchar_t>* wDate, CXelStringT<wchar_t>* wTime,
                             CXelStringT<wchar_t>* aDate, CXelStringT<wchar_t>* aTime)
{
    if (cDate == nullptr)
        return true;
    if (creation != nullptr)
        ConvertAndFormatFileTime(*creation, cDate, cTime);
    if (lastWrite != nullptr)
        ConvertAndFormatFileTime(*lastWrite, wDate, wTime);
    if (lastAccess != nullptr)
        ConvertAndFormatFileTime(*lastAccess, aDate, aTime);
    return true;
}

bool xelGetFileTimeFormatted(const wchar_t* path, CXelStringT<wchar_t>* cDate,
                             CXelStringT<wchar_t>* cTime, CXelStringT<wchar_t>* wDate,
                             CXelStringT<wchar_t>* wTime, CXelStringT<wchar_t>* aDate,
                             CXelStringT<wchar_t>* aTime)
{
    FILETIME creation = {};
    FILETIME lastAccess = {};
    FILETIME lastWrite = {};
    // Whether they could be read is not asked: callers look first whether the file exists.
    xelGetFileTimes(path, &creation, &lastAccess, &lastWrite);
    return xelGetFileTimeFormatted(&creation, &lastAccess, &lastWrite, cDate, cTime, wDate, wTime,
                                   aDate, aTime);
}

void xelGetSystemTimeAsFileTime(FILETIME& out)
{
    SYSTEMTIME now;
    GetSystemTime(&now);
    SystemTimeToFileTime(&now, &out);
}

} // namespace FileFuncs
