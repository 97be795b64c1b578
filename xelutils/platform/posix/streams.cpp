#include "xelutils/platform/posix/errors.h"

FILE* _getstdfilex(int number)
{
    switch (number) {
    case 0:
        return stdin;
    case 1:
        return stdout;
    case 2:
        return stderr;
    default:
        Fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
}
