#include "tools/report/pending_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace limbrex_tools
{

// The process id keeps two runs into one folder apart; the ending stays, since writers choose formats by it.
PendingFile::PendingFile(std::string path) : path_(std::move(path))
{
    const std::filesystem::path whole(path_);
    const std::string name = "." + whole.stem().string() + ".part" + std::to_string(getpid()) + whole.extension().string();
    temporary_ = (whole.parent_path() / name).string();
}

PendingFile::~PendingFile()
{
    if (committed_) { return; }
    std::error_code ignored;
    std::filesystem::remove(temporary_, ignored);
}

bool PendingFile::commit(std::string& error)
{
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0)
    {
        error = path_ + ": cannot be written: " + std::strerror(errno);
        return false;
    }
    committed_ = true;
    return true;
}

bool write_text_file(const std::string& path, std::string_view text, std::string& error)
{
    PendingFile file(path);
    std::ofstream stream(file.temporary(), std::ios::binary);
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    stream.close();
    if (!stream)
    {
        error = path + ": cannot be written; is the folder there, writable and not full?";
        return false;
    }
    return file.commit(error);
}

}  // namespace limbrex_tools
