// Outputs that exist whole or not at all: written under a temporary name in the same folder, then renamed.
#pragma once

#include <string>
#include <string_view>

namespace limbrex_tools
{

class PendingFile
{
public:
    explicit PendingFile(std::string path);
    ~PendingFile();  // removes the temporary file unless it was committed
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    const std::string& temporary() const { return temporary_; }

    // Gives the file its name, replacing an older one. False with `error` set when the folder refuses.
    bool commit(std::string& error);

private:
    std::string path_;
    std::string temporary_;
    bool committed_ = false;
};

bool write_text_file(const std::string& path, std::string_view text, std::string& error);

}  // namespace limbrex_tools
