#include "tools/commands/progress_bar.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace limbrex_tools
{

ProgressBar::ProgressBar(std::string what) : what_(std::move(what)), visible_(isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar()
{
    if (visible_) { fmt::print(stderr, "\r\033[K"); }
}

void ProgressBar::show(size_t done, size_t total)
{
    constexpr size_t kWidth = 40;
    const auto now = std::chrono::steady_clock::now();
    if (!visible_ || total == 0 || (now < next_ && done < total)) { return; }
    next_ = now + std::chrono::milliseconds(100);
    const size_t filled = std::min(kWidth, done * kWidth / total);
    fmt::print(stderr, "\r{} [{:#<{}}{:.<{}}] {}/{}", what_, "", filled, "", kWidth - filled, done, total);
    std::fflush(stderr);
}

}  // namespace limbrex_tools
