#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include "log_writers.h"

namespace bench {

namespace {

std::shared_ptr<spdlog::logger> MakeLogger()
{
    auto logger = spdlog::basic_logger_mt("bench", "spdlog.log", true);
    logger->set_pattern("%H:%M:%S.%e ; %l ; %v");
    logger->flush_on(spdlog::level::info);
    return logger;
}

} // namespace

void SpdlogLines(int count)
{
    static spdlog::logger& logger = *MakeLogger();
    for (int i = 0; i < count; ++i)
        logger.info("Job {} opened by {}", i, kOpenedBy);
}

} // namespace bench
