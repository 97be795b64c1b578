#include <glog/logging.h>

#include "log_writers.h"

namespace bench {

void GlogSilent(int count)
{
    for (int i = 0; i < count; ++i)
        VLOG(1) << "Job " << i << " opened by " << kOpenedBy;
}

} // namespace bench
