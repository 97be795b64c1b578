// An open file as the host numbers it.
#pragma once

#include "tools/xelini/host_file.h"

namespace xelini {

inline int descriptorOf(HostFile::Number number)
{
    return static_cast<int>(number);
}

} // namespace xelini
