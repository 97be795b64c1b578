#include "xelutils/platform/framework.h"

CMemoryException::~CMemoryException() = default;

void AfxThrowMemoryException()
{
    // Made without memory, and so good for saying that there is none.
    static CMemoryException exception;
    throw &exception;
}
