// A picture of what a scene asks to see from near by: a part of a body at moments of the run, one row a part.
#pragma once

#include <string>

#include "host/recording.h"

namespace limbrex_tools
{

// Nothing is written when the recording has no close-ups. False with `error` set on an unusable recording or an unwritable file.
bool write_close_ups(const std::string& path, const std::string& title, const limbrex_host::Recording& recording, std::string& error);

}  // namespace limbrex_tools
