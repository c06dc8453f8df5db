// What is wrong with a rig source, in plain words. The compiler copies what it finds and the run time trusts it, so this is where an
// author hears about a swapped side or a quaternion that is none.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/animation/clip.h"

namespace limbrex_tools
{

enum class Severity
{
    Error,    // the rig will not load, or will move wrongly
    Warning,  // it works, but probably not as meant
    Note,     // worth knowing
};

struct Finding
{
    Severity severity;
    std::string place;  // path in the file, as "t_stance[3].qw"
    std::string text;   // what is wrong and what to do
};

// `skeleton` may be null; with one, bones and parents are looked up in it.
std::vector<Finding> check_rig(const nlohmann::json& source, const limbrex_host::Skeleton* skeleton);

bool has_error(const std::vector<Finding>& findings);

}  // namespace limbrex_tools
