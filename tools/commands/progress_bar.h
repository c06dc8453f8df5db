// One line that fills up while a scene plays; silent where nobody watches.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace limbrex_tools
{

class ProgressBar
{
public:
    explicit ProgressBar(std::string what);  // writes to stderr, only when that is a terminal
    ~ProgressBar();                          // wipes the line
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void show(size_t done, size_t total);  // redraws at most ten times a second

private:
    std::string what_;
    bool visible_;
    std::chrono::steady_clock::time_point next_;
};

}  // namespace limbrex_tools
