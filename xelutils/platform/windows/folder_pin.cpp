#include "xelutils/platform/folder_pin.h"

// Siblings whose names differ in case only do not exist here: a name has nothing to pass to.

FolderPin::FolderPin(const wchar_t*) : m_outer(nullptr) {}

FolderPin::~FolderPin() = default;

bool FolderPin::Replace(std::string&) const
{
    return m_outer != nullptr;
}
