#include "resources/log.h"

#include <cstdarg>
#include <cstdio>

#include "resources/host_services.h"

namespace
{

constexpr const char* kSystemName = "limbrex plugin";
constexpr size_t kLongestMessage = 1024;

using LogOperation = void (*HostLogService::*)(const char* system, const char* text);

void write_message(LogOperation level, const char* format, va_list arguments)
{
    const HostLogService* log = host_services().log;
    if (!log || !(log->*level)) return;
    char text[kLongestMessage];
    std::vsnprintf(text, sizeof text, format, arguments);
    (log->*level)(kSystemName, text);
}

}  // namespace

void log_info(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write_message(&HostLogService::info, format, arguments);
    va_end(arguments);
}

void log_warning(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write_message(&HostLogService::warning, format, arguments);
    va_end(arguments);
}

void log_error(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write_message(&HostLogService::error, format, arguments);
    va_end(arguments);
}
