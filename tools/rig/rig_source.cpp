#include "tools/rig/rig_source.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "limbrex/limbrex.h"

namespace limbrex_tools
{
namespace
{

std::string quoted(const std::string& text) { return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace); }

std::string number(double value)
{
    std::string text = fmt::format("{:.6f}", value);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') { text.pop_back(); }
    return text == "-0" ? "0" : text;
}

std::string stance_line(const MappedBone& bone)
{
    const StanceElement& s = bone.stance;
    return fmt::format(
        R"({{"node": {}, "tx": {}, "ty": {}, "tz": {}, "qx": {}, "qy": {}, "qz": {}, "qw": {}, "sx": {}, "sy": {}, "sz": {}}})",
        quoted(LBXGetNodeNameFromId(bone.node)), number(s.translation[0]), number(s.translation[1]), number(s.translation[2]),
        number(s.rotation[0]), number(s.rotation[1]), number(s.rotation[2]), number(s.rotation[3]), number(s.scale[0]), number(s.scale[1]),
        number(s.scale[2]));
}

std::string mapping_line(const MappedBone& bone)
{
    return fmt::format(R"({{"id": {}, "node": {}, "bone": {}}})", bone.node, quoted(LBXGetNodeNameFromId(bone.node)), quoted(bone.bone));
}

std::string parents_line(const ParentOffset& offset)
{
    std::string parents;
    for (const std::string& parent : offset.parents) { parents += (parents.empty() ? "" : ", ") + quoted(parent); }
    return fmt::format(R"({{"nodeID": {}, "node": {}, "parents": [{}]}})", offset.node, quoted(LBXGetNodeNameFromId(offset.node)), parents);
}

template <class Element>
std::string array(const char* key, const std::vector<Element>& elements, std::string (*line)(const Element&))
{
    std::string text = fmt::format("  \"{}\": [", key);
    for (size_t i = 0; i < elements.size(); ++i) { text += (i == 0 ? "\n    " : ",\n    ") + line(elements[i]); }
    return text + (elements.empty() ? "]" : "\n  ]");
}

std::string contact(const char* extremity, const char* joint, const ContactShape& shape)
{
    const auto line = [&](const char* from, const char* to, double value)
    { return fmt::format("  \"contact_{}_{}_to_{}\": {},\n", extremity, from, to, number(value)); };
    return fmt::format("  \"contact_{}_type\": {},\n", extremity, shape.type) + line("bottom", joint, shape.bottom) +
           line("back", joint, shape.back) + line("middle", joint, shape.middle) + line("front", "middle", shape.front) +
           line("in", joint, shape.in) + line("out", joint, shape.out);
}

}  // namespace

std::string write_rig_source(const RigSource& source)
{
    return fmt::format("{{\n  \"unit_name\": {},\n", quoted(source.unitName)) + contact("foot", "ankle", source.foot) +
           contact("hand", "wrist", source.hand) + array("bones_mapping", source.bones, mapping_line) + ",\n" +
           array("t_stance", source.bones, stance_line) + ",\n" + array("parent_offsets", source.parentOffsets, parents_line) +
           ",\n  \"limits\": []\n}\n";
}

}  // namespace limbrex_tools
