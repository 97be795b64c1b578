#include "log_writers.h"
#include "xelutils/logging/xel_logging.h"

namespace bench {

void XelutilsLines(int count)
{
    for (int i = 0; i < count; ++i)
        xel_logging::XEL_TRACE_ALWAYS("Job %d opened by %s", i, kOpenedBy);
}

void XelutilsSilent(int count)
{
    for (int i = 0; i < count; ++i)
        xel_logging::XEL_TRACE_DEBUG("Job %d opened by %s", i, kOpenedBy);
}

} // namespace bench
