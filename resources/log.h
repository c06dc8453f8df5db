// The plugin's voice in the engine's log, under the system name "limbrex plugin". Texts are formatted here, printf-style, into a fixed buffer;
// longer ones are cut. Silent while the engine has no log.
#pragma once

#if defined(__GNUC__)
#define LIMBREX_PRINTF_LIKE __attribute__((format(printf, 1, 2)))
#else
#define LIMBREX_PRINTF_LIKE
#endif

void log_info(const char* format, ...) LIMBREX_PRINTF_LIKE;
void log_warning(const char* format, ...) LIMBREX_PRINTF_LIKE;
void log_error(const char* format, ...) LIMBREX_PRINTF_LIKE;
